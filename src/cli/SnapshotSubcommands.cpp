// Subcommands that print snapshots, and the demo repository.

#include <iostream>

#include "cli/DemoRepository.h"
#include "cli/Subcommands.h"
#include "feature/session/RepoSession.h"
#include "feature/wire/SnapshotWire.h"

namespace vorda::cli {
namespace {

void printSnapshot(const RepoSnapshot& snapshot) {
    // One document a line, flushed, so that a reader of a stream sees each
    // snapshot as soon as it is out.
    printLine(encodeSnapshot(snapshot));
}

}  // namespace

int runSnapshot(const CliOptions& options) {
    const auto session = RepoSession::open(options.repositoryRoot());
    printSnapshot(*session->bootstrap());
    return 0;
}

int runWatch(const CliOptions& options) {
    const auto session = RepoSession::open(options.repositoryRoot());
    printSnapshot(*session->bootstrap());
    session->startWatching();
    while (const auto snapshot = session->snapshots().next()) {
        printSnapshot(**snapshot);
    }
    return 0;
}

int runDemo(const CliOptions& options) {
    if (options.positional.size() != 1) {
        throw UsageError("demo needs one folder: vorda-cli demo DIR");
    }
    createDemoRepository(options.positional.front());
    printLine(nlohmann::json{{"repo", demoRepositoryPath(options.positional.front())}});
    return 0;
}

}  // namespace vorda::cli
