#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vorda {

/// What one path holds in a folder that jj checked a tree out into, as far as
/// a diff is concerned: nothing, a file (its bytes and executable bit) or a
/// symbolic link (its target). A folder at the path is no file of the diff;
/// it is told apart only because a file cannot simply be written over it.
struct TreeEntry {
    enum class Kind { absent, folder, file, symlink };

    Kind kind = Kind::absent;
    /// A file's bytes or a link's target; empty otherwise.
    std::string contents;
    /// Meaningful for files only.
    bool executable = false;

    static TreeEntry file(std::string bytes, bool executable = false) {
        return {Kind::file, std::move(bytes), executable};
    }
    static TreeEntry symlink(std::string target) {
        return {Kind::symlink, std::move(target), false};
    }

    /// A file or a link: something the diff shows.
    bool isPresent() const { return kind == Kind::file || kind == Kind::symlink; }

    /// A file with a NUL byte among its first 8000 bytes, the test jj (like
    /// Git) uses to show "Binary files … differ" instead of hunks.
    bool isBinary() const;

    bool operator==(const TreeEntry&) const = default;
};

/// Throws `std::invalid_argument` unless `path` is a plain relative path of a
/// tree: not empty, not absolute, no empty, "." or ".." component, no NUL.
void requireTreePath(std::string_view path);

/// The entry at `path` (checked with `requireTreePath`) under `root`. A path
/// that passes through anything but a real folder is absent, as it is in jj's
/// tree, where links are never followed. Throws `std::runtime_error` naming
/// the path when it cannot be read.
TreeEntry readTreeEntry(const std::filesystem::path& root, const std::string& path);

/// Removes the file or link at `path` under `root`; nothing there is fine.
void removeTreeEntry(const std::filesystem::path& root, const std::string& path);

/// Puts `entry` (a file or a link) at `path` under `root`: missing folders are
/// made, a file, link or empty folder tree in the way is replaced, and the
/// entry appears by a rename, whole or not at all. Files get mode 0644 or
/// 0755. Throws `std::runtime_error` naming the path on failure.
void writeTreeEntry(const std::filesystem::path& root, const std::string& path,
                    const TreeEntry& entry);

}  // namespace vorda
