#include "jjkit/trace/Perf.h"

#include <algorithm>
#include <chrono>
#include <mutex>
#include <vector>

#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/trace/Bench.h"
#include "jjkit/trace/PerfReport.h"

namespace vorda {
namespace {

// The one shared trace state. Every field is guarded by `lock`.
//
// Events are kept only while some action is open: a report covers the events
// recorded since its action began, so older events can never be reported and
// are dropped, which keeps a long-running process from growing without bound.
// The aggregate behind the global summary keeps every event's cost.
struct State {
    std::mutex lock;
    std::vector<PerfEvent> events;
    std::map<std::uint64_t, Perf::Action> actions;
    std::uint64_t nextID = 1;
    std::map<std::string, Perf::Aggregate> aggregate;
    std::uint64_t subprocesses = 0;
    Perf::UIFlushScheduler scheduler;
};

// Never destroyed: a detached worker (a session released from inside its own
// refresh thread) may still record while the process runs its exit handlers.
State& state() {
    static auto* const shared = new State;
    return *shared;
}

thread_local Perf::TraceContext currentTraceContext;

std::optional<std::uint64_t> actionInForce(const State& shared) {
    if (shared.actions.empty()) {
        return std::nullopt;
    }
    return shared.actions.rbegin()->first;
}

std::uint64_t reserveID() {
    auto& shared = state();
    const std::scoped_lock guard(shared.lock);
    return shared.nextID++;
}

// Appends the event under the lock; returns whether it was slow.
bool appendEvent(PerfEvent event) {
    auto& shared = state();
    const std::scoped_lock guard(shared.lock);
    if (!event.parentID) {
        event.parentID = actionInForce(shared);
    }
    const std::uint64_t duration = event.endNs - event.startNs;
    auto& entry =
        shared.aggregate[std::string(perfCategoryName(event.category)) + "|" + event.label];
    ++entry.count;
    entry.totalNs += duration;
    const bool slow = static_cast<double>(duration) / 1e6 >= trace::slowThresholdMs();
    if (!shared.actions.empty()) {
        shared.events.push_back(std::move(event));
    }
    return slow;
}

void writeLines(const std::vector<std::string>& lines) {
    std::string block;
    for (const auto& line : lines) {
        block.append(line).push_back('\n');
    }
    DiagnosticLog::writeRaw(block);
}

void recordEvent(PerfEvent event) {
    const PerfEvent copy = event;
    if (appendEvent(std::move(event))) {
        DiagnosticLog::writeLine(trace::formatSlowEvent(copy));
    }
}

// Removes the action and returns it with the events that belong to its report.
std::optional<std::pair<Perf::Action, std::vector<PerfEvent>>> takeAction(std::uint64_t id) {
    auto& shared = state();
    const std::scoped_lock guard(shared.lock);
    const auto found = shared.actions.find(id);
    if (found == shared.actions.end()) {
        return std::nullopt;
    }
    Perf::Action action = std::move(found->second);
    shared.actions.erase(found);
    std::vector<PerfEvent> mine;
    for (const auto& event : shared.events) {
        if (event.startNs >= action.startNs) {
            mine.push_back(event);
        }
    }
    std::uint64_t oldestOpen = UINT64_MAX;
    for (const auto& [openID, open] : shared.actions) {
        oldestOpen = std::min(oldestOpen, open.startNs);
    }
    std::erase_if(shared.events,
                  [oldestOpen](const PerfEvent& event) { return event.startNs < oldestOpen; });
    return std::make_pair(std::move(action), std::move(mine));
}

void finishAction(std::uint64_t id, std::string_view note) {
    auto taken = takeAction(id);
    if (!taken) {
        return;
    }
    const auto& [action, events] = *taken;
    writeLines(trace::formatActionReport(action.id, action.label, action.startNs, Perf::nowNs(),
                                         events, note));
}

}  // namespace

Perf::ScopedContext::ScopedContext(TraceContext context)
    : previous_(std::exchange(currentTraceContext, context)) {}

Perf::ScopedContext::~ScopedContext() {
    currentTraceContext = previous_;
}

Perf::SpanGuard::SpanGuard(std::string label, PerfCategory category)
    : label_(std::move(label)),
      category_(category),
      id_(reserveID()),
      parent_(currentTraceContext.span),
      startNs_(nowNs()),
      previous_(std::exchange(currentTraceContext, TraceContext{id_})) {}

Perf::SpanGuard::~SpanGuard() {
    currentTraceContext = previous_;
    recordEvent(PerfEvent{id_, parent_, std::move(label_), category_, startNs_, nowNs()});
}

std::uint64_t Perf::nowNs() {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                          std::chrono::steady_clock::now().time_since_epoch())
                                          .count());
}

Perf::TraceContext Perf::currentContext() {
    return currentTraceContext;
}

void Perf::record(std::string_view label, PerfCategory category, std::uint64_t startNs,
                  std::uint64_t endNs) {
    if (!isEnabled()) {
        return;
    }
    recordEvent(PerfEvent{reserveID(), currentTraceContext.span, std::string(label), category,
                          startNs, std::max(startNs, endNs)});
}

void Perf::recordSubprocess(std::string_view label, std::uint64_t startNs, std::uint64_t endNs) {
    if (!isEnabled()) {
        return;
    }
    {
        auto& shared = state();
        const std::scoped_lock guard(shared.lock);
        ++shared.subprocesses;
    }
    record(label, PerfCategory::subprocess, startNs, endNs);
}

std::uint64_t Perf::beginActionNamed(std::string label) {
    auto& shared = state();
    const std::uint64_t start = nowNs();
    const std::scoped_lock guard(shared.lock);
    const std::uint64_t id = shared.nextID++;
    shared.actions.emplace(id, Action{id, std::move(label), start});
    return id;
}

void Perf::endAction(std::uint64_t id, std::string_view note) {
    if (!isEnabled() || id == 0) {
        return;
    }
    finishAction(id, note);
}

void Perf::endActionAfterUIFlush(std::uint64_t id, std::string note) {
    if (!isEnabled() || id == 0) {
        return;
    }
    const std::uint64_t bodiesBefore = Bench::bodyCount();
    afterUIFlush([id, note = std::move(note), bodiesBefore] {
        std::string full = "bodies=" + std::to_string(Bench::bodyCount() - bodiesBefore);
        if (!note.empty()) {
            full.append(" · ").append(note);
        }
        finishAction(id, full);
    });
}

void Perf::printGlobalSummary() {
    if (!isEnabled()) {
        return;
    }
    std::map<std::string, trace::AggregateEntry> entries;
    for (const auto& [key, value] : aggregateSnapshot()) {
        entries.emplace(key, trace::AggregateEntry{value.count, value.totalNs});
    }
    writeLines(trace::formatGlobalSummary(entries));
}

void Perf::setUIFlushScheduler(UIFlushScheduler scheduler) {
    auto& shared = state();
    const std::scoped_lock guard(shared.lock);
    shared.scheduler = std::move(scheduler);
}

void Perf::afterUIFlush(std::function<void()> work) {
    UIFlushScheduler scheduler;
    {
        auto& shared = state();
        const std::scoped_lock guard(shared.lock);
        scheduler = shared.scheduler;
    }
    if (!scheduler) {
        work();
        return;
    }
    // Twice: the first pass lets the pending render run, the second runs after it.
    scheduler([scheduler, work = std::move(work)]() mutable { scheduler(std::move(work)); });
}

std::uint64_t Perf::subprocessCount() {
    auto& shared = state();
    const std::scoped_lock guard(shared.lock);
    return shared.subprocesses;
}

std::map<std::string, Perf::Aggregate> Perf::aggregateSnapshot() {
    auto& shared = state();
    const std::scoped_lock guard(shared.lock);
    return shared.aggregate;
}

}  // namespace vorda
