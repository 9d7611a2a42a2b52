// The apex and composition commits: how they are made, found and rewritten.

#include <algorithm>
#include <set>

#include "jjkit/client/JJClient.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/templates/OutputParsing.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

JJError notFound(const char* context, const char* message) {
    return JJError(JJError::ParseError{context, message});
}

}  // namespace

std::vector<std::string> JJClient::findAllApexChangeIDs() const {
    const auto result = run({"log", "--no-graph", "--ignore-working-copy", "-r",
                             "mutable() & " + descriptionSubstringRevset(Apex::descriptionMarker),
                             "-T", std::string(JJTemplateBuilder::changeIDAndCommitterTimeLines)},
                            "findAllApexChangeIDs");
    std::vector<std::pair<std::string, std::string>> found;  // (timestamp, change ID)
    for (const auto line : text::splitNonEmpty(result.stdout, '\n')) {
        const auto tab = line.find('\t');
        if (tab == std::string_view::npos) {
            continue;
        }
        found.emplace_back(std::string(line.substr(tab + 1)), std::string(line.substr(0, tab)));
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<std::string> ids;
    ids.reserve(found.size());
    for (auto& [timestamp, id] : found) {
        ids.push_back(std::move(id));
    }
    return ids;
}

std::optional<std::string> JJClient::findApexChangeID() const {
    auto ids = findAllApexChangeIDs();
    if (ids.empty()) {
        return std::nullopt;
    }
    return std::move(ids.front());
}

void JJClient::abandonStrayApexCommits(const std::optional<std::string>& keep) const {
    for (const auto& id : findAllApexChangeIDs()) {
        if (!keep || id != *keep) {
            run({"abandon", id}, "abandonStrayApex id=" + id);
        }
    }
}

std::string JJClient::createApexCommit() const {
    run({"new", "--no-edit", "--message=" + std::string(Apex::descriptionMarker), "trunk()"},
        "createApexCommit");
    const auto ids = findAllApexChangeIDs();
    if (ids.empty()) {
        throw notFound("createApexCommit", "apex commit not found after create");
    }
    return ids.front();
}

std::string JJClient::createCompositionPoint(const std::string& workspaceName,
                                             const std::string& addingBookmark) const {
    const std::string description = std::string(compositionDescriptionPrefix) + workspaceName;
    const auto result =
        run({"new", "--message=" + description, "--", "@", bookmarkTipRevset(addingBookmark)},
            "createCompositionPoint workspace=" + workspaceName + " bookmark=" + addingBookmark);
    if (auto created = parseCreatedChangeID(result.stderr)) {
        return *created;
    }
    const auto lookup = run({"log", "--no-graph", "--ignore-working-copy", "-r",
                             "latest(" + descriptionSubstringRevset(description) + ")", "-T",
                             std::string(JJTemplateBuilder::changeIDLines)},
                            "resolveCompositionPoint workspace=" + workspaceName);
    auto id = std::string(text::trimWhitespace(lookup.stdout));
    if (id.empty()) {
        throw notFound("createCompositionPoint", "composition commit not found");
    }
    return id;
}

void JJClient::rewriteCompositionParents(const std::string& commitID,
                                         const std::vector<std::string>& expectedParentIDs,
                                         const std::vector<std::string>& parentCommitIDs) const {
    const std::set<std::string> distinct(parentCommitIDs.begin(), parentCommitIDs.end());
    if (parentCommitIDs.empty() || distinct.size() != parentCommitIDs.size()) {
        throw JJError::unsafeOperation("Composition parents must be nonempty and distinct.");
    }
    snapshotWorkingCopy("rewriteCompositionParents/snapshot");
    const auto current = log(commitIDRevset(commitID) + " & ::visible_heads()");
    if (current.size() != 1 || current.front().immutable ||
        current.front().parents != expectedParentIDs) {
        throw JJError::unsafeOperation(
            "Composition changed or is protected. Refresh before editing its attachments.");
    }
    if (current.front().parents == parentCommitIDs) {
        return;
    }
    std::vector<std::string> arguments{"rebase", "-s", commitIDRevset(commitID)};
    for (const auto& parent : parentCommitIDs) {
        arguments.emplace_back("-d");
        arguments.push_back(commitIDRevset(parent));
    }
    run(arguments, "rewriteCompositionParents commit=" + commitID);
}

bool JJClient::includeTrunkInComposition(const std::string& commitID,
                                         const std::string& trunkCommitID) const {
    const auto current =
        log(commitIDRevset(commitID) + " & ::visible_heads()", "includeTrunkInComposition/parents");
    if (current.size() != 1) {
        throw notFound("includeTrunkInComposition", "composition commit is no longer available");
    }
    const auto& parents = current.front().parents;
    if (std::find(parents.begin(), parents.end(), trunkCommitID) != parents.end()) {
        return false;
    }
    auto withTrunk = parents;
    withTrunk.push_back(trunkCommitID);
    rewriteCompositionParents(commitID, parents, withTrunk);
    return true;
}

void JJClient::rewriteApexParents(const Apex& apex, const std::vector<ApexParent>& parents) const {
    if (parents.empty()) {
        throw JJError::unsafeOperation(
            "Cannot remove the last apex parent. Choose an explicit replacement base.");
    }
    const std::string before = currentOperationID();
    std::vector<std::string> resolved;
    for (const auto& parent : parents) {
        std::optional<std::string> id = apex.pinnedCommitID(parent);
        if (!id) {
            const auto found = log("(" + parent.revsetLiteral() + ") & ::visible_heads()",
                                   "rewriteApexParents/resolve-new-edge");
            if (found.size() != 1) {
                throw JJError::unsafeOperation(
                    "New apex parent is missing or ambiguous. Select one exact commit.");
            }
            id = found.front().commitID;
        }
        if (std::find(resolved.begin(), resolved.end(), *id) == resolved.end()) {
            resolved.push_back(*id);
        }
    }
    if (currentOperationID() != before) {
        throw JJError::unsafeOperation(
            "Repository changed while resolving apex parents. Refresh and try again.");
    }
    std::vector<std::string> expected;
    for (const auto& attachment : apex.attachments) {
        expected.push_back(attachment.commitID);
    }
    rewriteCompositionParents(apex.commitID, expected, resolved);
}

std::string JJClient::createEmptyCommit(const std::string& onto,
                                        const std::string& description) const {
    const auto result = run({"new", "--no-edit", "--message=" + description, "--", onto},
                            "createEmptyCommit parent=" + onto);
    if (auto created = parseCreatedChangeID(result.stderr)) {
        return *created;
    }
    const auto lookup =
        run({"log", "--no-graph", "--ignore-working-copy", "-r",
             "latest(description(" + revsetQuoted(description) + ") & empty() & mutable())", "-T",
             std::string(JJTemplateBuilder::changeIDLines)},
            "createEmptyCommit resolve parent=" + onto);
    auto id = text::firstNonBlankLine(lookup.stdout);
    if (id.empty()) {
        throw notFound("createEmptyCommit", "empty commit not found after create");
    }
    return id;
}

void JJClient::createWorkingCopyCommit(const std::string& onto) const {
    run({"new", "--", onto}, "createWorkingCopyCommit onto=" + onto);
}

void JJClient::newWorkingCopy(const std::vector<std::string>& parents) const {
    if (parents.empty()) {
        run({"new", "trunk()"}, "newWorkingCopy parents=trunk()");
        return;
    }
    std::vector<std::string> arguments{"new", "--"};
    for (const auto& name : parents) {
        arguments.push_back(bookmarkTipRevset(name));
    }
    std::vector<std::string> names(parents.begin(), parents.end());
    run(arguments, "newWorkingCopy parents=" + text::join(names, ","));
}

}  // namespace vorda
