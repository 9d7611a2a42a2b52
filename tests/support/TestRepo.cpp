#include "support/TestRepo.h"

#include <atomic>
#include <fstream>
#include <stdexcept>

#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/support/Text.h"

namespace vorda::testing {
namespace fs = std::filesystem;
namespace {

std::vector<std::string> jjCommand(const std::string& repository,
                                   const std::vector<std::string>& arguments) {
    std::vector<std::string> command{"jj", "--no-pager", "--color=never", "-R", repository};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

void writeInto(const fs::path& root, const std::string& relativePath, const std::string& contents) {
    const fs::path path = root / relativePath;
    fs::create_directories(path.parent_path());
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream << contents;
    if (!stream) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::string firstLine(const std::string& output) {
    return std::string(text::trimWhitespace(output.substr(0, output.find('\n'))));
}

}  // namespace

std::string runChecked(const std::vector<std::string>& arguments,
                       const std::optional<std::string>& workingDirectory) {
    const auto result = ProcessExecutor::execute(arguments, workingDirectory, "test",
                                                 arguments.empty() ? "" : arguments.front());
    if (result.exitCode != 0) {
        throw std::runtime_error("command failed (" + std::to_string(result.exitCode) +
                                 "): " + text::join(arguments, " ") + "\n" + result.stderr);
    }
    return result.stdout;
}

TestRepo::TestRepo() : root_((scratch_.path() / "repo").string()) {
    runChecked({"jj", "--no-pager", "--color=never", "git", "init", root_});
}

std::string TestRepo::jj(const std::vector<std::string>& arguments) const {
    return jjIn(root_, arguments);
}

std::string TestRepo::jjIn(const std::string& workspaceRoot,
                           const std::vector<std::string>& arguments) const {
    return runChecked(jjCommand(workspaceRoot, arguments));
}

ProcessResult TestRepo::tryJJ(const std::vector<std::string>& arguments) const {
    return ProcessExecutor::execute(jjCommand(root_, arguments), std::nullopt, "test", "jj");
}

void TestRepo::writeFile(const std::string& relativePath, const std::string& contents) const {
    writeInto(root_, relativePath, contents);
}

std::string TestRepo::commit(const std::string& message, const FileContents& files) const {
    for (const auto& [path, contents] : files) {
        writeFile(path, contents);
    }
    jj({"commit", "-m", message});
    return changeID("@-");
}

std::string TestRepo::newChange(const std::vector<std::string>& parents,
                                const std::string& message) const {
    std::vector<std::string> arguments{"new"};
    if (!message.empty()) {
        arguments.insert(arguments.end(), {"-m", message});
    }
    arguments.insert(arguments.end(), parents.begin(), parents.end());
    jj(arguments);
    return changeID("@");
}

void TestRepo::bookmark(const std::string& name, const std::string& revision) const {
    jj({"bookmark", "set", "--allow-backwards", "-r", revision, "--", name});
}

std::string TestRepo::changeID(const std::string& revset) const {
    return firstLine(jj({"log", "--no-graph", "--ignore-working-copy", "-r", revset, "-T",
                         "change_id ++ \"\\n\""}));
}

std::string TestRepo::commitID(const std::string& revset) const {
    return firstLine(jj({"log", "--no-graph", "--ignore-working-copy", "-r", revset, "-T",
                         "commit_id ++ \"\\n\""}));
}

std::string TestRepo::currentOperationID() const {
    return firstLine(
        jj({"op", "log", "--no-graph", "--ignore-working-copy", "-n", "1", "-T", "id ++ \"\\n\""}));
}

std::string TestRepo::addWorkspace(const std::string& name, const std::string& revision) const {
    std::string path = (scratch() / name).string();
    std::vector<std::string> arguments{"workspace", "add", "--name", name};
    if (!revision.empty()) {
        arguments.insert(arguments.end(), {"-r", revision});
    }
    arguments.push_back(path);
    jj(arguments);
    return path;
}

std::string TestRepo::addOrigin() {
    origin_ = (scratch() / "origin.git").string();
    runChecked({"git", "init", "--quiet", "--bare", origin_});
    jj({"git", "remote", "add", "origin", origin_});
    return origin_;
}

void TestRepo::push(const std::string& bookmarkName) const {
    // A bookmark that origin has never seen must be tracked before it is pushed.
    tryJJ({"bookmark", "track", bookmarkName + "@origin"});
    jj({"git", "push", "--bookmark", bookmarkName});
}

void TestRepo::fetch() const {
    jj({"git", "fetch"});
}

void TestRepo::advanceOrigin(const std::string& branch, const std::string& message,
                             const FileContents& files) const {
    static std::atomic<int> clones{0};
    const std::string clone = (scratch() / ("clone-" + std::to_string(++clones))).string();
    runChecked({"git", "clone", "--quiet", "--branch", branch, origin_, clone});
    for (const auto& [path, contents] : files) {
        writeInto(clone, path, contents);
    }
    runChecked({"git", "-C", clone, "add", "-A"});
    runChecked({"git", "-C", clone, "commit", "--quiet", "-m", message});
    runChecked({"git", "-C", clone, "push", "--quiet", "origin", branch});
}

std::string TestRepo::makeDivergent(const std::string& revision, const std::string& firstMessage,
                                    const std::string& secondMessage) const {
    std::string change = changeID(revision);
    const std::string before = currentOperationID();
    jj({"describe", "-r", change, "-m", firstMessage});
    // A concurrent rewrite from the earlier operation: jj merges the two
    // operations and keeps both commits, so the change becomes divergent.
    jj({"--at-operation", before, "--ignore-working-copy", "describe", "-r", change, "-m",
        secondMessage});
    return change;
}

void TestRepo::makeConflictedBookmark(const std::string& name, const std::string& base,
                                      const std::string& left, const std::string& right) const {
    bookmark(name, base);
    const std::string before = currentOperationID();
    bookmark(name, left);
    jj({"--at-operation", before, "--ignore-working-copy", "bookmark", "set", "--allow-backwards",
        "-r", right, "--", name});
    jj({"debug", "snapshot"});  // lets jj merge the two operations now
}

}  // namespace vorda::testing
