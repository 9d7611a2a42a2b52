#pragma once

#include <future>
#include <utility>

#include "jjkit/trace/Perf.h"

namespace vorda {

/// Runs `work` on its own thread with the caller's trace context, so that
/// what it measures and the subprocesses it starts nest under the caller's
/// span. The future rethrows what `work` throws.
template <typename Work>
auto startTracedTask(Work work) {
    return std::async(std::launch::async,
                      [context = Perf::currentContext(), work = std::move(work)]() mutable {
                          const Perf::ScopedContext scope(context);
                          return work();
                      });
}

}  // namespace vorda
