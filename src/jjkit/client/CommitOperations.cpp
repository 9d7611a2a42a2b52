// One-step writes on single commits and on the files in them.

#include "jjkit/client/JJClient.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

// The paths as filesets behind "--", after every option of `arguments`.
std::vector<std::string> withFilesets(std::vector<std::string> arguments,
                                      const std::vector<std::string>& paths) {
    const auto filesets = rootFilesets(paths);
    arguments.emplace_back("--");
    arguments.insert(arguments.end(), filesets.begin(), filesets.end());
    return arguments;
}

std::string count(const std::vector<std::string>& items) {
    return std::to_string(items.size());
}

}  // namespace

void JJClient::describe(const std::string& revision, const std::string& message,
                        bool ignoreImmutable) const {
    // The message goes joined to its option: a description such as "- fix
    // typo" would otherwise be read as an option.
    std::vector<std::string> arguments{"describe", "--message=" + message, "-r",
                                       resolveCommitID(revision)};
    if (ignoreImmutable) {
        arguments.emplace_back("--ignore-immutable");
    }
    run(arguments, "describe rev=" + revision);
}

void JJClient::splitByFiles(const std::string& revision, const std::vector<std::string>& paths,
                            bool ignoreImmutable) const {
    std::vector<std::string> arguments{"split", "-r", resolveCommitID(revision)};
    if (ignoreImmutable) {
        arguments.emplace_back("--ignore-immutable");
    }
    run(withFilesets(std::move(arguments), paths),
        "splitByFiles rev=" + revision + " count=" + count(paths));
}

void JJClient::moveFiles(const std::vector<std::string>& paths, const std::string& to) const {
    run(withFilesets({"squash", "--into", resolveCommitID(to)}, paths),
        "moveFiles to=" + to + " count=" + count(paths));
}

void JJClient::pullFiles(const std::vector<std::string>& paths, const std::string& from) const {
    run(withFilesets({"squash", "--from", resolveCommitID(from), "--into", "@"}, paths),
        "pullFiles from=" + from + " count=" + count(paths));
}

void JJClient::resolve(const std::vector<std::string>& paths) const {
    run(withFilesets({"resolve"}, paths), "resolve count=" + count(paths));
}

void JJClient::rebaseRevOnto(const std::string& rev, const std::string& destination) const {
    run({"rebase", "-s=" + rev, "-d=" + destination},
        "rebaseRevOnto rev=" + rev + " dst=" + destination);
}

void JJClient::rebaseRevsOnto(const std::vector<std::string>& revs,
                              const std::string& destination) const {
    if (revs.empty()) {
        return;
    }
    run({"rebase", "-r=" + text::join(revs, "|"), "-d=" + destination},
        "rebaseRevsOnto count=" + count(revs) + " dst=" + destination);
}

void JJClient::rebaseSubtreesOnto(const std::vector<std::string>& revs,
                                  const std::string& destination) const {
    if (revs.empty()) {
        return;
    }
    run({"rebase", "-s=roots(" + text::join(revs, "|") + ")", "-d=" + destination},
        "rebaseSubtreesOnto count=" + count(revs) + " dst=" + destination);
}

void JJClient::duplicate(const std::vector<std::string>& revs,
                         const std::string& destination) const {
    if (revs.empty()) {
        return;
    }
    std::vector<std::string> arguments{"duplicate", "-d=" + destination, "--"};
    arguments.insert(arguments.end(), revs.begin(), revs.end());
    run(arguments, "duplicate count=" + count(revs) + " dst=" + destination);
}

void JJClient::rebaseRevsIntoBookmark(const std::vector<std::string>& revs,
                                      const std::string& tipChangeID,
                                      const std::string& destination,
                                      const std::string& bookmark) const {
    if (revs.empty()) {
        return;
    }
    rebaseRevsOnto(revs, destination);
    moveBookmark(bookmark, resolveCommitID(tipChangeID), /*allowBackwards=*/false);
}

}  // namespace vorda
