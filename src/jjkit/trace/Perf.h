#pragma once

#include <concepts>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "jjkit/trace/PerfEvent.h"
#include "jjkit/trace/TraceSettings.h"

namespace vorda {

/// A label given either as text or as a callable that builds it, so that
/// nothing is formatted while tracing is off.
template <typename Label>
std::string buildTraceLabel(Label&& label) {
    if constexpr (std::is_invocable_v<Label>) {
        return std::string(std::forward<Label>(label)());
    } else {
        return std::string(std::forward<Label>(label));
    }
}

/// The program's nested timing trace. Events are recorded under one lock from
/// any thread; a user action (`beginAction` … `endAction`) reports everything
/// recorded while it ran, with each event's offset and duration, indented by
/// nesting. Events that reach the slow threshold are written at once.
///
/// Nesting comes from the per-thread trace context: `measure` makes its own
/// span the current one while its block runs, so events recorded inside it,
/// subprocesses included, name it as their parent. Work handed to another
/// thread carries the context along with `Perf::ScopedContext`.
///
///     auto action = Perf::beginAction("open repository");
///     auto state = Perf::measure([&] { return "load " + path; }, PerfCategory::snapshot,
///                                [&] { return client.repoState(); });
///     Perf::endAction(action, "12 lanes");
///
/// With VORDA_PERF=0 every call returns at once, labels are never built and
/// measured blocks run bare.
class Perf {
  public:
    struct Action {
        std::uint64_t id = 0;
        std::string label;
        std::uint64_t startNs = 0;
    };

    struct Aggregate {
        std::uint64_t count = 0;
        std::uint64_t totalNs = 0;
    };

    /// The span that events recorded on this thread nest under.
    struct TraceContext {
        std::optional<std::uint64_t> span;
    };

    /// Makes `context` current on this thread for its lifetime.
    class ScopedContext {
      public:
        explicit ScopedContext(TraceContext context);
        ~ScopedContext();
        ScopedContext(const ScopedContext&) = delete;
        ScopedContext& operator=(const ScopedContext&) = delete;

      private:
        TraceContext previous_;
    };

    /// Runs a function that the main (UI) thread executes after its pending
    /// render pass. Front ends install one; without it, functions run at once.
    using UIFlushScheduler = std::function<void(std::function<void()>)>;

    static bool isEnabled() { return trace::perfEnabled(); }
    static double slowThresholdMs() { return trace::slowThresholdMs(); }

    /// Monotonic nanoseconds.
    static std::uint64_t nowNs();

    static TraceContext currentContext();

    /// Appends an event with the next ID, parented to the current span or,
    /// failing that, to the action in force.
    static void record(std::string_view label, PerfCategory category, std::uint64_t startNs,
                       std::uint64_t endNs);

    /// Counts one finished subprocess and records its event.
    static void recordSubprocess(std::string_view label, std::uint64_t startNs,
                                 std::uint64_t endNs);

    /// Times `block` as one event; events recorded inside it nest under it.
    template <typename Label, typename Block>
    static decltype(auto) measure(Label&& label, PerfCategory category, Block&& block) {
        if (!isEnabled()) {
            return std::forward<Block>(block)();
        }
        const SpanGuard guard(buildTraceLabel(std::forward<Label>(label)), category);
        return std::forward<Block>(block)();
    }

    /// Starts a user action; returns 0 (and does nothing) when tracing is off.
    template <typename Label>
    static std::uint64_t beginAction(Label&& label) {
        if (!isEnabled()) {
            return 0;
        }
        return beginActionNamed(buildTraceLabel(std::forward<Label>(label)));
    }

    /// Ends an action and writes its report.
    static void endAction(std::uint64_t id, std::string_view note = {});

    /// Ends an action once the UI has drawn what it caused: the end is deferred
    /// twice through the UI flush scheduler, and the report adds "bodies=" with
    /// the number of view bodies evaluated meanwhile.
    static void endActionAfterUIFlush(std::uint64_t id, std::string note = {});

    static void printGlobalSummary();

    static void setUIFlushScheduler(UIFlushScheduler scheduler);

    /// Runs `work` after two passes of the UI flush scheduler.
    static void afterUIFlush(std::function<void()> work);

    static std::uint64_t subprocessCount();
    static std::map<std::string, Aggregate> aggregateSnapshot();

  private:
    // Records one span: reserves its ID on entry so nested events can name it,
    // and records the event when the block leaves, also by an exception.
    class SpanGuard {
      public:
        SpanGuard(std::string label, PerfCategory category);
        ~SpanGuard();
        SpanGuard(const SpanGuard&) = delete;
        SpanGuard& operator=(const SpanGuard&) = delete;

      private:
        std::string label_;
        PerfCategory category_;
        std::uint64_t id_;
        std::optional<std::uint64_t> parent_;
        std::uint64_t startNs_;
        TraceContext previous_;
    };

    static std::uint64_t beginActionNamed(std::string label);
};

}  // namespace vorda
