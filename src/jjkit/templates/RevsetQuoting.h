#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jjkit/records/JJCommit.h"

namespace vorda {

/// `text` escaped for a double-quoted revset string (backslash first, then
/// double quote) and enclosed in double quotes.
std::string revsetQuoted(std::string_view text);

/// A bookmark or remote name as a command argument. jj reads these as
/// symbols: a name that is one already goes as it is, any other (blanks,
/// quotes, non-ASCII letters, "..") is quoted so that jj takes it literally.
std::string nameArgument(std::string_view name);

/// `exact:"name"`, for the arguments where jj takes a name pattern (delete,
/// forget, move, push, fetch's remotes): a bare or merely quoted name would
/// be a glob there, and "feat*" would reach "feat-a" as well.
std::string exactNamePattern(std::string_view name);

/// `bookmarks(exact:"name")`: every commit the bookmark points at, so a
/// conflicted bookmark stays visible as more than one commit.
std::string bookmarkSetRevset(std::string_view name);

/// `latest(bookmarks(exact:"name"))`.
std::string bookmarkTipRevset(std::string_view name);

/// `commit_id(ID)`: one exact commit, whatever later happens to its change.
std::string commitIDRevset(std::string_view commitID);

/// `description(substring:"text")`.
std::string descriptionSubstringRevset(std::string_view text);

/// The parents of `commits` that are not among them, as
/// `commit_id("a") | commit_id("b")` in ascending order; absent when none.
std::optional<std::string> missingParentRevset(const std::vector<JJCommit>& commits);

/// Each path as the fileset `root:"path"`, escaped as a revset string is
/// (backslash first, then double quote), so that `a\nb.txt` names that file
/// and not one with a line feed in its name.
std::vector<std::string> rootFilesets(const std::vector<std::string>& paths);

}  // namespace vorda
