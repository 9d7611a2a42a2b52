#include "jjkit/trace/Bench.h"

#include <mutex>

#include "jjkit/support/DiagnosticLog.h"

namespace vorda {
namespace {

// View body counts, guarded by `lock`.
struct BodyCounts {
    std::mutex lock;
    std::map<std::string, std::uint64_t, std::less<>> byName;
    std::uint64_t total = 0;
};

// Never destroyed, like the trace state it feeds.
BodyCounts& bodies() {
    static auto* const shared = new BodyCounts;
    return *shared;
}

std::string wholeMilliseconds(double seconds) {
    return std::to_string(static_cast<long long>(seconds * 1000.0)) + "ms";
}

}  // namespace

void Bench::writeSlowLine(const std::string& name, double elapsedSeconds) {
    DiagnosticLog::writeLine("[bench] " + name + " " + wholeMilliseconds(elapsedSeconds));
}

void Bench::measureUIUpdate(std::string name, const std::function<void()>& update) {
    const auto start = std::chrono::steady_clock::now();
    const std::uint64_t bodiesBefore = bodyCount();
    update();
    Perf::afterUIFlush([name = std::move(name), start, bodiesBefore] {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        DiagnosticLog::writeLine("[bench] " + name + " " + wholeMilliseconds(elapsed.count()) +
                                 " bodies=" + std::to_string(bodyCount() - bodiesBefore));
    });
}

void Bench::tickBody(std::string_view name) {
    if (!Perf::isEnabled()) {
        return;
    }
    auto& shared = bodies();
    const std::scoped_lock guard(shared.lock);
    ++shared.total;
    const auto found = shared.byName.find(name);
    if (found != shared.byName.end()) {
        ++found->second;
    } else {
        shared.byName.emplace(std::string(name), 1);
    }
}

std::uint64_t Bench::bodyCount() {
    auto& shared = bodies();
    const std::scoped_lock guard(shared.lock);
    return shared.total;
}

std::map<std::string, std::uint64_t> Bench::bodyCounts() {
    auto& shared = bodies();
    const std::scoped_lock guard(shared.lock);
    return {shared.byName.begin(), shared.byName.end()};
}

}  // namespace vorda
