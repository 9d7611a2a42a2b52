#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <initializer_list>
#include <map>
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
using Lines = std::vector<std::string>;

std::string printable(std::string_view text) {
    return ::testing::PrintToString(std::string(text));
}

TEST(SupportUtf8, AcceptsWellFormedTextUpToTheBoundariesAndCountsAndCutsByCodePoint) {
    // Cut from the middle of a text, a sequence ends where the view ends,
    // even when the bytes that would complete it follow in memory.
    const std::string_view complete = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    // Around the smallest and largest two-, three- and four-byte forms, either
    // side of the surrogates, and the last code point U+10FFFF.
    for (const auto text : std::initializer_list<std::string_view>{
             "", "plain ascii", "\xC2\x80", "\xC3\xA9", "\xDF\xBF", "\xE0\xA0\x80", "\xE2\x82\xAC",
             "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF0\x9F\x98\x80",
             "\xF4\x8F\xBF\xBF", "a\xC3\xA9z\xE2\x82\xAC\xF0\x9F\x98\x80!", complete.substr(0, 5),
             std::string_view("nul\0in", 6)}) {
        EXPECT_TRUE(utf8::isValid(text)) << printable(text);
        EXPECT_EQ(utf8::decodeOrEmpty(text), std::string(text));
    }
    const auto rejects = [](std::initializer_list<std::string_view> texts) {
        for (const auto text : texts) {
            EXPECT_FALSE(utf8::isValid(text)) << printable(text);
            EXPECT_EQ(utf8::decodeOrEmpty(text), "") << printable(text);
        }
    };
    // Overlong forms (two-, three- and four-byte, low and top edges), the
    // surrogates U+D800 and U+DFFF, U+110000 and lead bytes beyond the range.
    rejects({"\xC0\xAF", "\xC1\xBF", "\xE0\x80\xAF", "\xE0\x9F\xBF", "\xF0\x80\x80\xAF",
             "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80",
             "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80"});
    // Lone or stray continuations, and sequences cut short.
    rejects({"\xFF", "\xFE", "\x80", "a\xBF", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xE2\x82z",
             "\xC3\xA9\xC3", "\xF0\x9F\x98\x80\x80", "a long and perfectly readable line\xFF"});
    rejects({complete.substr(0, 1), complete.substr(2, 2), complete.substr(5, 3),
             complete.substr(0, 4)});

    // Counting and cutting go by code point; a cut ends on a whole character.
    const std::string mixed = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // aé€😀
    EXPECT_EQ(std::tuple(utf8::codePointCount(""), utf8::codePointCount("abc"),
                         utf8::prefixCodePoints("", 3), utf8::prefixCodePoints("abcdef", 3)),
              std::tuple(0U, 3U, "", "abc"));
    const std::vector<std::size_t> cutBytes{0, 1, 3, 6, 10, 10};
    for (std::size_t count = 0; count < cutBytes.size(); ++count) {
        EXPECT_EQ(utf8::prefixCodePoints(mixed, count), mixed.substr(0, cutBytes[count])) << count;
        EXPECT_EQ(utf8::codePointCount(mixed.substr(0, cutBytes[count])),
                  std::min<std::size_t>(count, 4));
    }
    EXPECT_EQ(utf8::prefixCodePoints(mixed, 100), mixed);
}

TEST(SupportText, TrimsSplitsJoinsAndComparesPrefixes) {
    using Pieces = std::vector<std::string_view>;
    // Line ends are not blanks.
    EXPECT_EQ((Pieces{text::trimBlanks(" \t a  b \t "), text::trimBlanks(" \t \t"),
                      text::trimBlanks("\n x \r"), text::trimBlanks(" \nx\n "),
                      text::trimWhitespace("\r\n\t x y \v\f\n"),
                      text::trimWhitespace(" \r\n\t\v\f"), text::trimWhitespace("a\nb")}),
              (Pieces{"a  b", "", "\n x \r", "\nx\n", "x y", "", "a\nb"}));
    EXPECT_EQ((std::vector{text::splitNonEmpty("::a::b:", ':'), text::splitNonEmpty("abc", ':'),
                           text::splitNonEmpty(":::", ':'), text::splitNonEmpty(" a , b ", ',')}),
              (std::vector<Pieces>{{"a", "b"}, {"abc"}, {}, {" a ", " b "}}));
    EXPECT_EQ((std::vector{text::join({}, ":"), text::join({"one"}, ", "),
                           text::join({"a", "", "b"}, "-"), text::join({"x", "y", "z"}, ", ")}),
              (std::vector<std::string>{"", "one", "a--b", "x, y, z"}));

    EXPECT_TRUE(text::startsWith("abc", "ab") && text::startsWith("abc", "abc") &&
                text::startsWith("", ""));
    EXPECT_FALSE(text::startsWith("ab", "abc") || text::startsWith("abc", "b"));
}

TEST(SupportInternetDateTime, ParsesZuluAndOffsetsAndRejectsEverythingElse) {
    const sys_seconds instant = sys_days{2026y / 11 / 21} + 8h + 30min;
    for (const char* text :
         {"2026-11-21T09:30:00+01:00", "2026-11-21T08:30:00Z", "2026-11-21T08:30:00+00:00",
          "2026-11-21T08:30:00-00:00", "2026-11-21T03:00:00-05:30", "2026-11-21T22:15:00+13:45"}) {
        EXPECT_EQ(parseInternetDateTime(text), instant) << text;
    }
    EXPECT_EQ(parseInternetDateTime("1970-01-01T00:00:00Z"), sys_seconds{0s});
    EXPECT_EQ(parseInternetDateTime("2026-11-21T09:30:59Z"), instant + 1h + 59s);
    // Offsets carry across day, month and year boundaries.
    EXPECT_EQ(parseInternetDateTime("2026-12-31T23:30:00-01:00"),
              sys_seconds{sys_days{2027y / 1 / 1} + 30min});
    EXPECT_EQ(parseInternetDateTime("2026-01-01T00:15:00+01:00"),
              sys_seconds{sys_days{2025y / 12 / 31} + 23h + 15min});
    EXPECT_EQ(parseInternetDateTime("2024-02-29T12:00:00Z"),
              sys_seconds{sys_days{2024y / 2 / 29} + 12h});
    // Fractional seconds, and impossible dates and times.
    for (const std::string_view text :
         {"2026-11-21T09:30:00.5Z", "2026-11-21T09:30:00.123+01:00", "2026-02-30T10:00:00Z",
          "2026-02-29T10:00:00Z", "2026-04-31T10:00:00Z", "2026-13-01T10:00:00Z",
          "2026-00-10T10:00:00Z", "2026-11-00T10:00:00Z", "2026-11-21T24:00:00Z",
          "2026-11-21T23:60:00Z", "2026-11-21T23:59:61Z",
          // Zones that are missing or malformed.
          "2026-11-21T09:30:00", "2026-11-21T09:30:00+0100", "2026-11-21T09:30:00+01",
          "2026-11-21T09:30:00+01:0", "2026-11-21T09:30:00+24:00", "2026-11-21T09:30:00+01:60",
          "2026-11-21T09:30:00+a1:00", "2026-11-21T09:30:00*01:00", "2026-11-21T09:30:00Z ",
          "2026-11-21T09:30:00ZZ", "2026-11-21T09:30:00+01:00 ",
          // Other separators or shapes.
          "2026/11/21T09:30:00Z", "2026-11-21X09:30:00Z", "2026-11-21T09.30.00Z",
          "20261121T093000Z", "2026-1-21T09:30:00Z", "2026-1a-21T09:30:00Z",
          " 2026-11-21T09:30:00Z", "2026-11-21", "", "garbage",
          "not a date at all, but long enough"}) {
        EXPECT_FALSE(parseInternetDateTime(text).has_value()) << '"' << text << '"';
    }
}

TEST(SupportSearchPath, InheritedEntriesKeepPriorityTheUsualFoldersFollowOnceForTheUser) {
    const std::string usual =
        "/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:/usr/local/bin:"
        "/opt/homebrew/bin:/opt/homebrew/sbin:/usr/bin:/bin:/usr/sbin:/sbin";
    const std::vector<std::pair<std::string, std::string>> cases{
        // Empty, or nothing but separators: the nine usual folders.
        {"", usual},
        {":::", usual},
        {"/usr/bin::/custom",
         "/usr/bin:/custom:/etc/profiles/per-user/alice/bin:/run/current-system/sw/bin:"
         "/usr/local/bin:/opt/homebrew/bin:/opt/homebrew/sbin:/bin:/usr/sbin:/sbin"},
        // The inherited order stands even where it differs from the usual one.
        {":/sbin:/z/tools:/usr/local/bin:/a/tools:",
         "/sbin:/z/tools:/usr/local/bin:/a/tools:/etc/profiles/per-user/alice/bin:"
         "/run/current-system/sw/bin:/opt/homebrew/bin:/opt/homebrew/sbin:/usr/bin:/bin:"
         "/usr/sbin"}};
    for (const auto& [inherited, repaired] : cases) {
        EXPECT_EQ(repairedSearchPath(inherited, "alice"), repaired) << inherited;
    }
    EXPECT_TRUE(repairedSearchPath("", "bob").starts_with("/etc/profiles/per-user/bob/bin:"));

    // The user name: USER, then LOGNAME, then the account.
    const ScopedEnvironment user("USER");
    const ScopedEnvironment logname("LOGNAME");
    user.set("alice");
    logname.set("bob");
    EXPECT_EQ(currentUserName(), "alice");
    // Set but empty still wins.
    user.set("");
    EXPECT_EQ(currentUserName(), "");
    ::unsetenv("USER");
    EXPECT_EQ(currentUserName(), "bob");
    logname.set("");
    EXPECT_EQ(currentUserName(), "");

    ::unsetenv("LOGNAME");
    std::vector<char> buffer(4096);
    passwd entry{};
    passwd* found = nullptr;
    ASSERT_EQ(getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found), 0);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(currentUserName(), found->pw_name);
}

struct PumpRun {
    Lines beforeFinish;
    Lines afterFinish;
    std::string whole;
};

PumpRun pump(const std::vector<std::string>& chunks) {
    PumpRun run;
    StderrLinePump subject([&](const std::string& line) { run.afterFinish.push_back(line); });
    for (const auto& chunk : chunks) {
        subject.feed(chunk);
    }
    run.beforeFinish = run.afterFinish;
    subject.finish();
    subject.finish();  // a second finish repeats nothing
    run.whole = subject.whole();
    return run;
}

TEST(SupportStderrLinePump, SplitsAtLineEndsInAnyChunkingAndDropsBlankAndInvalidLines) {
    const std::string input = "a\rb\r\nc";
    // Every way of cutting the input into chunks, byte by byte and whole included.
    const std::size_t cuts = input.size() - 1;
    for (unsigned mask = 0; mask < (1U << cuts); ++mask) {
        std::vector<std::string> chunks(1);
        for (std::size_t index = 0; index < input.size(); ++index) {
            chunks.back().push_back(input[index]);
            if (index < cuts && (mask & (1U << index)) != 0) {
                chunks.emplace_back();
            }
        }
        const auto run = pump(chunks);
        EXPECT_EQ(run.beforeFinish, (Lines{"a", "b"})) << "cut mask " << mask;
        EXPECT_EQ(run.afterFinish, (Lines{"a", "b", "c"})) << "cut mask " << mask;
        EXPECT_EQ(run.whole, input) << "cut mask " << mask;
    }
    // A terminated last line needs no finish; empty chunks are harmless.
    EXPECT_EQ(pump({"one\ntwo\n"}).beforeFinish, (Lines{"one", "two"}));
    EXPECT_EQ(pump({"", "x", "", "\n", ""}).afterFinish, (Lines{"x"}));

    // Blank and invalid lines are dropped, blanks trimmed, the whole stream kept.
    const std::string noisy =
        "\n \n\t\t\r\n  \r\n  padded\t \n\tinner  space\t\r\n\xFF bad\n\xC0\xAF\n \tlast \t";
    const auto run = pump({noisy});
    EXPECT_EQ(run.afterFinish, (Lines{"padded", "inner  space", "last"}));
    EXPECT_EQ(run.whole, noisy);
    // Only blanks and tabs are trimmed; other control characters stay.
    EXPECT_EQ(pump({"\fform feed\v\n"}).afterFinish, (Lines{"\fform feed\v"}));
    EXPECT_TRUE(pump({"   \t ", "\r\n\r\n", "broken \xE2\x82"}).afterFinish.empty());

    // A character split across reads is put back together, not rejected.
    const std::string accented = "caf\xC3\xA9 \xE2\x82\xAC\n";
    std::vector<std::string> bytes;
    for (const char byte : accented) {
        bytes.emplace_back(1, byte);
    }
    EXPECT_EQ(pump(bytes).afterFinish, (Lines{"caf\xC3\xA9 \xE2\x82\xAC"}));
}

TEST(SupportDiagnosticLog, SinkReceivesWholeWritesAndCanBeRestored) {
    Lines outer;
    auto original =
        DiagnosticLog::setSink([&](std::string_view text) { outer.emplace_back(text); });
    std::mutex lock;
    Lines inner;
    auto previous = DiagnosticLog::setSink([&](std::string_view text) {
        const std::scoped_lock guard(lock);
        inner.emplace_back(text);
    });
    // setSink hands back the sink it replaced.
    ASSERT_TRUE(previous);
    previous("through previous");
    EXPECT_EQ(outer, (Lines{"through previous"}));

    DiagnosticLog::writeLine("a line");
    DiagnosticLog::writeRaw("raw\nblock\n");
    DiagnosticLog::writeRaw("no end");
    EXPECT_EQ(inner, (Lines{"a line\n", "raw\nblock\n", "no end"}));

    // Concurrent writers never split or merge one another's lines, and each
    // writer's own lines arrive in the order it wrote them.
    inner.clear();
    constexpr int threadCount = 6;
    constexpr int linesPerThread = 200;
    {
        std::vector<std::jthread> threads;
        threads.reserve(threadCount);
        for (int thread = 0; thread < threadCount; ++thread) {
            threads.emplace_back([thread] {
                for (int index = 0; index < linesPerThread; ++index) {
                    DiagnosticLog::writeLine("writer " + std::to_string(thread) + " line " +
                                             std::to_string(index));
                }
            });
        }
    }
    std::map<std::string, int> written;
    for (const auto& text : inner) {
        const auto writer = text.substr(0, text.find(" line"));
        EXPECT_EQ(text, writer + " line " + std::to_string(written[writer]++) + "\n");
    }
    EXPECT_EQ(inner.size(), static_cast<std::size_t>(threadCount * linesPerThread));
    EXPECT_EQ(written.size(), static_cast<std::size_t>(threadCount));

    // Putting the first sink back routes writes there again.
    DiagnosticLog::setSink(std::move(previous));
    DiagnosticLog::writeLine("back");
    EXPECT_EQ(outer.back(), "back\n");
    DiagnosticLog::setSink(std::move(original));
}

}  // namespace
}  // namespace vorda
