// The repository load: the queries behind a refresh and how their answers
// become one RepoState.

#include <filesystem>

#include "jjkit/client/JJClient.h"
#include "jjkit/graph/BookmarkGraphBuilder.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "jjkit/trace/TracedTask.h"

namespace vorda {
namespace {

std::vector<std::string> nonEmptyLines(const std::string& output) {
    std::vector<std::string> lines;
    for (const auto line : text::splitNonEmpty(output, '\n')) {
        const auto trimmed = text::trimBlanks(line);
        if (!trimmed.empty()) {
            lines.emplace_back(trimmed);
        }
    }
    return lines;
}

std::string normalisedPath(const std::string& path) {
    std::filesystem::path result = std::filesystem::absolute(path).lexically_normal();
    if (result.has_relative_path() && !result.has_filename()) {
        result = result.parent_path();
    }
    return result.string();
}

}  // namespace

const std::string JJClient::defaultRevset =
    "(::(bookmarks() | remote_bookmarks() | working_copies()) & ~immutable()) | "
    "(::bookmarks() ~ ::trunk()) | bookmarks() | remote_bookmarks() | working_copies() | "
    "(mine() & ~immutable()) | (bookmarks()..tracked_remote_bookmarks()) | "
    "(tracked_remote_bookmarks()..bookmarks()) | "
    "parents(roots((::(bookmarks() | working_copies())) & ~immutable())) | "
    "description(substring:\"wip: Vorda apex commit\") | "
    "description(substring:\"wip: Vorda composition \")";

RepoState JJClient::repoState(
    const std::string& revset, const std::optional<std::string>& apexChangeID,
    const std::map<std::string, std::string>& compositionChangeIDs) const {
    auto log = startTracedTask([&] { return this->log(revset, "log"); });
    auto mine = startTracedTask([&] { return mineChangeIDs(revset); });
    auto behind = startTracedTask([&] { return behindTrunkCommitIDs(revset); });
    auto workspaceList = startTracedTask([&] { return workspaces(); });
    auto trunk = startTracedTask([&] { return trunkCommitID(); });

    // A failure leaves through the futures' destructors, which wait for their
    // queries: no query outlives the load.
    BookmarkGraphBuilder::Input input;
    {
        input.commits = log.get();
        // Parents the revset did not reach, notably those of the apex and of
        // composition points; once only.
        if (const auto missing = missingParentRevset(input.commits)) {
            auto more = this->log(*missing, "repoState/compositionInputs");
            input.commits.insert(input.commits.end(), std::make_move_iterator(more.begin()),
                                 std::make_move_iterator(more.end()));
        }
        try {
            const auto mineList = mine.get();
            input.mineChangeIDs = {mineList.begin(), mineList.end()};
        } catch (const JJError&) {
            input.mineChangeIDs.clear();  // a secondary fact: degrade to empty
        }
        try {
            input.behindTrunkCommitIDs = behind.get();
        } catch (const JJError&) {
            input.behindTrunkCommitIDs.clear();
        }
        input.workspaces = workspaceList.get();
        try {
            input.trunkCommitID = trunk.get();
            if (input.trunkCommitID->empty()) {
                input.trunkCommitID.reset();
            }
        } catch (const JJError&) {
            input.trunkCommitID.reset();  // a repository may have no trunk
        }
    }

    const std::string here = normalisedPath(repositoryPath());
    for (const auto& workspace : input.workspaces) {
        if (workspace.root && normalisedPath(*workspace.root) == here) {
            input.selectedWorkspaceName = workspace.name;
            break;
        }
    }
    if (!input.selectedWorkspaceName) {
        JJWorkspace* rootless = nullptr;
        std::size_t count = 0;
        for (auto& workspace : input.workspaces) {
            if (!workspace.root) {
                rootless = &workspace;
                ++count;
            }
        }
        // The one workspace whose root jj could not print must be this one.
        if (count == 1) {
            rootless->root = here;
            input.selectedWorkspaceName = rootless->name;
        }
    }
    input.apexChangeID = apexChangeID;
    input.compositionChangeIDs = compositionChangeIDs;
    return BookmarkGraphBuilder::build(std::move(input));
}

std::set<std::string> JJClient::behindTrunkCommitIDs(const std::string& revset) const {
    const std::string query =
        "mutable() & descendants(mutable() & (children(::trunk() ~ trunk()) ~ ::trunk())) & (" +
        revset + ")";
    const auto result = run({"log", "--no-graph", "--ignore-working-copy", "-r", query, "-T",
                             std::string(JJTemplateBuilder::commitIDLines)},
                            "behindTrunkCommitIDs");
    const auto lines = nonEmptyLines(result.stdout);
    return {lines.begin(), lines.end()};
}

std::vector<std::string> JJClient::mineChangeIDs(const std::string& revset) const {
    const auto result =
        run({"log", "--no-graph", "--ignore-working-copy", "-r", "mine() & (" + revset + ")", "-T",
             std::string(JJTemplateBuilder::changeIDLines)},
            "mineChangeIDs");
    return nonEmptyLines(result.stdout);
}

std::int64_t JJClient::upstreamCommitCount() const {
    const auto result =
        run({"log", "--ignore-working-copy", "--count", "-r", "ancestors(trunk()) ~ ::@"},
            "upstreamCommitCount");
    return text::parseCount(result.stdout);
}

}  // namespace vorda
