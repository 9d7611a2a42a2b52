#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "jjkit/support/Overloaded.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/RepoPicture.h"
#include "support/TestRepo.h"

// Drawing pictures, and the shared reads that check outcomes with jj.
namespace vorda::testing {
namespace {

std::vector<std::string> linesOf(const std::string& output) {
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

/// "Name <email>" as jj configuration for one command.
std::vector<std::string> identity(const std::string& author) {
    if (author.empty()) {
        return {};
    }
    const auto open = author.find('<');
    if (open == std::string::npos || author.back() != '>') {
        throw std::invalid_argument("an author is written \"Name <email>\", not " + author);
    }
    const auto name = author.substr(0, author.find_last_not_of(' ', open - 1) + 1);
    const auto email = author.substr(open + 1, author.size() - open - 2);
    return {"--config", "user.name=" + name, "--config", "user.email=" + email};
}

/// The lines that template `logTemplate` prints for the revisions of `revset`.
std::vector<std::string> logLines(const TestRepo& repo, const std::string& revset,
                                  const std::string& logTemplate) {
    return linesOf(
        repo.jj({"log", "--no-graph", "--ignore-working-copy", "-r=" + revset, "-T", logTemplate}));
}

std::vector<std::string> joined(std::vector<std::string> head,
                                const std::vector<std::string>& tail) {
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

}  // namespace

std::string TestRepo::revisionOf(const std::string& revision) const {
    if (revision == "root") {
        return "root()";
    }
    const auto found = names_.find(revision);
    return found != names_.end() ? found->second : revision;
}

std::string TestRepo::nameOf(const std::string& changeID) const {
    for (const auto& [name, id] : names_) {
        if (id == changeID) {
            return name;
        }
    }
    return changeID == std::string(32, 'z') ? "root" : changeID;
}

std::string TestRepo::newCommit(const std::vector<std::string>& who, const picture::Commit& commit,
                                const std::vector<std::string>& parents) {
    const std::vector<std::string> command{"new", "--message=" + commit.description};
    if (commit.files.empty()) {
        // Not through the working copy: jj would abandon an empty commit
        // without a description as soon as the working copy left it.
        const auto result =
            tryJJ(joined(joined(who, joined(command, {"--no-edit", "--"})), parents));
        const std::string marker = "Created new commit ";
        const auto at = result.stderr.find(marker);
        if (result.exitCode != 0 || at == std::string::npos) {
            throw std::runtime_error("jj new failed: " + result.stderr);
        }
        const auto start = at + marker.size();
        return changeID(result.stderr.substr(start, result.stderr.find(' ', start) - start));
    }
    jj(joined(joined(who, joined(command, {"--"})), parents));
    for (const auto& [path, contents] : commit.files) {
        writeFile(path, contents);
    }
    // The snapshot is taken as the commit's own author.
    jj(joined(who, {"debug", "snapshot"}));
    return changeID("@");
}

const std::string& TestRepo::id(const std::string& name) const {
    const auto found = names_.find(name);
    if (found == names_.end()) {
        throw std::out_of_range("no commit named " + name + " was drawn");
    }
    return found->second;
}

void TestRepo::draw(std::string_view text) {
    std::vector<std::string> workingCopyParents;
    auto revisions = [&](const std::vector<std::string>& parents) {
        std::vector<std::string> resolved;
        resolved.reserve(parents.size());
        for (const auto& parent : parents) {
            resolved.push_back(revisionOf(parent));
        }
        return resolved;
    };
    for (const auto& item : picture::parse(text)) {
        std::visit(
            Overloaded{
                [&](const picture::Commit& commit) {
                    if (names_.contains(commit.name)) {
                        throw std::invalid_argument("commit " + commit.name + " drawn twice");
                    }
                    const auto who = identity(commit.author);
                    const auto created = newCommit(who, commit, revisions(commit.parents));
                    for (const auto& name : commit.bookmarks) {
                        jj({"bookmark", "create", "--revision=" + created, "--", name});
                    }
                    names_[commit.name] = created;
                    workingCopyParents = {names_[commit.name]};
                },
                [&](const picture::WorkingCopy& workingCopy) {
                    workingCopyParents = revisions(workingCopy.parents);
                },
                [&](const picture::Workspace& workspace) {
                    std::vector<std::string> arguments{"workspace", "add", "--name",
                                                       workspace.name};
                    for (const auto& parent : revisions(workspace.parents)) {
                        arguments.push_back("--revision=" + parent);
                    }
                    arguments.push_back((scratch() / workspace.name).string());
                    jj(arguments);
                },
                [&](const picture::Origin&) { addOrigin(); },
                [&](const picture::Push& push) {
                    for (const auto& name : push.bookmarks) {
                        this->push(name);
                    }
                },
            },
            item);
    }
    if (!workingCopyParents.empty()) {
        jj(joined({"new", "--"}, workingCopyParents));
    }
}

std::vector<std::string> TestRepo::parents(const std::string& revision) const {
    std::vector<std::string> result;
    for (const auto& changeID : logLines(*this, revisionOf(revision),
                                         R"(parents.map(|c| c.change_id() ++ "\n").join(""))")) {
        result.push_back(nameOf(changeID));
    }
    return result;
}

std::optional<std::string> TestRepo::bookmarkTarget(const std::string& name) const {
    const auto targets =
        logLines(*this, "bookmarks(" + exactNamePattern(name) + ")", R"(change_id ++ "\n")");
    if (targets.size() > 1) {
        throw std::runtime_error("bookmark " + name + " is conflicted");
    }
    if (targets.empty()) {
        return std::nullopt;
    }
    return nameOf(targets.front());
}

std::string TestRepo::description(const std::string& revision) const {
    auto text = jj({"log", "--no-graph", "--ignore-working-copy", "-r=" + revisionOf(revision),
                    "-T", "description"});
    return text.ends_with('\n') ? text.substr(0, text.size() - 1) : text;
}

std::vector<std::string> TestRepo::changedPaths(const std::string& revision) const {
    // jj prints paths relative to where it runs.
    auto paths =
        linesOf(runChecked({"jj", "--no-pager", "--color=never", "diff", "--ignore-working-copy",
                            "--name-only", "-r=" + revisionOf(revision)},
                           root()));
    std::sort(paths.begin(), paths.end());
    return paths;
}

int TestRepo::operationCount() const {
    return static_cast<int>(
        linesOf(jj({"op", "log", "--no-graph", "--ignore-working-copy", "-T", R"("op\n")"}))
            .size());
}

}  // namespace vorda::testing
