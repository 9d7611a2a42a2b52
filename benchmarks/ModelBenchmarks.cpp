// The in-memory part of a refresh: the bookmark graph and the lane projection
// over a generated repository, at three sizes with 1,000 bookmarks.

#include <chrono>
#include <optional>

#include <benchmark/benchmark.h>

#include "GeneratedRepository.h"
#include "feature/lanes/BookmarkLaneProjection.h"
#include "jjkit/graph/BookmarkGraphBuilder.h"

namespace vorda::bench {
namespace {

BookmarkGraphBuilder::Input inputFor(const GeneratedRepository& repository) {
    BookmarkGraphBuilder::Input input;
    input.commits = repository.commits;
    for (const auto& commit : repository.commits) {
        input.mineChangeIDs.insert(commit.changeID);
    }
    input.workspaces = repository.workspaces;
    input.selectedWorkspaceName = "default";
    input.compositionChangeIDs = repository.compositionChangeIDs;
    input.trunkCommitID = repository.trunkCommitID;
    return input;
}

void graphAndLanes(benchmark::State& state) {
    const auto commits = static_cast<std::size_t>(state.range(0));
    const auto repository = GeneratedRepository::make(commits, 1000, 5);
    std::size_t lanes = 0;
    double timed = 0;
    for (auto _ : state) {
        auto input = inputFor(repository);  // copying the input is not the builder's cost
        const auto start = std::chrono::steady_clock::now();
        std::optional<RepoState> repoState = BookmarkGraphBuilder::build(std::move(input));
        const auto trunk =
            BookmarkLaneProjection::resolveTrunkName(*repoState, repository.trunkCommitID);
        auto projected = BookmarkLaneProjection::build(*repoState, {}, {}, trunk);
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
        timed += elapsed.count();
        lanes = projected.size();
        benchmark::DoNotOptimize(projected);
    }
    state.counters["lanes"] = static_cast<double>(lanes);
    state.counters["commits"] = static_cast<double>(repository.commits.size());
    // Equal at every size when the cost is linear in commits.
    state.counters["us_per_commit"] = 1e6 * timed / static_cast<double>(state.iterations()) /
                                      static_cast<double>(repository.commits.size());
}

// The builder alone, to tell its share from the projection's.
void graphOnly(benchmark::State& state) {
    const auto repository =
        GeneratedRepository::make(static_cast<std::size_t>(state.range(0)), 1000, 5);
    for (auto _ : state) {
        auto input = inputFor(repository);
        const auto start = std::chrono::steady_clock::now();
        const RepoState repoState = BookmarkGraphBuilder::build(std::move(input));
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
        benchmark::DoNotOptimize(repoState);
    }
}

// Only the measured region is timed (manual time): copying the generated
// input and freeing the results are not the builder's cost.
BENCHMARK(graphOnly)->Arg(5000)->Arg(10000)->Arg(20000)->UseManualTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(graphAndLanes)
    ->Arg(5000)
    ->Arg(10000)
    ->Arg(20000)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vorda::bench
