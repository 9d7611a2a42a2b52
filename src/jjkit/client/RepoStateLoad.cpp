// The repository load: the queries behind a refresh and how their answers
// become one RepoState.

#include <filesystem>

#include "jjkit/client/JJClient.h"
#include "jjkit/graph/BookmarkGraphBuilder.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/templates/OutputParsing.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "jjkit/trace/Perf.h"
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

// The workspace this client is in: the one whose root is `here`, else the
// one workspace whose root jj could not print.
void selectWorkspace(const std::string& here, BookmarkGraphBuilder::Input& input) {
    for (const auto& workspace : input.workspaces) {
        if (workspace.root && normalisedPath(*workspace.root) == here) {
            input.selectedWorkspaceName = workspace.name;
            return;
        }
    }
    JJWorkspace* rootless = nullptr;
    std::size_t count = 0;
    for (auto& workspace : input.workspaces) {
        if (!workspace.root) {
            rootless = &workspace;
            ++count;
        }
    }
    if (count == 1) {
        rootless->root = here;
        input.selectedWorkspaceName = rootless->name;
    }
}

constexpr std::string_view mineRevset = "mine()";

// Mutable commits that descend from a mutable child of an older trunk commit:
// stacks started on a trunk that has moved since.
constexpr std::string_view behindTrunkRevset =
    "mutable() & descendants(mutable() & (children(::trunk() ~ trunk()) ~ ::trunk()))";

void appendMissingParents(const JJClient& client, std::vector<JJCommit>& commits) {
    // Parents the revset did not reach, notably those of the apex and of
    // composition points; once only.
    if (const auto missing = missingParentRevset(commits)) {
        auto more = client.log(*missing, "repoState/compositionInputs");
        commits.insert(commits.end(), std::make_move_iterator(more.begin()),
                       std::make_move_iterator(more.end()));
    }
}

// One log whose lines say also whether each commit is one's own and behind
// trunk; false when jj refuses it.
bool loadCommitsWithFacts(const JJClient& client, const std::string& revset,
                          BookmarkGraphBuilder::Input& input) {
    static const std::string logTemplate =
        JJTemplateBuilder::commitTemplateWithFacts(mineRevset, behindTrunkRevset);
    NDJSONDecoder<LoggedCommit> decoder("log");
    try {
        client.run(
            {"log", "--no-graph", "--ignore-working-copy", "-T", logTemplate, "-r=" + revset},
            "log", true, {0}, {}, [&](std::string_view bytes) { decoder.feed(bytes); });
    } catch (const JJError& error) {
        if (error.as<JJError::CommandFailed>() != nullptr) {
            return false;  // the separate queries fail one by one instead
        }
        throw;
    }
    auto logged = decoder.finishOutput();
    input.commits.reserve(logged.size());
    for (auto& entry : logged) {
        if (entry.mine) {
            input.mineChangeIDs.insert(entry.commit.changeID);
        }
        if (entry.behindTrunk) {
            input.behindTrunkCommitIDs.insert(entry.commit.commitID);
        }
        input.commits.push_back(std::move(entry.commit));
    }
    appendMissingParents(client, input.commits);
    return true;
}

// The log and the two facts as three queries at once, each fact degrading to
// empty on its own.
void loadCommitsThenFacts(const JJClient& client, const std::string& revset,
                          BookmarkGraphBuilder::Input& input) {
    auto log = startTracedTask([&] { return client.log(revset, "log"); });
    auto mine = startTracedTask([&] { return client.mineChangeIDs(revset); });
    auto behind = startTracedTask([&] { return client.behindTrunkCommitIDs(revset); });
    input.commits = log.get();
    appendMissingParents(client, input.commits);
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
    return readRepoState(revset, apexChangeID, compositionChangeIDs).state;
}

RepoStateRead JJClient::readRepoState(
    const std::string& revset, const std::optional<std::string>& apexChangeID,
    const std::map<std::string, std::string>& compositionChangeIDs, FactQueries factQueries) const {
    auto workspaceList = startTracedTask([&] { return workspaces(); });
    auto trunk = startTracedTask([&]() -> std::optional<std::string> {
        try {
            return trunkCommitID();
        } catch (const JJError&) {
            return std::nullopt;  // a repository may have no trunk
        }
    });

    // A failure leaves through the futures' destructors, which wait for their
    // queries: no query outlives the load.
    BookmarkGraphBuilder::Input input;
    const bool factsLoaded =
        factQueries == FactQueries::inLog && loadCommitsWithFacts(*this, revset, input);
    if (!factsLoaded) {
        loadCommitsThenFacts(*this, revset, input);
    }
    input.workspaces = workspaceList.get();
    RepoStateRead result;
    result.trunkCommitID = trunk.get();
    if (result.trunkCommitID && !result.trunkCommitID->empty()) {
        input.trunkCommitID = result.trunkCommitID;
    }

    selectWorkspace(normalisedPath(repositoryPath()), input);
    input.apexChangeID = apexChangeID;
    input.compositionChangeIDs = compositionChangeIDs;
    result.state = Perf::measure("repoState.graph", PerfCategory::snapshot,
                                 [&] { return BookmarkGraphBuilder::build(std::move(input)); });
    return result;
}

std::set<std::string> JJClient::behindTrunkCommitIDs(const std::string& revset) const {
    const std::string query = std::string(behindTrunkRevset) + " & (" + revset + ")";
    const auto result = run({"log", "--no-graph", "--ignore-working-copy", "-r", query, "-T",
                             std::string(JJTemplateBuilder::commitIDLines)},
                            "behindTrunkCommitIDs");
    const auto lines = nonEmptyLines(result.stdout);
    return {lines.begin(), lines.end()};
}

std::vector<std::string> JJClient::mineChangeIDs(const std::string& revset) const {
    const auto result = run({"log", "--no-graph", "--ignore-working-copy", "-r",
                             std::string(mineRevset) + " & (" + revset + ")", "-T",
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
