#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

/// One line of a hunk, without its marker character.
struct DiffLine {
    enum class Kind { context, added, removed };

    Kind kind = Kind::context;
    std::string text;

    bool operator==(const DiffLine&) const = default;
};

/// One "@@" section of a file. A hunk's ordinal, by which hunk selection names
/// it, is its index in `DiffFile::hunks`, counted from 0.
struct DiffHunk {
    /// A fresh UUID for each parse: an identity for the user interface only,
    /// never stored and never compared across parses.
    std::string id;
    std::int64_t oldStart = 0;
    std::int64_t oldCount = 0;
    std::int64_t newStart = 0;
    std::int64_t newCount = 0;
    /// The whole "@@" line, trailing function context included.
    std::string header;
    std::vector<DiffLine> lines;

    bool operator==(const DiffHunk&) const = default;
};

/// One file of a diff.
struct DiffFile {
    /// The path in the new tree.
    std::string path;
    /// "M", "A", "D", "R" or "C".
    std::string status = "M";
    /// A "Binary files " line was seen; such files have no hunks.
    bool isBinary = false;
    /// In text order.
    std::vector<DiffHunk> hunks;

    bool operator==(const DiffFile&) const = default;
};

/// A parsed `jj diff --git` text.
struct UnifiedDiff {
    std::vector<DiffFile> files;

    bool operator==(const UnifiedDiff&) const = default;
};

/// Turns the Git-format text that `jj diff --git` prints into a `UnifiedDiff`.
///
/// Parsing never fails: a line it does not know is skipped, and a malformed
/// "@@" line loses only its own hunk, so a change in jj's output spoils the
/// display rather than the program. The work is one pass over the lines with
/// prefix tests only. Hunks end at the next marker line, never by the counts
/// in their "@@" line, so a wrong count cannot lose lines.
///
///     const UnifiedDiff diff = UnifiedDiffParser::parse(jjDiffOutput);
///     for (const DiffFile& file : diff.files) { ... }
class UnifiedDiffParser {
  public:
    static UnifiedDiff parse(std::string_view text);

  private:
    using Lines = std::vector<std::string_view>;

    struct HeaderPaths {
        std::optional<std::string> oldPath;
        std::optional<std::string> newPath;
    };

    struct LineRange {
        std::int64_t start = 0;
        std::int64_t count = 1;
    };

    struct HunkRanges {
        LineRange oldLines;
        LineRange newLines;
        std::string header;
    };

    struct FileBlock {
        std::optional<DiffFile> file;
        std::size_t consumed = 0;
    };

    struct HunkBlock {
        std::optional<DiffHunk> hunk;
        std::size_t consumed = 0;
    };

    /// The file whose "diff --git " line is at `startIndex`, and the number of
    /// lines up to the next file or the end.
    static FileBlock parseFileBlock(const Lines& lines, std::size_t startIndex);
    /// The hunk whose "@@ " line is at `startIndex`, and the number of lines
    /// it took.
    static HunkBlock parseHunk(const Lines& lines, std::size_t startIndex);
    /// The "a/" and "b/" paths of a "diff --git " line, split at the first
    /// blank; a path containing a blank does not survive.
    static HeaderPaths parseDiffGitHeader(std::string_view line);
    static std::optional<HunkRanges> parseHunkRanges(std::string_view line);
    /// "-12,3" or "+7"; a missing count is 1.
    static std::optional<LineRange> parseRangeSpec(std::string_view piece);
};

}  // namespace vorda
