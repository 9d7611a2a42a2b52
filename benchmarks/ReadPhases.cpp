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
#include "jjkit/records/RecordCoding.h"
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

// Every line through `RecordCoding` alone, as every line went before the
// quick path: the reference the quick path must agree with.
std::vector<JJCommit> decodeGenerally(const std::string& output) {
    std::vector<JJCommit> commits;
    std::size_t start = 0;
    while (start < output.size()) {
        const std::size_t end = std::min(output.find('\n', start), output.size());
        if (end > start) {
            const auto json =
                JsonReader::parse(std::string_view(output).substr(start, end - start));
            commits.push_back(RecordCoding<JJCommit>::decode(JsonReader(json)));
        }
        start = end + 1;
    }
    return commits;
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

    bool sameDecoding = true;
    std::size_t decodedCommits = 0;
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
        std::vector<JJCommit> general;
        step(index++, "decode the commit log, general decoder only",
             [&] { general = decodeGenerally(output); });
        sameDecoding = sameDecoding && general == input.commits;
        decodedCommits = input.commits.size();
        step(index++, "jj log, parents not loaded", [&] {
            if (const auto missing = missingParentRevset(input.commits)) {
                auto more = client.log(*missing, "bench/phase/missing");
                input.commits.insert(input.commits.end(), more.begin(), more.end());
            }
        });
        const auto compositions = BookmarkSettingsStore(root).compositionPointsByWorkspace();
        step(index++, "load, the facts in the log (graph included)",
             [&] { (void)client.readRepoState(revset, std::nullopt, compositions); });
        step(index++, "load, the facts as separate queries (graph included)", [&] {
            (void)client.readRepoState(revset, std::nullopt, compositions,
                                       JJClient::FactQueries::separateQueries);
        });
        step(index++, "jj log, mine()", [&] {
            const auto mine = client.mineChangeIDs(revset);
            input.mineChangeIDs = {mine.begin(), mine.end()};
        });
        step(index++, "jj log, behind trunk",
             [&] { input.behindTrunkCommitIDs = client.behindTrunkCommitIDs(revset); });
        step(index++, "jj workspace list", [&] { input.workspaces = client.workspaces(); });
        step(index++, "jj log, trunk()", [&] { input.trunkCommitID = client.trunkCommitID(); });
        step(index++, "jj log --count, upstream", [&] { (void)client.upstreamCommitCount(); });
        step(index++, "jj resolve --list", [&] { (void)client.conflictedFiles(); });
        step(index++, "jj diff of the working copy", [&] { (void)client.diff("@"); });
        input.selectedWorkspaceName = "default";
        input.compositionChangeIDs = compositions;
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
    const auto perCommitUs = [&](std::size_t index) {
        return medianCost(phases[index].costs).wallMs * 1e3 /
               static_cast<double>(std::max<std::size_t>(decodedCommits, 1));
    };
    std::printf(
        "decoding: %.2f us a commit (goal 2), general decoder %.2f us; both decoders "
        "%s\n",
        perCommitUs(1), perCommitUs(2), sameDecoding ? "give the same records" : "DIFFER");
}

}  // namespace vorda::bench
