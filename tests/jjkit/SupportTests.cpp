#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "jjkit/process/SearchPath.h"
#include "jjkit/process/StderrLinePump.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/InternetDateTime.h"
#include "jjkit/support/Text.h"
#include "jjkit/support/Utf8.h"
#include "support/ScopedEnvironment.h"

namespace vorda {
namespace {

using namespace std::chrono_literals;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using testing::ScopedEnvironment;

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (true) {
        const auto end = text.find(separator, start);
        pieces.push_back(text.substr(start, end == std::string::npos ? end : end - start));
        if (end == std::string::npos) {
            return pieces;
        }
        start = end + 1;
    }
}

// ---------------------------------------------------------------------------
// UTF-8

TEST(SupportUtf8, AcceptsWellFormedTextUpToTheBoundaries) {
    const std::vector<std::string_view> valid{
        "",
        "plain ascii",
        std::string_view("nul\0inside", 10),
        "\xC2\x80",          // U+0080, smallest two-byte
        "\xC3\xA9",          // é
        "\xDF\xBF",          // U+07FF
        "\xE0\xA0\x80",      // U+0800, smallest three-byte
        "\xE2\x82\xAC",      // €
        "\xED\x9F\xBF",      // U+D7FF, just below the surrogates
        "\xEE\x80\x80",      // U+E000, just above them
        "\xEF\xBF\xBF",      // U+FFFF
        "\xF0\x90\x80\x80",  // U+10000, smallest four-byte
        "\xF0\x9F\x98\x80",  // 😀
        "\xF4\x8F\xBF\xBF",  // U+10FFFF, the last code point
        "a\xC3\xA9z\xE2\x82\xAC\xF0\x9F\x98\x80!",
    };
    for (const auto text : valid) {
        EXPECT_TRUE(utf8::isValid(text)) << ::testing::PrintToString(std::string(text));
        EXPECT_EQ(utf8::decodeOrEmpty(text), std::string(text));
    }
}

TEST(SupportUtf8, RejectsOverlongSurrogatesOutOfRangeAndTruncated) {
    const std::vector<std::string_view> invalid{
        "\xC0\xAF",              // overlong '/'
        "\xC1\xBF",              // overlong two-byte
        "\xE0\x80\xAF",          // overlong three-byte
        "\xE0\x9F\xBF",          // overlong three-byte, top edge
        "\xF0\x80\x80\xAF",      // overlong four-byte
        "\xF0\x8F\xBF\xBF",      // overlong four-byte, top edge
        "\xED\xA0\x80",          // U+D800, a surrogate
        "\xED\xBF\xBF",          // U+DFFF, a surrogate
        "\xF4\x90\x80\x80",      // U+110000
        "\xF5\x80\x80\x80",      // lead byte beyond the range
        "\xF8\x88\x80\x80\x80",  // five-byte form
        "\xFF",
        "\xFE",
        "\x80",                  // lone continuation
        "a\xBF",                 // continuation after ASCII
        "\xC3",                  // truncated two-byte
        "\xE2\x82",              // truncated three-byte
        "\xF0\x9F\x98",          // truncated four-byte
        "\xE2\x82z",             // continuation replaced by ASCII
        "\xC3\xA9\xC3",          // valid, then truncated at the end
        "\xF0\x9F\x98\x80\x80",  // stray continuation after a whole sequence
    };
    for (const auto text : invalid) {
        EXPECT_FALSE(utf8::isValid(text)) << ::testing::PrintToString(std::string(text));
        EXPECT_EQ(utf8::decodeOrEmpty(text), "");
    }
    // A sequence cut short by the end of the text is truncated even when the
    // bytes that would complete it follow in memory.
    const std::string complete = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::string_view view(complete);
    EXPECT_FALSE(utf8::isValid(view.substr(0, 1)));
    EXPECT_FALSE(utf8::isValid(view.substr(2, 2)));
    EXPECT_FALSE(utf8::isValid(view.substr(5, 3)));
    EXPECT_TRUE(utf8::isValid(view.substr(0, 5)));
    EXPECT_EQ(utf8::decodeOrEmpty(view.substr(0, 4)), "");

    // One bad byte drops the whole text, however much is fine.
    EXPECT_EQ(utf8::decodeOrEmpty("a long and perfectly readable line\xFF"), "");
}

TEST(SupportUtf8, CountsAndCutsByCodePoint) {
    const std::string mixed = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // aé€😀
    EXPECT_EQ(utf8::codePointCount(""), 0U);
    EXPECT_EQ(utf8::codePointCount("abc"), 3U);
    EXPECT_EQ(utf8::codePointCount(mixed), 4U);
    EXPECT_EQ(mixed.size(), 10U);

    EXPECT_EQ(utf8::prefixCodePoints(mixed, 0), "");
    EXPECT_EQ(utf8::prefixCodePoints(mixed, 1), "a");
    EXPECT_EQ(utf8::prefixCodePoints(mixed, 2), "a\xC3\xA9");
    EXPECT_EQ(utf8::prefixCodePoints(mixed, 3), "a\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(utf8::prefixCodePoints(mixed, 4), mixed);
    EXPECT_EQ(utf8::prefixCodePoints(mixed, 100), mixed);
    EXPECT_EQ(utf8::prefixCodePoints("", 0), "");
    EXPECT_EQ(utf8::prefixCodePoints("", 3), "");
    EXPECT_EQ(utf8::prefixCodePoints("abcdef", 3), "abc");
    // A cut never leaves half a sequence behind.
    for (std::size_t count = 0; count <= 5; ++count) {
        EXPECT_TRUE(utf8::isValid(utf8::prefixCodePoints(mixed, count))) << count;
        EXPECT_EQ(utf8::codePointCount(utf8::prefixCodePoints(mixed, count)),
                  std::min<std::size_t>(count, 4));
    }
}

// ---------------------------------------------------------------------------
// Text helpers

TEST(SupportText, TrimsBlanksOrAllWhitespace) {
    EXPECT_EQ(text::trimBlanks(" \t a  b \t "), "a  b");
    EXPECT_EQ(text::trimBlanks("none"), "none");
    EXPECT_EQ(text::trimBlanks(""), "");
    EXPECT_EQ(text::trimBlanks(" \t \t"), "");
    // Line ends are not blanks.
    EXPECT_EQ(text::trimBlanks("\n x \r"), "\n x \r");
    EXPECT_EQ(text::trimBlanks(" \nx\n "), "\nx\n");

    EXPECT_EQ(text::trimWhitespace("\r\n\t x y \v\f\n"), "x y");
    EXPECT_EQ(text::trimWhitespace(" \r\n\t\v\f"), "");
    EXPECT_EQ(text::trimWhitespace(""), "");
    EXPECT_EQ(text::trimWhitespace("a\nb"), "a\nb");
}

TEST(SupportText, SplitsDroppingEmptyPiecesAndJoins) {
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(text::splitNonEmpty("a:b:c", ':'), (Pieces{"a", "b", "c"}));
    EXPECT_EQ(text::splitNonEmpty("::a::b:", ':'), (Pieces{"a", "b"}));
    EXPECT_EQ(text::splitNonEmpty("abc", ':'), (Pieces{"abc"}));
    EXPECT_EQ(text::splitNonEmpty("", ':'), Pieces{});
    EXPECT_EQ(text::splitNonEmpty(":::", ':'), Pieces{});
    EXPECT_EQ(text::splitNonEmpty(" a , b ", ','), (Pieces{" a ", " b "}));

    EXPECT_EQ(text::join({}, ":"), "");
    EXPECT_EQ(text::join({"one"}, ", "), "one");
    EXPECT_EQ(text::join({"a", "", "b"}, "-"), "a--b");
    EXPECT_EQ(text::join({"x", "y", "z"}, ", "), "x, y, z");
    EXPECT_EQ(text::join({"x", "y"}, ""), "xy");

    EXPECT_TRUE(text::startsWith("abc", "ab"));
    EXPECT_TRUE(text::startsWith("abc", "abc"));
    EXPECT_TRUE(text::startsWith("abc", ""));
    EXPECT_TRUE(text::startsWith("", ""));
    EXPECT_FALSE(text::startsWith("ab", "abc"));
    EXPECT_FALSE(text::startsWith("abc", "b"));
    EXPECT_FALSE(text::startsWith("", "a"));
}

// ---------------------------------------------------------------------------
// Internet date and time

TEST(SupportInternetDateTime, ParsesZuluAndOffsetsToTheSameInstant) {
    const sys_seconds expected = sys_days{2026y / 11 / 21} + 8h + 30min;
    EXPECT_EQ(parseInternetDateTime("2026-11-21T09:30:00+01:00"), expected);
    EXPECT_EQ(parseInternetDateTime("2026-11-21T08:30:00Z"), expected);
    EXPECT_EQ(parseInternetDateTime("2026-11-21T08:30:00+00:00"), expected);
    EXPECT_EQ(parseInternetDateTime("2026-11-21T08:30:00-00:00"), expected);
    EXPECT_EQ(parseInternetDateTime("2026-11-21T03:00:00-05:30"), expected);
    EXPECT_EQ(parseInternetDateTime("2026-11-21T22:15:00+13:45"), expected);

    EXPECT_EQ(parseInternetDateTime("1970-01-01T00:00:00Z"), sys_seconds{0s});
    EXPECT_EQ(parseInternetDateTime("2026-11-21T09:30:59Z"),
              sys_seconds{sys_days{2026y / 11 / 21} + 9h + 30min + 59s});

    // Offsets carry across day, month and year boundaries.
    EXPECT_EQ(parseInternetDateTime("2026-12-31T23:30:00-01:00"),
              sys_seconds{sys_days{2027y / 1 / 1} + 30min});
    EXPECT_EQ(parseInternetDateTime("2026-01-01T00:15:00+01:00"),
              sys_seconds{sys_days{2025y / 12 / 31} + 23h + 15min});
    EXPECT_EQ(parseInternetDateTime("2024-02-29T12:00:00Z"),
              sys_seconds{sys_days{2024y / 2 / 29} + 12h});
}

TEST(SupportInternetDateTime, RejectsFractionsImpossibleDatesAndGarbage) {
    const std::vector<std::string_view> rejected{
        // Fractional seconds are not part of the form.
        "2026-11-21T09:30:00.5Z",
        "2026-11-21T09:30:00.123+01:00",
        // Impossible dates and times.
        "2026-02-30T10:00:00Z",
        "2026-02-29T10:00:00Z",
        "2026-04-31T10:00:00Z",
        "2026-13-01T10:00:00Z",
        "2026-00-10T10:00:00Z",
        "2026-11-00T10:00:00Z",
        "2026-11-21T24:00:00Z",
        "2026-11-21T23:60:00Z",
        "2026-11-21T23:59:61Z",
        // Zones that are missing or malformed.
        "2026-11-21T09:30:00",
        "2026-11-21T09:30:00+0100",
        "2026-11-21T09:30:00+01",
        "2026-11-21T09:30:00+01:0",
        "2026-11-21T09:30:00+24:00",
        "2026-11-21T09:30:00+01:60",
        "2026-11-21T09:30:00+a1:00",
        "2026-11-21T09:30:00*01:00",
        "2026-11-21T09:30:00Z ",
        "2026-11-21T09:30:00ZZ",
        "2026-11-21T09:30:00+01:00 ",
        // Other separators or shapes.
        "2026/11/21T09:30:00Z",
        "2026-11-21X09:30:00Z",
        "2026-11-21T09.30.00Z",
        "20261121T093000Z",
        "2026-1-21T09:30:00Z",
        "2026-1a-21T09:30:00Z",
        " 2026-11-21T09:30:00Z",
        "2026-11-21",
        "",
        "garbage",
        "not a date at all, but long enough",
    };
    for (const auto text : rejected) {
        EXPECT_FALSE(parseInternetDateTime(text).has_value()) << '"' << text << '"';
    }
}

// ---------------------------------------------------------------------------
// Search path

TEST(SupportSearchPath, EmptyInheritedPathGivesTheNineUsualFolders) {
    const std::string expected =
        "/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:/usr/local/bin:"
        "/opt/homebrew/bin:/opt/homebrew/sbin:/usr/bin:/bin:/usr/sbin:/sbin";
    EXPECT_EQ(repairedSearchPath("", "alice"), expected);
    // Nothing but separators is empty as well.
    EXPECT_EQ(repairedSearchPath(":::", "alice"), expected);
    EXPECT_EQ(split(repairedSearchPath("", "bob"), ':').front(), "/etc/profiles/per-user/bob/bin");
}

TEST(SupportSearchPath, InheritedEntriesKeepPriorityAndOrderWithoutDuplicates) {
    const std::string repaired = repairedSearchPath("/usr/bin::/custom", "alice");
    EXPECT_EQ(repaired,
              "/usr/bin:/custom:/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:"
              "/usr/local/bin:/opt/homebrew/bin:/opt/homebrew/sbin:/bin:/usr/sbin:/sbin");
    const auto parts = split(repaired, ':');
    EXPECT_EQ(std::count(parts.begin(), parts.end(), "/usr/bin"), 1);
    EXPECT_EQ(std::count(parts.begin(), parts.end(), ""), 0);

    // The inherited order stands even where it differs from the usual one.
    const auto reordered =
        split(repairedSearchPath(":/sbin:/z/tools:/usr/local/bin:/a/tools:", "carol"), ':');
    ASSERT_GE(reordered.size(), 4U);
    EXPECT_EQ((std::vector<std::string>(reordered.begin(), reordered.begin() + 4)),
              (std::vector<std::string>{"/sbin", "/z/tools", "/usr/local/bin", "/a/tools"}));
    EXPECT_EQ(reordered.size(), 4U + 7U);
    EXPECT_EQ(std::count(reordered.begin(), reordered.end(), "/sbin"), 1);
    EXPECT_EQ(std::count(reordered.begin(), reordered.end(), "/usr/local/bin"), 1);
    EXPECT_EQ(reordered.back(), "/usr/sbin");

    // Already complete: unchanged.
    const std::string complete =
        "/sbin:/usr/sbin:/bin:/usr/bin:/opt/homebrew/sbin:/opt/homebrew/bin:/usr/local/bin:"
        "/run/current-system/sw/bin:/etc/profiles/per-user/dave/bin";
    EXPECT_EQ(repairedSearchPath(complete, "dave"), complete);
}

TEST(SupportSearchPath, UserNamePrefersUserThenLognameThenTheAccount) {
    const ScopedEnvironment savedUser("USER");
    const ScopedEnvironment savedLogname("LOGNAME");

    ::setenv("USER", "alice", 1);
    ::setenv("LOGNAME", "bob", 1);
    EXPECT_EQ(currentUserName(), "alice");

    // Set but empty still wins.
    ::setenv("USER", "", 1);
    EXPECT_EQ(currentUserName(), "");

    ::unsetenv("USER");
    EXPECT_EQ(currentUserName(), "bob");
    ::setenv("LOGNAME", "", 1);
    EXPECT_EQ(currentUserName(), "");

    ::unsetenv("LOGNAME");
    std::string account;
    std::vector<char> buffer(4096);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_name != nullptr) {
        account = found->pw_name;
    }
    EXPECT_EQ(currentUserName(), account);
}

// ---------------------------------------------------------------------------
// Standard error line pump

struct PumpRun {
    std::vector<std::string> beforeFinish;
    std::vector<std::string> afterFinish;
    std::string whole;
};

PumpRun pumpChunks(const std::vector<std::string>& chunks) {
    PumpRun run;
    std::vector<std::string> lines;
    StderrLinePump pump([&](const std::string& line) { lines.push_back(line); });
    for (const auto& chunk : chunks) {
        pump.feed(chunk);
    }
    run.beforeFinish = lines;
    pump.finish();
    run.afterFinish = lines;
    run.whole = pump.whole();
    return run;
}

PumpRun pumpWhole(const std::string& bytes) {
    return pumpChunks({bytes});
}

using Lines = std::vector<std::string>;

TEST(SupportStderrLinePump, SplitsAtCarriageReturnAndLineFeedInAnyChunking) {
    const std::string input = "a\rb\r\nc";
    // Every way of cutting the input into chunks, byte by byte and whole included.
    const std::size_t cuts = input.size() - 1;
    for (unsigned mask = 0; mask < (1U << cuts); ++mask) {
        std::vector<std::string> chunks;
        std::string current;
        for (std::size_t index = 0; index < input.size(); ++index) {
            current.push_back(input[index]);
            if (index < cuts && (mask & (1U << index)) != 0) {
                chunks.push_back(current);
                current.clear();
            }
        }
        chunks.push_back(current);

        const auto run = pumpChunks(chunks);
        EXPECT_EQ(run.beforeFinish, (Lines{"a", "b"})) << "cut mask " << mask;
        EXPECT_EQ(run.afterFinish, (Lines{"a", "b", "c"})) << "cut mask " << mask;
        EXPECT_EQ(run.whole, input) << "cut mask " << mask;
    }

    // A terminated last line needs no finish, and finish adds nothing to it.
    const auto terminated = pumpWhole("one\ntwo\n");
    EXPECT_EQ(terminated.beforeFinish, (Lines{"one", "two"}));
    EXPECT_EQ(terminated.afterFinish, (Lines{"one", "two"}));

    // Empty chunks are harmless.
    const auto withEmpty = pumpChunks({"", "x", "", "\n", ""});
    EXPECT_EQ(withEmpty.afterFinish, (Lines{"x"}));
}

TEST(SupportStderrLinePump, DropsBlankLinesAndTrimsBlanksAndTabs) {
    const std::string input = "\n \n\t\t\r\n  \r\n  padded\t \n\tinner  space\t\r\n \tlast \t";
    const auto run = pumpWhole(input);
    EXPECT_EQ(run.afterFinish, (Lines{"padded", "inner  space", "last"}));
    // The whole stream keeps every byte, line ends and blanks included.
    EXPECT_EQ(run.whole, input);

    // Only blanks and tabs are trimmed; other control characters stay.
    EXPECT_EQ(pumpWhole("\fform feed\v\n").afterFinish, (Lines{"\fform feed\v"}));

    EXPECT_TRUE(pumpWhole("").afterFinish.empty());
    EXPECT_TRUE(pumpWhole("   \t ").afterFinish.empty());
    EXPECT_TRUE(pumpWhole("\r\n\r\n").afterFinish.empty());

    // Calling finish again does not repeat the last line.
    Lines lines;
    StderrLinePump pump([&](const std::string& line) { lines.push_back(line); });
    pump.feed("tail");
    pump.finish();
    pump.finish();
    EXPECT_EQ(lines, (Lines{"tail"}));
}

TEST(SupportStderrLinePump, InvalidUtf8LineIsSkippedButKeptInTheWholeStream) {
    const std::string input = "ok\n\xFF bad\n\xC0\xAF\nafter\nbroken \xE2\x82";
    const auto run = pumpWhole(input);
    EXPECT_EQ(run.afterFinish, (Lines{"ok", "after"}));
    EXPECT_EQ(run.whole, input);

    // A character split across reads is put back together, not rejected.
    const std::string accented = "caf\xC3\xA9 \xE2\x82\xAC\n";
    std::vector<std::string> bytes;
    for (const char byte : accented) {
        bytes.emplace_back(1, byte);
    }
    EXPECT_EQ(pumpChunks(bytes).afterFinish, (Lines{"caf\xC3\xA9 \xE2\x82\xAC"}));
}

// ---------------------------------------------------------------------------
// Diagnostic log

TEST(SupportDiagnosticLog, SinkReceivesWholeWritesAndCanBeRestored) {
    std::vector<std::string> outer;
    auto original =
        DiagnosticLog::setSink([&](std::string_view text) { outer.emplace_back(text); });

    std::mutex lock;
    std::vector<std::string> inner;
    auto previous = DiagnosticLog::setSink([&](std::string_view text) {
        const std::scoped_lock guard(lock);
        inner.emplace_back(text);
    });
    // setSink hands back the sink it replaced.
    ASSERT_TRUE(previous);
    previous("through previous");
    EXPECT_EQ(outer, (std::vector<std::string>{"through previous"}));

    DiagnosticLog::writeLine("a line");
    DiagnosticLog::writeRaw("raw\nblock\n");
    DiagnosticLog::writeRaw("no end");
    EXPECT_EQ(inner, (std::vector<std::string>{"a line\n", "raw\nblock\n", "no end"}));

    // Concurrent writers never split or merge one another's lines.
    inner.clear();
    constexpr int threadCount = 6;
    constexpr int linesPerThread = 200;
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread) {
        threads.emplace_back([thread] {
            for (int index = 0; index < linesPerThread; ++index) {
                DiagnosticLog::writeLine("writer " + std::to_string(thread) + " line " +
                                         std::to_string(index));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(inner.size(), static_cast<std::size_t>(threadCount * linesPerThread));
    std::vector<int> nextIndex(threadCount, 0);
    for (const auto& text : inner) {
        int thread = -1;
        int index = -1;
        char end = '\0';
        ASSERT_EQ(std::sscanf(text.c_str(), "writer %d line %d%c", &thread, &index, &end), 3)
            << text;
        EXPECT_EQ(end, '\n');
        ASSERT_GE(thread, 0);
        ASSERT_LT(thread, threadCount);
        // Each writer's own lines arrive in the order it wrote them.
        EXPECT_EQ(index, nextIndex[static_cast<std::size_t>(thread)]++);
        EXPECT_EQ(text,
                  "writer " + std::to_string(thread) + " line " + std::to_string(index) + "\n");
    }

    // Putting the first sink back routes writes there again.
    DiagnosticLog::setSink(std::move(previous));
    DiagnosticLog::writeLine("back");
    EXPECT_EQ(outer.back(), "back\n");
    DiagnosticLog::setSink(std::move(original));
}

}  // namespace
}  // namespace vorda
