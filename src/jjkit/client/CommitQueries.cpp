// Reads of single commits, their files and history loaded on demand. All of
// them leave the working copy alone.

#include "jjkit/client/JJClient.h"
#include "jjkit/records/JsonReader.h"
#include "jjkit/records/RecordCoding.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/JJTemplateBuilder.h"

namespace vorda {
namespace {

bool isDivergenceFailure(const JJError& error) {
    const auto* failure = error.as<JJError::CommandFailed>();
    return failure != nullptr && failure->stderr.find("is divergent") != std::string::npos;
}

}  // namespace

std::string JJClient::resolveCommitID(const std::string& rev) const {
    std::string resolved;
    try {
        resolved =
            text::firstNonBlankLine(run({"log", "--no-graph", "--ignore-working-copy", "-r=" + rev,
                                         "-T", std::string(JJTemplateBuilder::commitIDLines)},
                                        "resolveCommitID rev=" + rev)
                                        .stdout);
    } catch (const JJError& error) {
        if (!isDivergenceFailure(error)) {
            throw;
        }
    }
    if (!resolved.empty()) {
        return resolved;
    }
    // A divergent change names several commits: its newest one stands.
    const auto newest = run({"log", "--no-graph", "--ignore-working-copy",
                             "-r=latest(change_id(" + rev + "))", "-T", "commit_id"},
                            "resolveCommitID/divergent rev=" + rev);
    return std::string(text::trimWhitespace(newest.stdout));
}

bool JJClient::isRevMutable(const std::string& rev) const {
    const auto result =
        run({"log", "--no-graph", "--ignore-working-copy", "-r=mutable() & (" + rev + ")", "-T",
             std::string(JJTemplateBuilder::changeIDLines)},
            "isRevMutable rev=" + rev);
    return !text::trimWhitespace(result.stdout).empty();
}

std::int64_t JJClient::ancestorCount(const std::string& tip) const {
    const auto result =
        run({"log", "--ignore-working-copy", "--count", "-r=ancestors(" + tip + ") ~ " + tip},
            "ancestorCount tip=" + tip);
    return text::parseCount(result.stdout);
}

std::set<std::string> JJClient::bookmarkNames(const std::string& matchingRevset) const {
    const auto result = run({"bookmark", "list", "--ignore-working-copy", "-r=" + matchingRevset,
                             "-T", std::string(JJTemplateBuilder::nameLines)},
                            "bookmarkNames revset=" + matchingRevset);
    std::set<std::string> names;
    for (const auto line : text::splitNonEmpty(result.stdout, '\n')) {
        names.emplace(line);
    }
    return names;
}

std::vector<std::string> JJClient::conflictedFiles() const {
    // jj answers "no conflicts" with exit status 2: an empty list, not an error.
    const auto result =
        run({"resolve", "--list", "--ignore-working-copy"}, "conflictedFiles", true, {0, 2});
    std::vector<std::string> lines;
    if (result.exitCode != 0) {
        return lines;
    }
    for (const auto line : text::splitNonEmpty(result.stdout, '\n')) {
        const auto trimmed = text::trimBlanks(line);
        if (!trimmed.empty()) {
            lines.emplace_back(trimmed);
        }
    }
    return lines;
}

std::string JJClient::diff(const std::string& changeID) const {
    return run({"diff", "--git", "--ignore-working-copy", "-r=" + changeID}, "diff rev=" + changeID)
        .stdout;
}

std::string JJClient::combinedDiff() const {
    return run({"diff", "--git", "--ignore-working-copy", "-r", "trunk()..@"}, "combinedDiff")
        .stdout;
}

std::vector<ChangedFile> JJClient::changedFiles(const std::string& changeID) const {
    const auto result =
        run({"log", "--no-graph", "--ignore-working-copy", "-T",
             std::string(JJTemplateBuilder::changedFilesTemplate), "-r=" + changeID},
            "changedFiles rev=" + changeID);
    const auto trimmed = text::trimWhitespace(result.stdout);
    if (trimmed.empty()) {
        return {};
    }
    try {
        const auto json = JsonReader::parse(trimmed);
        return decodeList<ChangedFile>(JsonReader(json));
    } catch (const DecodingError& error) {
        throw JJError(JJError::ParseError{"changedFiles", error.description()});
    }
}

std::vector<JJCommit> JJClient::loadAncestors(const std::string& tip, int limit, int skip) const {
    // Depths, not counts: the page is a band of the graph.
    const std::string revset = "ancestors(" + tip + ", " + std::to_string(skip + limit + 1) +
                               ") ~ ancestors(" + tip + ", " + std::to_string(skip + 1) + ")";
    return log(revset, "loadAncestors tip=" + tip + " limit=" + std::to_string(limit) +
                           " skip=" + std::to_string(skip));
}

std::vector<JJCommit> JJClient::loadBranchHistory(const std::string& tip,
                                                  const std::vector<std::string>& excluding) const {
    const std::string forkPoint = "latest(heads(::trunk() & ::" + tip + "))";
    std::string revset = "(((::" + tip + ") ~ ::trunk()) | " + forkPoint + ") ~ " + tip;
    if (!excluding.empty()) {
        revset += " ~ (" + text::join(excluding, "|") + ")";
    }
    return log(revset, "loadBranchHistory tip=" + tip);
}

}  // namespace vorda
