// The full read of a large real repository against the one `jj log` it cannot
// do without: how much the session adds on top of jj's own work.
//
//   read_benchmark [--cache DIR] [--runs N] [--bookmarks N] [--commits-per-bookmark N]
//                  [--verbose]
//
// DIR (or VORDA_READ_BENCH_CACHE) keeps the generated repository, so that a
// second run skips generating it; without it the repository goes to a
// temporary folder and is removed at the end. After one warm-up of each, the
// three measures alternate for N runs (default 7):
//
//   read    RepoSession::open(root), then refreshSnapshot(): every query of a
//           refresh, the bookmark graph and the lane projection
//   jj log  the commit query of that read alone, the same command line
//           (default revset, commit template), output not decoded
//   decoded the same query through JJClient::log, decoded into records
//
// It prints each median with the ratio of read to jj log, the processor time
// spent in jj and in this process (which, unlike wall time, does not depend
// on how busy the machine is), the size of the snapshot, the mean time of
// every traced step of the reads, the graph and lane projection inside the
// reads, and each step of a read run alone, one after the other, so that a
// high ratio says at once where the time went. Last it checks that the read
// gives byte for byte the snapshot that the separate fact queries give, on
// this repository and on a fresh demonstration repository (`vorda-cli demo`);
// the exit status is 1 when they differ.
// --verbose keeps the per-process log lines and the slow-step trace lines.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "LargeRepository.h"
#include "ReadPhases.h"
#include "ScratchFolder.h"
#include "SnapshotCheck.h"
#include "cli/DemoRepository.h"
#include "feature/session/RepoSession.h"
#include "jjkit/client/JJClient.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/trace/Perf.h"

namespace vorda::bench {
namespace {

namespace fs = std::filesystem;

struct Options {
    std::optional<fs::path> cache;
    int runs = 7;
    LargeRepositoryShape shape;
    bool verbose = false;
};

int usage() {
    std::cerr << "usage: read_benchmark [--cache DIR] [--runs N] [--bookmarks N] "
                 "[--commits-per-bookmark N] [--verbose]\n";
    return 2;
}

std::optional<Options> parseOptions(int argc, char** argv) {
    Options options;
    if (const char* cache = std::getenv("VORDA_READ_BENCH_CACHE"); cache != nullptr && *cache) {
        options.cache = cache;
    }
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        const bool hasValue = index + 1 < arguments.size();
        try {
            if (argument == "--cache" && hasValue) {
                options.cache = arguments[++index];
            } else if (argument == "--runs" && hasValue) {
                options.runs = std::stoi(arguments[++index]);
            } else if (argument == "--bookmarks" && hasValue) {
                options.shape.bookmarks = std::stoul(arguments[++index]);
            } else if (argument == "--commits-per-bookmark" && hasValue) {
                options.shape.commitsPerBookmark = std::stoul(arguments[++index]);
            } else if (argument == "--verbose") {
                options.verbose = true;
            } else {
                return std::nullopt;
            }
        } catch (const std::exception&) {
            return std::nullopt;
        }
    }
    if (options.runs < 1) {
        return std::nullopt;
    }
    return options;
}

// jj must run as the repository's own user, whatever the machine's
// configuration says, or `mine()` finds nothing and the read is not the
// read a user would see. Called before any thread starts.
void isolateEnvironment(const fs::path& folder, bool verbose) {
    fs::create_directories(folder);
    const fs::path config = folder / "jj-config.toml";
    std::ofstream(config) << "[user]\n"
                          << "name = \"" << largeRepositoryUserName << "\"\n"
                          << "email = \"" << largeRepositoryUserEmail << "\"\n"
                          << "[ui]\npaginate = \"never\"\ncolor = \"never\"\n"
                          << "[signing]\nbehavior = \"drop\"\n";
    ::setenv("JJ_CONFIG", config.c_str(), 1);
    if (!verbose) {
        // The trace stays on for the step breakdown; only its slow lines and
        // the per-process log lines are kept off the output.
        if (std::getenv("VORDA_BENCH_MS") == nullptr) {
            ::setenv("VORDA_BENCH_MS", "1000000", 1);
        }
        DiagnosticLog::setSink([](std::string_view) {});
    }
}

std::string rounded(double milliseconds) {
    return std::to_string(std::llround(milliseconds));
}

void printSnapshot(const RepoSnapshot& snapshot) {
    const RepoState& state = snapshot.repoState;
    std::size_t mutableCommits = 0;
    for (const auto& [id, commit] : state.commits) {
        mutableCommits += commit->immutable ? 0 : 1;
    }
    std::cout << "snapshot: " << state.commits.size() << " commits (" << mutableCommits
              << " mutable, " << state.mineChangeIDs.size() << " mine, "
              << state.behindTrunkCommitIDs.size() << " behind trunk) · " << state.bookmarks.size()
              << " bookmarks · " << state.untrackedRemoteBookmarks().size()
              << " untracked remote · " << state.workspaces.size() << " workspaces · "
              << state.oneOffLanes().size() << " one-off lanes · "
              << snapshot.lanesByBookmark.size() << " lanes projected\n";
}

// Mean time of each traced step over the timed reads: the aggregate before
// and after, per label, for the labels that ran in every read.
void printBreakdown(const std::map<std::string, Perf::Aggregate>& before,
                    const std::map<std::string, Perf::Aggregate>& after, int runs) {
    std::vector<std::pair<double, std::string>> rows;
    for (const auto& [key, aggregate] : after) {
        const auto earlier = before.find(key);
        const std::uint64_t count =
            aggregate.count - (earlier == before.end() ? 0 : earlier->second.count);
        const std::uint64_t totalNs =
            aggregate.totalNs - (earlier == before.end() ? 0 : earlier->second.totalNs);
        if (count < static_cast<std::uint64_t>(runs) || key.find("bench/") != std::string::npos) {
            continue;
        }
        const double meanMs = static_cast<double>(totalNs) / static_cast<double>(count) / 1e6;
        rows.emplace_back(meanMs, key + (count > static_cast<std::uint64_t>(runs)
                                             ? " (" + std::to_string(count / runs) + "× a read)"
                                             : ""));
    }
    std::sort(rows.rbegin(), rows.rend());
    std::cout << "mean per read, by traced step (subprocesses run concurrently):\n";
    for (const auto& [meanMs, label] : rows) {
        std::printf("  %8.1f ms  %s\n", meanMs, label.c_str());
    }
}

// Graph and lane projection as they ran inside the timed reads.
void printModelInRead(const std::map<std::string, Perf::Aggregate>& before,
                      const std::map<std::string, Perf::Aggregate>& after, int runs) {
    const auto meanMs = [&](const std::string& key) {
        const auto found = after.find(key);
        if (found == after.end()) {
            return 0.0;
        }
        const auto earlier = before.find(key);
        const std::uint64_t totalNs =
            found->second.totalNs - (earlier == before.end() ? 0 : earlier->second.totalNs);
        return static_cast<double>(totalNs) / runs / 1e6;
    };
    const double graph = meanMs("snapshot|repoState.graph");
    const double lanes = meanMs("snapshot|snapshot.laneProjection");
    std::printf("inside the read: graph %.1f ms + lane projection %.1f ms = %.1f ms (goal < 10)\n",
                graph, lanes, graph + lanes);
}

int runBenchmark(const Options& options) {
    std::optional<ScratchFolder> scratch;
    fs::path cache;
    if (options.cache) {
        cache = *options.cache;
    } else {
        scratch.emplace("vorda-read-bench");
        cache = scratch->path();
    }
    isolateEnvironment(cache, options.verbose);

    const auto generationStart = std::chrono::steady_clock::now();
    const LargeRepository repository = prepareLargeRepository(cache, options.shape);
    if (repository.generated) {
        const std::chrono::duration<double> took =
            std::chrono::steady_clock::now() - generationStart;
        std::cout << "generated " << options.shape.key() << " in " << static_cast<int>(took.count())
                  << " s\n";
    }
    const std::string root = repository.root.string();
    std::cout << "repository: " << root << "\n";

    const JJClient client(root);
    // Exactly the command line of the read's commit query (JJClient::log),
    // run without decoding its output.
    const std::vector<std::string> logArguments{"log",
                                                "--no-graph",
                                                "--ignore-working-copy",
                                                "-T",
                                                std::string(JJTemplateBuilder::commitTemplate),
                                                "-r",
                                                JJClient::defaultRevset};

    // The session and the previous snapshot are let go outside the timed
    // block: freeing them is not part of a read.
    std::shared_ptr<RepoSession> session;
    SnapshotRef snapshot;
    const auto fullRead = [&] {
        session = RepoSession::open(root);
        snapshot = session->refreshSnapshot();
    };
    const auto release = [&] {
        session.reset();
        snapshot.reset();
    };
    std::size_t logBytes = 0;
    const auto logAlone = [&] {
        logBytes = client.run(logArguments, "bench/log").stdout.size();
    };
    std::size_t parsedCommits = 0;
    const auto logParsed = [&] {
        parsedCommits = client.log(JJClient::defaultRevset, "bench/parsed").size();
    };

    // Warm-up: file caches, jj's index, the first process start.
    fullRead();
    release();
    logAlone();
    logParsed();

    const auto traceBefore = Perf::aggregateSnapshot();
    std::vector<Cost> reads;
    std::vector<Cost> logs;
    std::vector<Cost> parsed;
    for (int run = 0; run < options.runs; ++run) {
        release();
        reads.push_back(measureCost(fullRead));
        session.reset();
        logs.push_back(measureCost(logAlone));
        parsed.push_back(measureCost(logParsed));
    }
    const auto traceAfter = Perf::aggregateSnapshot();

    printSnapshot(*snapshot);
    std::cout << "jj log output: " << logBytes / 1024 << " KiB, " << parsedCommits
              << " commits decoded\n";
    const Cost read = medianCost(reads);
    const Cost log = medianCost(logs);
    std::array<char, 48> ratio{};
    std::snprintf(ratio.data(), ratio.size(), "%.2f (goal 1.30)", read.wallMs / log.wallMs);
    std::cout << "read median " << rounded(read.wallMs) << " ms · jj log median "
              << rounded(log.wallMs) << " ms · ratio " << ratio.data() << " · decoded log median "
              << rounded(medianCost(parsed).wallMs) << " ms  (" << options.runs
              << " runs after a warm-up)\n";
    std::cout << "processor time, median: read " << rounded(read.childCpuMs) << " ms in jj + "
              << rounded(read.selfCpuMs) << " ms own · jj log " << rounded(log.childCpuMs)
              << " ms in jj\n";
    const auto list = [](const char* title, const std::vector<Cost>& costs) {
        std::cout << title;
        for (const auto& cost : costs) {
            std::cout << " " << rounded(cost.wallMs);
        }
        std::cout << "\n";
    };
    list("reads (ms):", reads);
    list("jj logs (ms):", logs);
    printBreakdown(traceBefore, traceAfter, options.runs);
    printModelInRead(traceBefore, traceAfter, options.runs);
    printReadPhases(root, options.runs);

    // The same snapshot as before jj answered the facts in the log, on this
    // repository and on the demonstration repository.
    bool identical = printSnapshotCheck("generated", root);
    const ScratchFolder demoFolder("vorda-read-bench");
    createDemoRepository((demoFolder.path() / "demo").string());
    identical =
        printSnapshotCheck("demo", demoRepositoryPath((demoFolder.path() / "demo").string())) &&
        identical;
    return identical ? 0 : 1;
}

}  // namespace
}  // namespace vorda::bench

int main(int argc, char** argv) {
    const auto options = vorda::bench::parseOptions(argc, argv);
    if (!options) {
        return vorda::bench::usage();
    }
    try {
        return vorda::bench::runBenchmark(*options);
    } catch (const std::exception& error) {
        std::cerr << "read_benchmark: " << error.what() << "\n";
        return 1;
    }
}
