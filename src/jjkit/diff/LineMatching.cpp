#include "jjkit/diff/LineMatching.h"

#include <algorithm>
#include <limits>
#include <map>
#include <unordered_map>

namespace vorda {
namespace {

/// Past this many occurrences on the left, a line is too common to anchor
/// anything; jj keeps at most one more position per line to tell.
constexpr std::size_t maxOccurrences = 100;

constexpr std::size_t noPrevious = std::numeric_limits<std::size_t>::max();

/// A half-open range of line indices on one side.
struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;

    bool empty() const { return begin == end; }
    std::size_t size() const { return end - begin; }
};

using Positions = std::vector<std::size_t>;
using Histogram = std::unordered_map<int, Positions>;

/// Lines stand for themselves by a small number each, equal lines by equal
/// numbers, so that comparing and hashing never touch the text again.
struct InternedSides {
    std::vector<int> left;
    std::vector<int> right;
};

InternedSides intern(const std::vector<std::string_view>& left,
                     const std::vector<std::string_view>& right) {
    std::unordered_map<std::string_view, int> numbers;
    const auto numberOf = [&numbers](std::string_view line) {
        return numbers.emplace(line, static_cast<int>(numbers.size())).first->second;
    };
    InternedSides sides;
    sides.left.reserve(left.size());
    sides.right.reserve(right.size());
    for (const auto line : left) {
        sides.left.push_back(numberOf(line));
    }
    for (const auto line : right) {
        sides.right.push_back(numberOf(line));
    }
    return sides;
}

Histogram histogramOf(const std::vector<int>& lines, Span span) {
    Histogram histogram;
    for (std::size_t index = span.begin; index < span.end; ++index) {
        auto& positions = histogram[lines[index]];
        // One position past the limit is kept, so that "too many" is visible.
        if (positions.size() <= maxOccurrences) {
            positions.push_back(index);
        }
    }
    return histogram;
}

/// A candidate anchor: one occurrence on each side, with the rank of its left
/// position among all candidates.
struct Anchor {
    std::size_t left = 0;
    std::size_t right = 0;
    std::size_t leftRank = 0;
};

/// The longest chain of `leftRanks` (indexed by right order) that increases,
/// as indices into `leftRanks`, in order. Each element looks back for the
/// nearest longer chain it can extend and stops at the first one that beats
/// the longest so far; a sequence without any increasing pair yields its first
/// element alone. Both rules decide between equally long chains, so they are
/// kept exactly.
std::vector<std::size_t> longestIncreasingChain(const std::vector<std::size_t>& leftRanks) {
    if (leftRanks.empty()) {
        return {};
    }
    struct Link {
        std::size_t length = 0;
        std::size_t leftRank = 0;
        std::size_t previous = noPrevious;
    };
    std::vector<Link> chain(leftRanks.size());
    std::size_t globalLongest = 0;
    std::size_t globalLongestEnd = 0;
    for (std::size_t rightIndex = 0; rightIndex < leftRanks.size(); ++rightIndex) {
        const std::size_t leftRank = leftRanks[rightIndex];
        std::size_t longestHere = 1;
        std::size_t previous = noPrevious;
        for (std::size_t earlier = rightIndex; earlier-- > 0;) {
            const Link& link = chain[earlier];
            if (link.leftRank >= leftRank) {
                continue;
            }
            const std::size_t length = link.length + 1;
            if (length > longestHere) {
                longestHere = length;
                previous = earlier;
                if (length > globalLongest) {
                    globalLongest = length;
                    globalLongestEnd = rightIndex;
                    break;
                }
            }
        }
        chain[rightIndex] = Link{longestHere, leftRank, previous};
    }
    std::vector<std::size_t> result;
    for (std::size_t index = globalLongestEnd; index != noPrevious; index = chain[index].previous) {
        result.push_back(index);
    }
    std::reverse(result.begin(), result.end());
    return result;
}

class Matcher {
  public:
    explicit Matcher(InternedSides sides) : sides_(std::move(sides)) {}

    std::vector<LinePair> run() {
        collect(Span{0, sides_.left.size()}, Span{0, sides_.right.size()});
        return std::move(found_);
    }

  private:
    void collect(Span left, Span right) {
        if (left.empty() || right.empty()) {
            return;
        }
        const std::size_t before = found_.size();
        collectByHistogram(left, right);
        if (found_.size() != before) {
            return;
        }
        collectCommonEnds(left, right);
    }

    /// The lines both ranges start with, then those they end with.
    void collectCommonEnds(Span left, Span right) {
        const auto& l = sides_.left;
        const auto& r = sides_.right;
        std::size_t leading = 0;
        while (leading < left.size() && leading < right.size() &&
               l[left.begin + leading] == r[right.begin + leading]) {
            ++leading;
        }
        std::size_t trailing = 0;
        while (leading + trailing < left.size() && leading + trailing < right.size() &&
               l[left.end - 1 - trailing] == r[right.end - 1 - trailing]) {
            ++trailing;
        }
        for (std::size_t offset = 0; offset < leading; ++offset) {
            found_.push_back({left.begin + offset, right.begin + offset});
        }
        for (std::size_t offset = trailing; offset > 0; --offset) {
            found_.push_back({left.end - offset, right.end - offset});
        }
    }

    /// The candidate anchors of the rarest left lines that occur equally
    /// often on the right; empty when there are none.
    std::vector<Anchor> rarestSharedAnchors(Span left, Span right) const {
        const Histogram leftHistogram = histogramOf(sides_.left, left);
        std::map<std::size_t, std::vector<const Positions*>> byCount;
        for (const auto& [line, positions] : leftHistogram) {
            byCount[positions.size()].push_back(&positions);
        }
        if (byCount.begin()->first > maxOccurrences) {
            return {};
        }
        const Histogram rightHistogram = histogramOf(sides_.right, right);
        std::vector<Anchor> anchors;
        for (const auto& [count, entries] : byCount) {
            for (const Positions* leftPositions : entries) {
                const auto found = rightHistogram.find(sides_.left[leftPositions->front()]);
                if (found == rightHistogram.end() || found->second.size() != count) {
                    continue;
                }
                for (std::size_t index = 0; index < count; ++index) {
                    anchors.push_back({(*leftPositions)[index], found->second[index], 0});
                }
            }
            if (!anchors.empty()) {
                break;
            }
        }
        return anchors;
    }

    void collectByHistogram(Span left, Span right) {
        std::vector<Anchor> anchors = rarestSharedAnchors(left, right);
        if (anchors.empty()) {
            return;
        }
        std::sort(anchors.begin(), anchors.end(),
                  [](const Anchor& a, const Anchor& b) { return a.left < b.left; });
        for (std::size_t rank = 0; rank < anchors.size(); ++rank) {
            anchors[rank].leftRank = rank;
        }
        std::sort(anchors.begin(), anchors.end(),
                  [](const Anchor& a, const Anchor& b) { return a.right < b.right; });
        std::vector<std::size_t> leftRanks;
        leftRanks.reserve(anchors.size());
        for (const Anchor& anchor : anchors) {
            leftRanks.push_back(anchor.leftRank);
        }

        std::size_t leftStart = left.begin;
        std::size_t rightStart = right.begin;
        for (const std::size_t index : longestIncreasingChain(leftRanks)) {
            const Anchor& anchor = anchors[index];
            collect(Span{leftStart, anchor.left}, Span{rightStart, anchor.right});
            found_.push_back({anchor.left, anchor.right});
            leftStart = anchor.left + 1;
            rightStart = anchor.right + 1;
        }
        collect(Span{leftStart, left.end}, Span{rightStart, right.end});
    }

    InternedSides sides_;
    std::vector<LinePair> found_;
};

}  // namespace

std::vector<std::string_view> splitLinesInclusive(std::string_view text) {
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        const auto feed = text.find('\n', start);
        const std::size_t end = feed == std::string_view::npos ? text.size() : feed + 1;
        lines.push_back(text.substr(start, end - start));
        start = end;
    }
    return lines;
}

std::vector<LinePair> matchLines(const std::vector<std::string_view>& left,
                                 const std::vector<std::string_view>& right) {
    return Matcher(intern(left, right)).run();
}

}  // namespace vorda
