#include "jjkit/diff/UnifiedDiffParser.h"

#include <charconv>

#include "jjkit/support/Text.h"
#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

constexpr std::string_view fileHeaderPrefix = "diff --git ";
constexpr std::string_view hunkHeaderPrefix = "@@ ";

using text::startsWith;

/// Every line of `text`, split on the line feed; empty lines are kept, so a
/// text ending in a line feed ends in an empty line.
std::vector<std::string_view> splitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (true) {
        const auto end = text.find('\n', start);
        if (end == std::string_view::npos) {
            lines.push_back(text.substr(start));
            return lines;
        }
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}

bool isBoundary(std::string_view line) {
    return startsWith(line, fileHeaderPrefix) || startsWith(line, hunkHeaderPrefix);
}

std::optional<std::int64_t> parseDecimal(std::string_view digits) {
    std::int64_t value = 0;
    const auto* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

/// The text after `prefix`, which the caller has tested for.
std::string afterPrefix(std::string_view line, std::string_view prefix) {
    return std::string(line.substr(prefix.size()));
}

}  // namespace

UnifiedDiff UnifiedDiffParser::parse(std::string_view text) {
    const Lines lines = splitLines(text);
    UnifiedDiff diff;
    std::size_t index = 0;
    while (index < lines.size()) {
        if (!startsWith(lines[index], fileHeaderPrefix)) {
            ++index;
            continue;
        }
        auto block = parseFileBlock(lines, index);
        if (block.file) {
            diff.files.push_back(std::move(*block.file));
        }
        index += block.consumed;
    }
    return diff;
}

UnifiedDiffParser::FileBlock UnifiedDiffParser::parseFileBlock(const Lines& lines,
                                                               std::size_t startIndex) {
    const auto header = parseDiffGitHeader(lines[startIndex]);
    DiffFile file;
    file.path = header.newPath.value_or(header.oldPath.value_or(""));

    // The extended header lines, up to the first hunk or the next file.
    std::size_t index = startIndex + 1;
    for (; index < lines.size() && !isBoundary(lines[index]); ++index) {
        const std::string_view line = lines[index];
        if (startsWith(line, "new file mode ")) {
            file.status = "A";
        } else if (startsWith(line, "deleted file mode ")) {
            file.status = "D";
        } else if (startsWith(line, "rename from ")) {
            file.status = "R";
        } else if (startsWith(line, "rename to ")) {
            file.path = afterPrefix(line, "rename to ");
        } else if (startsWith(line, "copy from ")) {
            file.status = "C";
        } else if (startsWith(line, "copy to ")) {
            file.path = afterPrefix(line, "copy to ");
        } else if (startsWith(line, "Binary files ")) {
            file.isBinary = true;
        } else if (startsWith(line, "--- ")) {
            // Without a mode line, /dev/null on one side still tells an added
            // or deleted file; a rename or copy keeps its status.
            if (line == "--- /dev/null" && file.status == "M") {
                file.status = "A";
            }
        } else if (startsWith(line, "+++ ")) {
            if (line == "+++ /dev/null" && file.status == "M") {
                file.status = "D";
            }
        }
    }

    while (index < lines.size() && !startsWith(lines[index], fileHeaderPrefix)) {
        if (!startsWith(lines[index], hunkHeaderPrefix)) {
            ++index;
            continue;
        }
        auto block = parseHunk(lines, index);
        if (block.hunk) {
            file.hunks.push_back(std::move(*block.hunk));
        }
        index += block.consumed;
    }

    FileBlock result;
    result.consumed = index - startIndex;
    if (file.path.empty()) {
        file.path = header.oldPath.value_or("");
    }
    if (!file.path.empty()) {
        result.file = std::move(file);
    }
    return result;
}

UnifiedDiffParser::HunkBlock UnifiedDiffParser::parseHunk(const Lines& lines,
                                                          std::size_t startIndex) {
    auto ranges = parseHunkRanges(lines[startIndex]);
    if (!ranges) {
        return {std::nullopt, 1};
    }
    DiffHunk hunk;
    hunk.id = makeUuid();
    hunk.oldStart = ranges->oldLines.start;
    hunk.oldCount = ranges->oldLines.count;
    hunk.newStart = ranges->newLines.start;
    hunk.newCount = ranges->newLines.count;
    hunk.header = std::move(ranges->header);

    std::size_t index = startIndex + 1;
    for (; index < lines.size(); ++index) {
        const std::string_view line = lines[index];
        if (isBoundary(line)) {
            break;
        }
        if (line.empty()) {
            // The split leaves an empty last line behind a final line feed;
            // anywhere else an empty line is context whose blank was lost.
            if (index + 1 == lines.size()) {
                break;
            }
            hunk.lines.push_back({DiffLine::Kind::context, ""});
            continue;
        }
        const auto body = std::string(line.substr(1));
        switch (line.front()) {
            case '+':
                hunk.lines.push_back({DiffLine::Kind::added, body});
                continue;
            case '-':
                hunk.lines.push_back({DiffLine::Kind::removed, body});
                continue;
            case ' ':
                hunk.lines.push_back({DiffLine::Kind::context, body});
                continue;
            case '\\':
                // "\ No newline at end of file": a remark, not content.
                continue;
            default:
                break;
        }
        break;
    }
    return {std::move(hunk), index - startIndex};
}

UnifiedDiffParser::HeaderPaths UnifiedDiffParser::parseDiffGitHeader(std::string_view line) {
    HeaderPaths paths;
    if (!startsWith(line, fileHeaderPrefix)) {
        return paths;
    }
    const std::string_view rest = line.substr(fileHeaderPrefix.size());

    // One split at the first blank after the first piece: leading blanks
    // make no piece, and the second piece is everything after that blank.
    const auto firstStart = rest.find_first_not_of(' ');
    if (firstStart == std::string_view::npos) {
        return paths;
    }
    const auto firstEnd = rest.find(' ', firstStart);
    if (firstEnd == std::string_view::npos || firstEnd + 1 == rest.size()) {
        return paths;
    }
    const std::string_view oldPiece = rest.substr(firstStart, firstEnd - firstStart);
    const std::string_view newPiece = rest.substr(firstEnd + 1);

    if (startsWith(oldPiece, "a/")) {
        paths.oldPath = std::string(oldPiece.substr(2));
    }
    if (startsWith(newPiece, "b/")) {
        paths.newPath = std::string(newPiece.substr(2));
    }
    return paths;
}

std::optional<UnifiedDiffParser::HunkRanges> UnifiedDiffParser::parseHunkRanges(
    std::string_view line) {
    if (!startsWith(line, hunkHeaderPrefix)) {
        return std::nullopt;
    }
    const std::string_view rest = line.substr(hunkHeaderPrefix.size());
    const auto close = rest.find(" @@");
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    const auto pieces = text::splitNonEmpty(rest.substr(0, close), ' ');
    if (pieces.size() != 2) {
        return std::nullopt;
    }
    const auto oldLines = parseRangeSpec(pieces[0]);
    const auto newLines = parseRangeSpec(pieces[1]);
    if (!oldLines || !newLines) {
        return std::nullopt;
    }
    return HunkRanges{*oldLines, *newLines, std::string(line)};
}

std::optional<UnifiedDiffParser::LineRange> UnifiedDiffParser::parseRangeSpec(
    std::string_view piece) {
    if (piece.empty() || (piece.front() != '-' && piece.front() != '+')) {
        return std::nullopt;
    }
    const auto parts = text::splitNonEmpty(piece.substr(1), ',');
    if (parts.empty()) {
        return std::nullopt;
    }
    LineRange range;
    const auto start = parseDecimal(parts[0]);
    if (!start) {
        return std::nullopt;
    }
    range.start = *start;
    if (parts.size() > 1) {
        // A count that is present but not a number makes the line malformed,
        // like a bad start: the hunk is dropped rather than given a guess.
        const auto count = parseDecimal(parts[1]);
        if (!count) {
            return std::nullopt;
        }
        range.count = *count;
    }
    return range;
}

}  // namespace vorda
