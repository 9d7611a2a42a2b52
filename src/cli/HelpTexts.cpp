#include "cli/Subcommands.h"

namespace vorda::cli {

std::string_view helpText(std::string_view subcommand) {
    if (subcommand == "snapshot") {
        return R"(usage: vorda-cli snapshot [--repo PATH]

Reads the repository once, as a window opening it would, and prints the
snapshot as one JSON object.

example:
  vorda-cli snapshot --repo ~/src/project | jq '.repoState.bookmarks | keys'
)";
    }
    if (subcommand == "exec") {
        return R"(usage: vorda-cli exec [--repo PATH] [COMMAND_JSON]

Runs one command, read from the argument or else from standard input, and
prints its result as JSON. A command is an object with one key, the command's
name, holding its arguments by their labels. A command that fails prints
{"error":{"message":"..."}} and exits 1; input that is not a command exits 2.

examples:
  vorda-cli exec '{"refresh":{}}'
  vorda-cli exec '{"togglePinned":{"bookmark":"feature"}}'
  echo '{"renameBookmark":{"old":"feature","new":"feature-2"}}' | vorda-cli exec

A planned rewrite takes two calls: the plan command prints a plan, which the
execute command takes back unchanged once it has been looked at:
  vorda-cli exec '{"planLocalStackUpdate":{"bookmarks":["feature"],"oneOffChangeIDs":[]}}' \
    | jq -c '{executeLocalStackUpdate:{plan:.localStackUpdatePlan._0}}' | vorda-cli exec
Routing that repairs the composition a bookmark stands on, then advances the
feature (afterChangeID null), and attaching a feature to a composition:
  vorda-cli exec '{"planCoordinatedRouting":{"changeIDs":[ID,...],"afterChangeID":null,
    "bookmark":"feature","repairBookmark":"env"}}' \
    | jq -c '{executeCoordinatedRouting:{plan:.coordinatedRoutingPlan._0}}' | vorda-cli exec
  vorda-cli exec '{"planCompositionAttachment":{"compositionChangeID":ID,"bookmark":"feature"}}' \
    | jq -c '{executeCompositionAttachment:{plan:.compositionAttachmentPlan._0}}' | vorda-cli exec
)";
    }
    if (subcommand == "query") {
        return R"(usage: vorda-cli query [--repo PATH] NAME [ARGS_JSON]

Runs one read and prints its result as JSON. ARGS_JSON is an object keyed by
the argument labels.

  loadSnapshot        {}
  loadDiff            {"for":CHANGE_ID}
  loadChangedFiles    {"for":CHANGE_ID}
  loadRecentOps       {"limit":N}
  loadCombinedDiff    {}
  loadAncestors       {"ofTip":REV,"limit":N,"skip":N}
  loadBranchHistory   {"ofTip":REV,"excluding":[REV,...]}
  ancestorCount       {"ofTip":REV}
  bookmarkNames       {"matchingRevset":REVSET}
  isGithubAvailable   {}
  loadRebaseConflict  {"changeID":FULL_CHANGE_ID}
  loadUpdateReceipts  {}   receipts of stack updates, newest first, with guidance
  loadRoutingReceipts {}   receipts of feature insertions
  loadAppendReceipts  {}   records of feature appends
  inspectFeatureAppend {"record":RECORD}   a record as loadAppendReceipts prints it
  planFeatureAppendRecovery {"record":RECORD}   the bookmark move an interrupted
                      append left undone, for exec's executeFeatureAppendRecovery
  loadRecoveryReceipts {}  records of append recoveries
  loadAttachmentReceipts {}  records of composition attachments
  loadCoordinatedRoutingReceipts {}  records of coordinated routings
  inspectCoordinatedRouting {"record":RECORD}   which recorded stage the
                      repository matches now
  planCoordinatedRecovery {"record":RECORD}   the repairs and bookmark advance a
                      stopped routing left, for exec's executeCoordinatedRecovery
  loadCoordinatedRecoveryReceipts {}  records of coordinated recoveries

examples:
  vorda-cli query loadRecentOps '{"limit":30}'
  vorda-cli query loadUpdateReceipts
  # finish an append that stopped before its bookmark moved
  record=$(vorda-cli query loadAppendReceipts | jq -c '.records[0]')
  vorda-cli query planFeatureAppendRecovery "{\"record\":$record}" \
    | jq -c "{executeFeatureAppendRecovery:{plan:., source:$record}}" | vorda-cli exec
  # finish a coordinated routing that stopped between its steps
  record=$(vorda-cli query loadCoordinatedRoutingReceipts | jq -c '.records[0]')
  vorda-cli query planCoordinatedRecovery "{\"record\":$record}" \
    | jq -c "{executeCoordinatedRecovery:{plan:., source:$record}}" | vorda-cli exec
)";
    }
    if (subcommand == "watch") {
        return R"(usage: vorda-cli watch [--repo PATH]

Prints the current snapshot, then every snapshot that follows a change to the
repository (from this program, jj or anything else), one JSON object a line,
until interrupted.

example:
  vorda-cli watch --repo ~/src/project | jq -c '.repoState.workingCopy'
)";
    }
    if (subcommand == "demo") {
        return R"(usage: vorda-cli demo DIR

Creates a demo repository in DIR (which must not exist or be empty): a trunk
tracked from a local origin, stacked bookmarks ahead of and behind origin, an
untracked remote bookmark, one-off work, a teammate's commit, a second
workspace on a composition point, a conflict. Prints the path to open.

example:
  vorda-cli demo /tmp/vorda-demo && vorda-cli snapshot --repo /tmp/vorda-demo/repo
)";
    }
    return R"(usage: vorda-cli SUBCOMMAND [--repo PATH] ...

The headless front end of Vorda: everything a window does, as JSON.

subcommands:
  snapshot   print the repository's snapshot
  exec       run one command
  query      run one read
  watch      print a snapshot after every change
  demo       create a demo repository

--repo defaults to the current folder; a path inside a repository finds its
root. `vorda-cli SUBCOMMAND --help` explains each one. `vorda-cli --version`
prints the version.
)";
}

}  // namespace vorda::cli
