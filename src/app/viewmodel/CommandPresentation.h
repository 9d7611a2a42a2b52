#pragma once

#include <optional>
#include <set>
#include <string>

#include "feature/commands/RepoCommand.h"
#include "jjkit/model/RepoState.h"

namespace vorda {

/// Which fields of the view model a command shows in while it runs and
/// where its failure is reported.
enum class CommandKind {
    push,         // push, performPush: `pushInFlight`, `pushError`
    fetch,        // fetch, sync: `fetchInFlight`, `fetchError`
    undo,         // undo: `undoInFlight`, `undoError`
    restore,      // restoreToOp: like undo, but keeps the last error at start
    pullRequest,  // refresh or create a pull request: `isMutating` only
    refresh,      // a plain read: nothing
    mutation,     // every other command: `isMutating`, `mutationLabel`, `mutationError`
};

CommandKind commandKind(const RepoCommand& command);

/// The progress wording of a mutating command, ending with "…".
std::string mutationLabel(const RepoCommand& command);

/// The commits whose cards show that they are being advanced; empty for
/// commands that advance nothing. `reparentToTrunk` advances the bookmark's
/// commits as `state` knows them.
std::set<std::string> advancedCommitIDs(const RepoCommand& command, const RepoState* state);

/// "N word" with "s" unless N is 1.
std::string countedWord(std::size_t count, const std::string& word);

}  // namespace vorda
