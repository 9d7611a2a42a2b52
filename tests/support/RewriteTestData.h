#pragma once

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/support/Text.h"
#include "support/TestRepo.h"

namespace vorda::testing {

/// A commit for the pure rewrite planners, named by its commit ID; its
/// change ID is "change-<commitID>".
inline JJCommit commitNode(const std::string& commitID, std::vector<std::string> parents,
                           bool immutable = false, const std::vector<std::string>& bookmarks = {}) {
    JJCommit commit;
    commit.commitID = commitID;
    commit.changeID = "change-" + commitID;
    commit.parents = std::move(parents);
    commit.immutable = immutable;
    for (const auto& name : bookmarks) {
        commit.localBookmarks.push_back({name, std::nullopt, {commitID}, std::nullopt});
    }
    return commit;
}

/// `commit` after a rewrite: another commit ID and other parents, with its
/// bookmarks following it.
inline JJCommit rewrittenNode(JJCommit commit, const std::string& commitID,
                              std::vector<std::string> parents) {
    commit.commitID = commitID;
    commit.parents = std::move(parents);
    for (auto& bookmark : commit.localBookmarks) {
        bookmark.target = {commitID};
    }
    return commit;
}

/// A workspace whose working copy is `commit`.
inline JJWorkspace workspaceOn(const std::string& name, const JJCommit& commit) {
    return JJWorkspace{name, "/work/" + name, commit.commitID, commit.changeID};
}

/// `ids` sorted, to compare lists whose order is not the point.
inline std::vector<std::string> sorted(std::vector<std::string> ids) {
    std::sort(ids.begin(), ids.end());
    return ids;
}

/// Trunk `main` (B, T), the feature `feat` (F1, F2) on B, and an
/// integration merge M of F2 and T with work W1-W2 on it, under the default
/// workspace's working copy. With `conflicting`, T and W1 both change
/// shared.txt, which F2 leaves as B had it, so W1 conflicts on the tip.
inline std::string appendPicture(bool conflicting) {
    return std::string(R"(
        B <- root "base" README=base shared.txt=base
        T <- B "trunk work" shared.txt=trunk [main]
        F1 <- B "f1" f1.txt=one
        F2 <- F1 "f2" f2.txt=two [feat]
        M <- F2 T "wip: Vorda composition default"
        W1 <- M "w1" )") +
           (conflicting ? "shared.txt=work" : "w1.txt=w1") + R"(
        W2 <- W1 "w2" w2.txt=w2
    )";
}

/// The parents of each revision as jj reports them, "W1<F1 M<F2,B", to
/// compare a whole graph at once.
inline std::string graph(const TestRepo& repo, const std::vector<std::string>& revisions) {
    std::string line;
    for (const auto& revision : revisions) {
        line.append(line.empty() ? "" : " ").append(revision).append("<");
        line.append(text::join(repo.parents(revision), ","));
    }
    return line;
}

/// A planned parent graph as "c<a,b d<c", each ID shown by its name in
/// `names` where it has one, to compare a whole plan at once.
inline std::string parentText(const std::map<std::string, std::vector<std::string>>& parents,
                              const std::map<std::string, std::string>& names = {}) {
    const auto name = [&](const std::string& id) {
        const auto found = names.find(id);
        return found == names.end() ? id : found->second;
    };
    std::vector<std::string> entries;
    for (const auto& [child, ids] : parents) {
        std::vector<std::string> shown;
        std::transform(ids.begin(), ids.end(), std::back_inserter(shown), name);
        entries.push_back(name(child).append("<").append(text::join(shown, ",")));
    }
    return text::join(sorted(std::move(entries)), " ");
}

/// "line FIRST\n" … "line COUNT\n", with the lines in `changed` written
/// "changed K\n": a file whose hunks tests choose.
inline std::string numberedLines(int count, const std::set<int>& changed = {}, int first = 1) {
    std::string text;
    for (int line = first; line <= count; ++line) {
        text.append(changed.contains(line) ? "changed " : "line ").append(std::to_string(line));
        text.push_back('\n');
    }
    return text;
}

/// The change IDs that jj itself reports as conflicted among `revset`, sorted.
inline std::vector<std::string> conflictedChanges(const TestRepo& repo, const std::string& revset) {
    const auto output = repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r",
                                 "conflicts() & (" + revset + ")", "-T", "change_id ++ \"\\n\""});
    std::vector<std::string> changes;
    for (const auto line : text::splitNonEmpty(output, '\n')) {
        changes.emplace_back(line);
    }
    return sorted(std::move(changes));
}

/// How many `jj rebase` runs the operation log holds.
inline std::size_t rebaseCount(const TestRepo& repo) {
    const auto log = repo.jj({"op", "log", "--no-graph", "-T", "description ++ \"\\n\""});
    std::size_t count = 0;
    for (auto at = log.find("rebase"); at != std::string::npos; at = log.find("rebase", at + 1)) {
        ++count;
    }
    return count;
}

/// The receipt of a flow that ended without an error or a warning.
inline LocalStackUpdateReceipt cleanReceipt(std::string before, std::string after,
                                            std::vector<std::string> workspaces,
                                            std::vector<std::string> conflicts = {}) {
    return {std::move(before),   std::move(after), std::nullopt, std::move(workspaces), {},
            std::move(conflicts)};
}

/// The one record that the journal of `Plan` holds, read without warnings.
template <typename Plan>
OperationRecord<Plan> onlyRecord(const std::string& root) {
    auto loaded = OperationJournal<Plan>(root).load();
    EXPECT_EQ(loaded.warnings, std::vector<std::string>{});
    EXPECT_EQ(loaded.records.size(), 1U);
    return loaded.records.empty() ? OperationRecord<Plan>{} : loaded.records.front();
}

}  // namespace vorda::testing
