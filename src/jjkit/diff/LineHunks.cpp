#include "jjkit/diff/LineHunks.h"

#include <algorithm>

#include "jjkit/diff/LineMatching.h"

namespace vorda {
namespace {

/// A run of lines that is either unchanged (as many on both sides) or
/// changed (any number on each side, at least one in all).
struct Region {
    bool unchanged = false;
    std::size_t leftCount = 0;
    std::size_t rightCount = 0;
};

/// The alternating unchanged and changed runs between the matched lines.
std::vector<Region> regionsOf(const std::vector<LinePair>& pairs, std::size_t leftSize,
                              std::size_t rightSize) {
    std::vector<Region> regions;
    std::size_t left = 0;
    std::size_t right = 0;
    std::size_t index = 0;
    while (index < pairs.size()) {
        const LinePair start = pairs[index];
        if (start.left > left || start.right > right) {
            regions.push_back({false, start.left - left, start.right - right});
        }
        std::size_t length = 1;
        while (index + length < pairs.size() && pairs[index + length].left == start.left + length &&
               pairs[index + length].right == start.right + length) {
            ++length;
        }
        regions.push_back({true, length, length});
        left = start.left + length;
        right = start.right + length;
        index += length;
    }
    if (left < leftSize || right < rightSize) {
        regions.push_back({false, leftSize - left, rightSize - right});
    }
    return regions;
}

/// Groups the runs into hunks: trailing context after a change, leading
/// context before the next one, and a new hunk only where unchanged lines are
/// left over between the two.
class HunkBuilder {
  public:
    explicit HunkBuilder(std::size_t context) : context_(context) {}

    void addUnchanged(std::size_t count, bool moreFollow) {
        std::size_t remaining = count;
        if (hasLines_) {
            const std::size_t trailing = std::min(context_, remaining);
            extend(trailing, trailing);
            remaining -= trailing;
        }
        const std::size_t leading = moreFollow ? std::min(context_, remaining) : 0;
        const std::size_t skipped = remaining - leading;
        if (skipped > 0) {
            finish();
            const std::size_t left = current_.leftEnd + skipped;
            const std::size_t right = current_.rightEnd + skipped;
            current_ = LineHunk{left, left, right, right};
        }
        extend(leading, leading);
    }

    void addChanged(std::size_t leftCount, std::size_t rightCount) {
        extend(leftCount, rightCount);
    }

    std::vector<LineHunk> take() {
        finish();
        return std::move(hunks_);
    }

  private:
    void extend(std::size_t leftCount, std::size_t rightCount) {
        current_.leftEnd += leftCount;
        current_.rightEnd += rightCount;
        hasLines_ = hasLines_ || leftCount + rightCount > 0;
    }

    void finish() {
        if (hasLines_) {
            hunks_.push_back(current_);
            hasLines_ = false;
        }
    }

    std::size_t context_;
    LineHunk current_;
    bool hasLines_ = false;
    std::vector<LineHunk> hunks_;
};

void appendLines(std::string& out, const std::vector<std::string_view>& lines, std::size_t begin,
                 std::size_t end) {
    for (std::size_t index = begin; index < end; ++index) {
        out.append(lines[index]);
    }
}

}  // namespace

std::vector<LineHunk> unifiedLineHunks(std::string_view left, std::string_view right,
                                       std::size_t context) {
    const auto leftLines = splitLinesInclusive(left);
    const auto rightLines = splitLinesInclusive(right);
    const auto regions =
        regionsOf(matchLines(leftLines, rightLines), leftLines.size(), rightLines.size());
    HunkBuilder builder(context);
    for (std::size_t index = 0; index < regions.size(); ++index) {
        const Region& region = regions[index];
        if (region.unchanged) {
            builder.addUnchanged(region.leftCount, index + 1 < regions.size());
        } else {
            builder.addChanged(region.leftCount, region.rightCount);
        }
    }
    return builder.take();
}

std::string applyLineHunks(std::string_view left, std::string_view right,
                           const std::vector<LineHunk>& hunks, const std::set<int>& keep) {
    const auto leftLines = splitLinesInclusive(left);
    const auto rightLines = splitLinesInclusive(right);
    std::string result;
    result.reserve(std::max(left.size(), right.size()));
    std::size_t cursor = 0;
    for (std::size_t ordinal = 0; ordinal < hunks.size(); ++ordinal) {
        const LineHunk& hunk = hunks[ordinal];
        appendLines(result, leftLines, cursor, hunk.leftBegin);
        if (keep.contains(static_cast<int>(ordinal))) {
            appendLines(result, rightLines, hunk.rightBegin, hunk.rightEnd);
        } else {
            appendLines(result, leftLines, hunk.leftBegin, hunk.leftEnd);
        }
        cursor = hunk.leftEnd;
    }
    appendLines(result, leftLines, cursor, leftLines.size());
    return result;
}

}  // namespace vorda
