#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "jjkit/trace/Perf.h"

namespace vorda {

/// Reports single measured blocks that take longer than the threshold
/// (VORDA_BENCH_MS, 50 ms by default) as "[bench] NAME 12ms". The name is
/// built only for a block that was slow.
class Bench {
  public:
    /// The threshold in seconds.
    static double threshold() { return trace::slowThresholdMs() / 1000.0; }

    template <typename Name, typename Block>
    static decltype(auto) measure(Name&& name, Block&& block) {
        const SlowLineGuard guard([&] { return buildTraceLabel(std::forward<Name>(name)); });
        return std::forward<Block>(block)();
    }

    template <typename Name>
    static void emitIfSlow(Name&& name, double elapsedSeconds) {
        if (elapsedSeconds >= threshold()) {
            writeSlowLine(buildTraceLabel(std::forward<Name>(name)), elapsedSeconds);
        }
    }

    /// Runs `update`, then, once the UI has flushed, writes "[bench] NAME Nms
    /// bodies=K" with the view bodies evaluated meanwhile.
    static void measureUIUpdate(std::string name, const std::function<void()>& update);

    /// Counts one evaluation of a view body (only while tracing is on).
    static void tickBody(std::string_view name);

    static std::uint64_t bodyCount();
    static std::map<std::string, std::uint64_t> bodyCounts();

  private:
    class SlowLineGuard {
      public:
        explicit SlowLineGuard(std::function<std::string()> name)
            : name_(std::move(name)), start_(std::chrono::steady_clock::now()) {}
        ~SlowLineGuard() {
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
            emitIfSlow(name_, elapsed.count());
        }
        SlowLineGuard(const SlowLineGuard&) = delete;
        SlowLineGuard& operator=(const SlowLineGuard&) = delete;

      private:
        std::function<std::string()> name_;
        std::chrono::steady_clock::time_point start_;
    };

    static void writeSlowLine(const std::string& name, double elapsedSeconds);
};

}  // namespace vorda
