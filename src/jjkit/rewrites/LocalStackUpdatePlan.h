#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"

namespace vorda {

/// The user's own mutable stacks, named by their bookmarks or one-off tips,
/// moved onto the current trunk by one `jj rebase`.
struct LocalStackUpdatePlan {
    static constexpr std::string_view journalDirectoryName = "Vorda-update-receipts";

    /// Fresh for every plan built; names a preview, takes no part in the
    /// staleness comparison.
    std::string id;
    std::string repositoryID;
    std::string workspaceRoot;
    std::string operationID;
    /// Sorted ascending.
    std::vector<std::string> bookmarkNames;
    /// Sorted ascending by change ID.
    std::vector<JJCommit> oneOffTips;
    /// The one commit `trunk()` resolves to.
    JJCommit destination;
    /// What the rebase names with -s, sorted ascending by commit ID.
    std::vector<JJCommit> roots;
    /// The roots and all their descendants.
    std::vector<JJCommit> affectedCommits;
    /// Workspaces whose working-copy commit is affected, sorted by name.
    std::vector<JJWorkspace> affectedWorkspaces;
    /// Out-of-set parents that commits above the roots keep, sorted ascending
    /// by commit ID.
    std::vector<JJCommit> preservedDependencies;

    /// False when every root already stands on `destination` alone, and when
    /// there are no roots.
    bool hasChanges() const;
    /// `rebase -s <root>... -d <destination>`.
    std::vector<std::string> commandArguments() const;
    /// What a preview shows of the command.
    std::string commandLine() const;
    /// The preserved dependencies that are immutable.
    std::vector<JJCommit> protectedDependencies() const;
    /// Local bookmarks on the affected commits, de-duplicated and sorted.
    std::vector<std::string> affectedBookmarkNames() const;
    /// Affected commits that carry remote bookmarks.
    std::size_t publishedCommitCount() const;

    /// Decides every refusal in a fixed order from frozen data and composes
    /// the plan. Throws `JJError::UnsafeOperation`.
    static LocalStackUpdatePlan build(
        std::string repositoryID, std::string workspaceRoot, std::string operationID,
        std::vector<std::string> bookmarkNames, std::vector<JJCommit> oneOffTips,
        const std::vector<JJCommit>& tips, const JJCommit& destination,
        const std::vector<JJCommit>& stack, const std::vector<JJCommit>& roots,
        const std::vector<JJCommit>& affected, const std::vector<JJCommit>& siblings,
        const std::vector<JJCommit>& lostBases, const std::vector<JJCommit>& divergent,
        const std::vector<JJCommit>& boundary, const std::vector<JJWorkspace>& workspaces,
        const std::vector<JJCommit>& nonMineAffected);

    /// Walks down first parents from `commit`: true when an immutable commit
    /// is reached through single-parent commits only. An immutable start, a
    /// commit seen twice or one without exactly one parent answers false.
    static bool isLinearLocalStack(const JJCommit& commit,
                                   const std::map<std::string, JJCommit>& commits);
    /// The heads of local stacks that carry no bookmark, which the selection
    /// offers as one-offs. `commits` is keyed by commit ID.
    static std::vector<JJCommit> unbookmarkedStackTips(
        const std::map<std::string, JJCommit>& commits, const std::set<std::string>& mineChangeIDs);

    bool operator==(const LocalStackUpdatePlan&) const = default;
};

/// How the preview groups a plan's commits into stacks.
struct LocalStackRebaseSummary {
    struct Stack {
        /// "bookmark:<name>" or "change:<changeID>".
        std::string id;
        std::optional<std::string> bookmarkName;
        JJCommit tip;
        std::vector<JJCommit> commits;
        std::size_t sharedCommitCount = 0;

        bool operator==(const Stack&) const = default;
    };

    std::vector<Stack> stacks;
    std::size_t movingCommitCount = 0;
    std::size_t sharedCommitCount = 0;
    /// Descendants that move along without having been selected.
    std::vector<JJCommit> followingCommits;

    explicit LocalStackRebaseSummary(const LocalStackUpdatePlan& plan);
};

template <>
struct RecordFields<LocalStackUpdatePlan> {
    using Plan = LocalStackUpdatePlan;
    static constexpr auto fields =
        std::tuple{uuidField("id", &Plan::id),
                   recordField("repositoryID", &Plan::repositoryID),
                   recordField("workspaceRoot", &Plan::workspaceRoot),
                   recordField("operationID", &Plan::operationID),
                   recordField("bookmarkNames", &Plan::bookmarkNames),
                   recordField("oneOffTips", &Plan::oneOffTips),
                   recordField("destination", &Plan::destination),
                   recordField("roots", &Plan::roots),
                   recordField("affectedCommits", &Plan::affectedCommits),
                   recordField("affectedWorkspaces", &Plan::affectedWorkspaces),
                   recordField("preservedDependencies", &Plan::preservedDependencies)};
};

}  // namespace vorda
