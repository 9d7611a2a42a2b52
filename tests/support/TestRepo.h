#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/process/ProcessResult.h"
#include "support/TempDir.h"

namespace vorda::testing {

namespace picture {
struct Commit;
}

using FileContents = std::map<std::string, std::string>;

/// Runs a command for a test and throws with its stderr when it fails.
std::string runChecked(const std::vector<std::string>& arguments,
                       const std::optional<std::string>& workingDirectory = std::nullopt);

/// A real jj repository in a temporary folder, with builders for the shapes
/// that tests need: commits with files, bookmarks, stacks, merges, conflicts,
/// divergent changes, other authors, further workspaces and a local bare Git
/// repository as `origin`. Everything goes through the real `jj` and `git`.
///
/// The repository lives at `<scratch>/repo`; workspaces, the origin and
/// clones of it live beside it in the same scratch folder, which is removed
/// with the object.
class TestRepo {
  public:
    TestRepo();

    const std::string& root() const { return root_; }
    const std::filesystem::path& scratch() const { return scratch_.path(); }

    /// `jj -R root ARGS`; returns stdout, throws on failure.
    std::string jj(const std::vector<std::string>& arguments) const;
    /// `jj -R workspaceRoot ARGS`.
    std::string jjIn(const std::string& workspaceRoot,
                     const std::vector<std::string>& arguments) const;
    /// `jj -R root ARGS` without judging the exit status.
    ProcessResult tryJJ(const std::vector<std::string>& arguments) const;

    void writeFile(const std::string& relativePath, const std::string& contents) const;

    /// Writes `files` into the working copy, gives it `message` and starts a
    /// new change on top. Returns the change ID of the finished commit.
    std::string commit(const std::string& message, const FileContents& files = {}) const;

    /// `jj new PARENTS -m MESSAGE`: the new working-copy change's ID.
    std::string newChange(const std::vector<std::string>& parents,
                          const std::string& message = "") const;

    /// Creates or moves a local bookmark.
    void bookmark(const std::string& name, const std::string& revision) const;

    /// The single change or commit ID that `revset` names.
    std::string changeID(const std::string& revset) const;
    std::string commitID(const std::string& revset) const;
    std::string currentOperationID() const;

    /// Adds a workspace in `<scratch>/<name>`, its working copy on top of
    /// `revision` (by default where jj puts it); returns its root.
    std::string addWorkspace(const std::string& name, const std::string& revision = "") const;

    /// A bare Git repository at `<scratch>/origin.git`, added as `origin`.
    std::string addOrigin();
    const std::string& originPath() const { return origin_; }

    /// Pushes a bookmark to origin (tracking it first if it is new).
    void push(const std::string& bookmarkName) const;
    void fetch() const;

    /// Commits on top of `branch` in a plain Git clone of origin and pushes
    /// it, so that origin moves ahead of what this repository last fetched.
    void advanceOrigin(const std::string& branch, const std::string& message,
                       const FileContents& files) const;

    /// Makes `revision` divergent: two visible commits with one change ID,
    /// described as `firstMessage` and `secondMessage`. Returns the change ID.
    std::string makeDivergent(const std::string& revision, const std::string& firstMessage,
                              const std::string& secondMessage) const;

    /// Makes bookmark `name` conflicted: from `base`, one operation moves it to
    /// `left` and a concurrent one to `right`.
    void makeConflictedBookmark(const std::string& name, const std::string& base,
                                const std::string& left, const std::string& right) const;

    /// Builds the lines of a picture (see RepoPicture.h) into the repository,
    /// top to bottom; names accumulate over several calls.
    void draw(std::string_view picture);
    /// The change ID of a commit named in a picture.
    const std::string& id(const std::string& name) const;

    // Reads for checking outcomes. A revision may be a picture name or any
    // revset; a commit comes back as its picture name where it has one
    // ("root" for the root commit), else as its change ID.
    std::vector<std::string> parents(const std::string& revision) const;
    /// The local bookmark's target; absent when there is no such bookmark.
    std::optional<std::string> bookmarkTarget(const std::string& name) const;
    /// The whole description without its final line break.
    std::string description(const std::string& revision) const;
    /// The paths the commit changes, sorted.
    std::vector<std::string> changedPaths(const std::string& revision) const;
    int operationCount() const;

  private:
    std::string newCommit(const std::vector<std::string>& who, const picture::Commit& commit,
                          const std::vector<std::string>& parents);
    std::string revisionOf(const std::string& revision) const;
    std::string nameOf(const std::string& changeID) const;

    std::map<std::string, std::string> names_;  // picture name -> change ID
    TempDir scratch_;
    std::string root_;
    std::string origin_;
};

}  // namespace vorda::testing
