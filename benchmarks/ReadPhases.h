#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vorda::bench {

/// What one measured block cost: wall time, and the processor time of this
/// process and of the child processes it waited for meanwhile. Processor
/// time does not depend on how busy the machine is, so it tells the work a
/// read does even when the wall times are noisy.
struct Cost {
    double wallMs = 0;
    double selfCpuMs = 0;
    double childCpuMs = 0;
};

Cost measureCost(const std::function<void()>& block);

double median(std::vector<double> values);

/// The medians of `costs`, field by field.
Cost medianCost(const std::vector<Cost>& costs);

/// Runs each step of a read on its own, one after the other, `runs` times,
/// and prints the median cost of each: every query with the command line the
/// read uses, the decoding of the commit log, the bookmark graph and the lane
/// projection. Their sum is what the read would cost with no concurrency;
/// the child processor time is what jj has to do whatever the concurrency.
void printReadPhases(const std::string& root, int runs);

}  // namespace vorda::bench
