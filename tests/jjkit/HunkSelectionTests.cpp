// Hunk selection on real repositories: the helper numbers hunks as
// `jj diff --git` does, and jj, run with the prepared session, moves or
// splits exactly the chosen hunks.

#include <algorithm>
#include <array>
#include <map>
#include <memory>
#include <numeric>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "jjkit/client/JJClient.h"
#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/LineHunks.h"
#include "jjkit/diff/UnifiedDiffParser.h"
#include "jjkit/templates/RevsetQuoting.h"
#include "support/RewriteTestData.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::FileContents;
using testing::numberedLines;
using testing::TestRepo;
using Selection = DiffEditorProtocol::HunkSelection;

/// One line per letter.
std::string letterLines(std::string_view letters) {
    std::string text;
    for (const char letter : letters) {
        text += std::string(1, letter) + "\n";
    }
    return text;
}

/// A hunk's old start, old count, new start and new count.
using Ranges = std::array<std::int64_t, 4>;

/// The ranges of our hunks as jj prints them: an empty range starts at the
/// line before it.
std::vector<Ranges> rangesOf(const std::vector<LineHunk>& hunks) {
    const auto start = [](std::size_t begin, std::size_t end) {
        return static_cast<std::int64_t>(end > begin ? begin + 1 : begin);
    };
    const auto count = [](std::size_t begin, std::size_t end) {
        return static_cast<std::int64_t>(end - begin);
    };
    std::vector<Ranges> all;
    all.reserve(hunks.size());
    for (const auto& hunk : hunks) {
        all.push_back({start(hunk.leftBegin, hunk.leftEnd), count(hunk.leftBegin, hunk.leftEnd),
                       start(hunk.rightBegin, hunk.rightEnd),
                       count(hunk.rightBegin, hunk.rightEnd)});
    }
    return all;
}

/// A deterministic generator of line soups: few distinct lines, so that the
/// matcher meets repeated lines, moved lines and ambiguous anchors. Inserted,
/// removed, replaced and moved lines, blank lines, CRLF ends and missing
/// final line feeds.
std::pair<std::string, std::string> soup(std::uint32_t& state) {
    const auto next = [&](std::uint32_t bound) {
        state = state * 1664525U + 1013904223U;
        return (state >> 8U) % bound;
    };
    const auto line = [&](std::uint32_t distinct) {
        const auto word = next(8) == 0 ? distinct : next(distinct);
        return word == distinct ? std::string("\n")
                                : "w" + std::to_string(word) + (word % 5 == 1 ? "\r\n" : "\n");
    };
    const std::uint32_t distinct = 1 + next(next(2) == 0 ? 4 : 40);
    std::vector<std::string> left(next(next(3) == 0 ? 150 : 40));
    std::generate(left.begin(), left.end(), [&] { return line(distinct); });
    std::vector<std::string> right = left;
    for (std::uint32_t edit = next(7); edit > 0; --edit) {
        const auto at = right.begin() + next(static_cast<std::uint32_t>(right.size()) + 1);
        const auto kind = next(4);
        if (kind == 0) {
            right.insert(at, line(distinct * 2));
        } else if (at != right.end() && kind == 1) {
            right.erase(at);
        } else if (at != right.end() && kind == 2) {
            *at = line(distinct * 3);
        } else if (at != right.end()) {
            const auto moved = *at;
            right.erase(at);
            right.insert(right.begin() + next(static_cast<std::uint32_t>(right.size()) + 1), moved);
        }
    }
    const auto joined = [&](const std::vector<std::string>& lines) {
        std::string text = std::accumulate(lines.begin(), lines.end(), std::string());
        if (next(5) == 0 && !text.empty()) {
            text.pop_back();
        }
        return text;
    };
    std::string leftText = joined(left);
    return {leftText, joined(right)};
}

// ---------------------------------------------------------------------------
// Numbering

TEST(HunkSelectionNumbering, HunksAreNumberedAsJJDiffGitNumbersThem) {
    std::map<std::string, std::pair<std::string, std::string>> cases = {
        {"three-apart", {numberedLines(40), numberedLines(40, {5, 20, 35})}},
        {"six-between", {numberedLines(30), numberedLines(30, {5, 12})}},
        {"seven-between", {numberedLines(30), numberedLines(30, {5, 13})}},
        {"at-both-ends", {numberedLines(20), numberedLines(20, {1, 20})}},
        {"inserted-first", {numberedLines(10), "new\n" + numberedLines(10)}},
        {"appended", {numberedLines(10), numberedLines(10) + "more\nmore\n"}},
        {"emptied", {numberedLines(10), ""}},
        {"from-empty", {"", numberedLines(4)}},
        {"final-feed-added", {"a\nb\nc", "a\nb\nc\n"}},
        {"final-feed-dropped", {numberedLines(12), numberedLines(11, {2}) + "line 12"}},
        {"repeated-lines", {"x\ny\nx\ny\nx\ny\nx\n", "x\nx\ny\nx\nz\ny\nx\n"}},
        {"moved-block", {numberedLines(30), numberedLines(30, {}, 11) + numberedLines(10)}},
        {"blank-lines", {"a\n\n\nb\n\n\nc\n", "a\n\nb\n\n\n\nc\n\n"}},
        {"crlf", {"a\r\nb\r\nc\r\n", "a\r\nB\r\nc\r\n"}},
        // Several longest chains of anchors: which one wins moves the hunks.
        {"chain-tie-1", {letterLines("ddbcaacbce"), letterLines("dabdaabcbce")}},
        {"chain-tie-2", {letterLines("cbcccbcadbdbbcb"), letterLines("cbccbcabcadbbcb")}},
        {"chain-tie-3", {letterLines("bebbbeebcaedebeebad"), letterLines("cebbbeebcaedebebeb")}},
        {"chain-tie-4", {letterLines("bcbbacaca"), letterLines("cbcbbacaa")}},
    };
    std::uint32_t seed = 20240611;
    for (int index = 0; index < 80; ++index) {
        cases["soup-" + std::to_string(index)] = soup(seed);
    }

    TestRepo repo;
    FileContents before;
    for (const auto& [path, texts] : cases) {
        before[path] = texts.first;
    }
    repo.commit("before", before);
    for (const auto& [path, texts] : cases) {
        repo.writeFile(path, texts.second);
    }
    std::map<std::string, std::vector<Ranges>> theirs;
    for (const auto& file : UnifiedDiffParser::parse(repo.jj({"diff", "--git", "-r", "@"})).files) {
        for (const auto& hunk : file.hunks) {
            theirs[file.path].push_back(
                {hunk.oldStart, hunk.oldCount, hunk.newStart, hunk.newCount});
        }
    }

    for (const auto& [path, texts] : cases) {
        SCOPED_TRACE(path);
        const auto& [left, right] = texts;
        const auto ours = unifiedLineHunks(left, right);
        EXPECT_EQ(rangesOf(ours), theirs[path]);
        std::set<int> all;
        for (int ordinal = 0; ordinal < static_cast<int>(ours.size()); ++ordinal) {
            all.insert(ordinal);
        }
        EXPECT_EQ(applyLineHunks(left, right, ours, all), right);
        EXPECT_EQ(applyLineHunks(left, right, ours, {}), left);
    }
}

// ---------------------------------------------------------------------------
// Moving and splitting hunks through jj

TEST(HunkSelectionRepo, SquashAndSplitTakeExactlyTheChosenHunksOrFailWhole) {
    TestRepo repo;
    const JJClient client{repo.root()};
    // jj with the session's arguments; the session folder goes either way.
    const auto runWithSelection = [&](const std::vector<std::string>& command,
                                      const Selection& selection) {
        const auto session = DiffEditorProtocol::prepare(command, selection, VORDA_DIFF_APPLY_PATH);
        const std::shared_ptr<void> cleanup(nullptr, [&](void*) { session.cleanup(); });
        client.run(session.toolArgs, "test hunk selection");
    };
    // Every file of `revision` with its content.
    const auto tree = [&](const std::string& revision) {
        std::map<std::string, std::string> files;
        std::istringstream list(repo.jj({"file", "list", "-r", revision, "-T", "path ++ \"\\n\""}));
        for (std::string path; std::getline(list, path);) {
            files[path] = repo.jj({"file", "show", "-r", revision, rootFilesets({path}).at(0)});
        }
        return files;
    };
    const std::string story = numberedLines(40);
    const std::string storyChanged = numberedLines(40, {5, 20, 35});
    const std::string oddPath = "notes \"draft\" ä.txt";
    const std::string dos =
        "one\r\ntwo\r\nthree\r\nfour\r\nfive\r\nsix\r\nseven\r\neight\r\n"
        "nine\r\nten\r\neleven\r\ntwelve";
    const std::string dosChanged =
        "one\r\nTWO\r\nthree\r\nfour\r\nfive\r\nsix\r\nseven\r\n"
        "eight\r\nnine\r\nten\r\neleven\r\ntwelve\r\nthirteen";
    const auto base =
        repo.commit("base", {{"story.txt", story}, {"dos.txt", dos}, {oddPath, "alpha\n"}});
    repo.bookmark("feature", base);
    const auto whole = repo.commit("whole", {{"story.txt", storyChanged},
                                             {"dos.txt", dosChanged},
                                             {"added.txt", "added\n"},
                                             {oddPath, "alpha\nomega\n"}});
    const auto wholeTree = tree(whole);

    // A hunk that is not there fails the helper, hence jj: nothing is split.
    const auto operations = repo.operationCount();
    EXPECT_THAT(
        [&] {
            runWithSelection({"split", "-r", whole, "-m", "never"}, {{{"story.txt", {0, 3}}}});
        },
        ::testing::ThrowsMessage<JJError>(
            ::testing::HasSubstr("no hunk 3 in story.txt (it has 3)")));
    EXPECT_EQ(repo.operationCount(), operations);

    // The bookmark tip takes hunks 0 and 2 of the story and nothing else; the
    // commit they came from keeps its whole content.
    runWithSelection({"squash", "--from", whole, "--into", "feature"},
                     {{{"story.txt", {0, 2}}, {"dos.txt", {}}, {oddPath, {}}, {"added.txt", {}}}});
    EXPECT_EQ(
        tree("feature"),
        (std::map<std::string, std::string>{
            {"dos.txt", dos}, {oddPath, "alpha\n"}, {"story.txt", numberedLines(40, {5, 35})}}));
    EXPECT_EQ(tree(whole), wholeTree);

    // Split: the chosen hunks go into the first commit, the rest into the second.
    runWithSelection({"split", "-r", whole, "-m", "first part"},
                     {{{"story.txt", {}}, {"dos.txt", {1}}, {"added.txt", {0}}, {oddPath, {0}}}});
    const std::string first = repo.changeID("children(" + base + ")");
    const std::string second = repo.changeID("children(" + first + ")");
    EXPECT_EQ(repo.description(first), "first part");
    EXPECT_EQ(repo.description(second), "whole");
    EXPECT_EQ(tree(first), (std::map<std::string, std::string>{
                               {"added.txt", "added\n"},
                               {"dos.txt", dos.substr(0, dos.size() - 6) + "twelve\r\nthirteen"},
                               {oddPath, "alpha\nomega\n"},
                               {"story.txt", numberedLines(40, {5, 35})}}));
    EXPECT_EQ(tree(second), wholeTree);
    EXPECT_EQ(repo.changedPaths(second), (std::vector<std::string>{"dos.txt", "story.txt"}));
}

}  // namespace
}  // namespace vorda
