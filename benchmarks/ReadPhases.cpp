#include "ReadPhases.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <utility>

#include <sys/resource.h>

#include "feature/lanes/BookmarkLaneProjection.h"
#include "jjkit/client/JJClient.h"
#include "jjkit/graph/BookmarkGraphBuilder.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/templates/OutputParsing.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda::bench {
namespace {

double cpuMs(int who) {
    rusage usage{};
    ::getrusage(who, &usage);
    const auto toMs = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
    };
    return toMs(usage.ru_utime) + toMs(usage.ru_stime);
}

struct Phase {
    std::string label;
    std::vector<Cost> costs;
};

}  // namespace

Cost measureCost(const std::function<void()>& block) {
    const double selfBefore = cpuMs(RUSAGE_SELF);
    const double childBefore = cpuMs(RUSAGE_CHILDREN);
    const auto start = std::chrono::steady_clock::now();
    block();
    const std::chrono::duration<double, std::milli> wall = std::chrono::steady_clock::now() - start;
    return {wall.count(), cpuMs(RUSAGE_SELF) - selfBefore, cpuMs(RUSAGE_CHILDREN) - childBefore};
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Cost medianCost(const std::vector<Cost>& costs) {
    const auto field = [&](double Cost::*member) {
        std::vector<double> values;
        values.reserve(costs.size());
        for (const auto& cost : costs) {
            values.push_back(cost.*member);
        }
        return median(std::move(values));
    };
    return {field(&Cost::wallMs), field(&Cost::selfCpuMs), field(&Cost::childCpuMs)};
}

void printReadPhases(const std::string& root, int runs) {
    const JJClient client(root);
    const std::string revset = JJClient::defaultRevset;
    std::vector<Phase> phases;
    const auto step = [&](std::size_t index, const std::string& label, const auto& block) {
        if (phases.size() <= index) {
            phases.push_back({label, {}});
        }
        phases[index].costs.push_back(measureCost(block));
    };

    for (int run = 0; run < runs; ++run) {
        std::size_t index = 0;
        std::string output;
        step(index++, "jj log, commit query", [&] {
            output = client
                         .run({"log", "--no-graph", "--ignore-working-copy", "-T",
                               std::string(JJTemplateBuilder::commitTemplate), "-r", revset},
                              "bench/phase/log")
                         .stdout;
        });
        BookmarkGraphBuilder::Input input;
        step(index++, "decode the commit log",
             [&] { input.commits = parseNDJSON<JJCommit>(output, "log"); });
        step(index++, "jj log, parents not loaded", [&] {
            if (const auto missing = missingParentRevset(input.commits)) {
                auto more = client.log(*missing, "bench/phase/missing");
                input.commits.insert(input.commits.end(), more.begin(), more.end());
            }
        });
        step(index++, "jj log, mine()", [&] {
            const auto mine = client.mineChangeIDs(revset);
            input.mineChangeIDs = {mine.begin(), mine.end()};
        });
        step(index++, "jj log, behind trunk",
             [&] { input.behindTrunkCommitIDs = client.behindTrunkCommitIDs(revset); });
        step(index++, "jj workspace list", [&] { input.workspaces = client.workspaces(); });
        step(index++, "jj log, trunk() (runs twice in a read)",
             [&] { input.trunkCommitID = client.trunkCommitID(); });
        step(index++, "jj log --count, upstream", [&] { (void)client.upstreamCommitCount(); });
        step(index++, "jj resolve --list", [&] { (void)client.conflictedFiles(); });
        step(index++, "jj diff of the working copy", [&] { (void)client.diff("@"); });
        input.selectedWorkspaceName = "default";
        input.compositionChangeIDs = BookmarkSettingsStore(root).compositionPointsByWorkspace();
        const auto trunkCommitID = input.trunkCommitID;
        std::optional<RepoState> state;
        step(index++, "bookmark graph",
             [&] { state = BookmarkGraphBuilder::build(std::move(input)); });
        step(index++, "lane projection", [&] {
            const auto trunk = BookmarkLaneProjection::resolveTrunkName(*state, trunkCommitID);
            (void)BookmarkLaneProjection::build(*state, {}, {}, trunk);
        });
    }

    std::printf("each step alone, one after the other (median of %d):\n", runs);
    std::printf("  %9s %11s %11s  %s\n", "wall ms", "jj cpu ms", "own cpu ms", "step");
    Cost total;
    for (const auto& phase : phases) {
        const Cost cost = medianCost(phase.costs);
        total.wallMs += cost.wallMs;
        total.childCpuMs += cost.childCpuMs;
        total.selfCpuMs += cost.selfCpuMs;
        std::printf("  %9.0f %11.0f %11.0f  %s\n", cost.wallMs, cost.childCpuMs, cost.selfCpuMs,
                    phase.label.c_str());
    }
    std::printf("  %9.0f %11.0f %11.0f  sum\n", total.wallMs, total.childCpuMs, total.selfCpuMs);
}

}  // namespace vorda::bench
