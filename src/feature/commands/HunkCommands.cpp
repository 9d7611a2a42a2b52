// Moving chosen hunks with jj's diff editor protocol: jj runs the helper,
// which keeps only the chosen hunks in the right-hand tree.

#include <numeric>

#include "feature/commands/SessionCommands.h"

namespace vorda::commands {
namespace {

// Runs one jj command through a prepared diff editor session, whose folder
// is removed whether jj succeeds or not.
void runWithSelection(const RepoSession& session, const std::vector<std::string>& baseCommand,
                      const DiffEditorProtocol::HunkSelection& selection,
                      const std::string& helperPath, const std::string& reason) {
    auto prepared = DiffEditorProtocol::prepare(baseCommand, selection, helperPath);
    try {
        session.client().run(prepared.toolArgs, reason);
    } catch (...) {
        prepared.cleanup();
        throw;
    }
    prepared.cleanup();
}

std::size_t hunkCount(const DiffEditorProtocol::HunkSelection& selection) {
    return std::accumulate(selection.files.begin(), selection.files.end(), std::size_t{0},
                           [](std::size_t sum, const DiffEditorProtocol::FileKeep& file) {
                               return sum + file.keepHunkOrdinals.size();
                           });
}

}  // namespace

RepoCommandResult performStageHunks(RepoSession& session, const RepoCommand::StageHunks& command) {
    if (command.hunkOrdinals.empty()) {
        return RepoCommandResult::toast("No hunks selected");
    }
    const auto snapshot = session.readSnapshot();
    const auto& commits = snapshot->repoState.commits;
    const auto workingCopy = std::find_if(commits.begin(), commits.end(), [](const auto& entry) {
        return entry.second->workingCopy;
    });
    if (workingCopy == commits.end()) {
        return RepoCommandResult::toast("No working-copy commit found");
    }
    // Every changed file is named, so only the chosen hunks move and the rest
    // of the working copy stays where it is.
    DiffEditorProtocol::HunkSelection selection;
    for (const auto& file : workingCopy->second->changedFiles) {
        DiffEditorProtocol::FileKeep keep{file.path, {}};
        if (file.path == command.filePath) {
            keep.keepHunkOrdinals.assign(command.hunkOrdinals.begin(), command.hunkOrdinals.end());
        }
        selection.files.push_back(std::move(keep));
    }
    runWithSelection(session, {"squash", "--from", "@", "--into", command.into}, selection,
                     command.helperPath,
                     "stageHunks file=" + command.filePath + " into=" + command.into +
                         " hunks=" + std::to_string(command.hunkOrdinals.size()));
    return refreshed(session);
}

RepoCommandResult performSplitCommitByHunks(RepoSession& session,
                                            const RepoCommand::SplitCommitByHunks& command) {
    std::vector<std::string> base{"split", "-r", command.changeID};
    if (command.ignoreImmutable) {
        base.emplace_back("--ignore-immutable");
    }
    runWithSelection(session, base, command.selection, command.helperPath,
                     "splitCommitByHunks rev=" + command.changeID +
                         " files=" + std::to_string(command.selection.files.size()));
    return refreshed(session);
}

RepoCommandResult performCreateBookmarkWithCarve(RepoSession& session,
                                                 const CreateBookmarkInput& input,
                                                 const DiffEditorProtocol::HunkSelection& selection,
                                                 const std::string& helperPath) {
    const auto hunks = hunkCount(selection);
    if (hunks < 1) {
        return RepoCommandResult::toast("No hunks selected");
    }
    runWithSelection(
        session, {"split", "-r", "@"}, selection, helperPath,
        "createBookmarkWithCarve name=" + input.name + " hunks=" + std::to_string(hunks));
    // The chosen hunks are now the working copy's parent.
    const auto& client = session.client();
    client.createBookmark(input.name, client.resolveCommitID("@-"));
    trackOnOrigin(session, input);
    return refreshed(session);
}

}  // namespace vorda::commands
