#include "jjkit/links/CommitLinkEngine.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "jjkit/links/CommitLinkResolver.h"
#include "jjkit/links/SafeURL.h"

namespace vorda {
namespace {

CommitLinkRule rule(const std::string& name, const std::string& pattern, const std::string& web,
                    const std::string& app = "") {
    auto made = CommitLinkRule::make(name, pattern, web);
    made.appTemplate = app;
    return made;
}

std::string render(const std::vector<CommitLinkMatch>& links) {
    std::string text;
    for (const auto& link : links) {
        text += std::to_string(link.location) + "+" + std::to_string(link.length) + " " +
                link.reference + " " + link.webURL + (link.appURL ? " " + *link.appURL : "") + "\n";
    }
    return text;
}

TEST(CommitLinkRules, InvalidRulesAreDroppedWithTheirReasonAndNeverBlockTheOthers) {
    auto elsewhere = rule("Elsewhere", "X-\\d+", "https://x.test/");
    elsewhere.repositoryPath = "/other";
    auto off = rule("Off", "(", "https://x.test/");
    off.enabled = false;
    const CommitLinkEngine engine(
        {rule("Long", std::string(2049, 'a'), "https://x.test/"),
         rule("Broken", "(?<n>a", "https://x.test/${n}"),
         rule("Unknown", "(?<n>a)", "https://x.test/${m}"),
         rule("Lookalike", "\\(?<n>a", "https://x.test/${n}"), rule("NoWeb", "(?<n>a)", ""),
         rule("Script", "(?<n>a)", "javascript://x.test/${n}"),
         rule("User", "(?<n>a)", "https://me:pw@x.test/${n}"),
         rule("App", "(?<n>a)", "https://x.test/${n}", "slack://x.test/${n}"), elsewhere, off,
         CommitLinkRule::github()},
        "/repo");
    const std::string address =
        ": Use an https/http web URL or a linear:// app URI with named ${capture} variables";
    EXPECT_EQ(engine.errors(), (std::vector<std::string>{
                                   "Long: Pattern exceeds 2,048 characters",
                                   "Broken: U_REGEX_MISMATCHED_PAREN",
                                   "Unknown: Unknown capture: m",
                                   "Lookalike: Unknown capture: n",
                                   "NoWeb: A browser destination is required",
                                   "Script" + address,
                                   "User" + address,
                                   "App" + address,
                               }));
    ASSERT_EQ(engine.rules().size(), 1U);
    EXPECT_EQ(engine.rules()[0].captureNames, (std::vector<std::string>{"org", "repo", "number"}));
}

TEST(CommitLinkRules, CapturesFillTheTemplatesPercentEncoded) {
    const CommitLinkEngine engine(
        {CommitLinkRule::github(), CommitLinkRule::linear("acme", " ARC , w.b,, "),
         rule("Path", "@(?<path>[a-z/]+)(?<tail>!)?", "https://docs.test/${path}?t=${tail}")},
        "/repo");
    ASSERT_TRUE(engine.errors().empty()) << engine.errors().front();
    EXPECT_EQ(
        render(engine.matches("Fixes org/repo#128, ARC-3407, w.b-2, wxb-3 and @a/b!")),
        "6+12 org/repo#128 https://github.com/org/repo/issues/128\n"
        "20+8 ARC-3407 https://linear.app/acme/issue/ARC-3407 "
        "linear://linear.app/acme/issue/ARC-3407\n"
        "30+5 w.b-2 https://linear.app/acme/issue/w.b-2 linear://linear.app/acme/issue/w.b-2\n"
        "47+5 @a/b! https://docs.test/a%2Fb?t=%21\n");
    // A capture that took no part expands to nothing.
    EXPECT_EQ(render(engine.matches("@x")), "0+2 @x https://docs.test/x?t=\n");
    // Positions count UTF-16 units: "é" is one, "😀" two.
    EXPECT_EQ(engine.matches("é😀 org/repo#5").front().location, 4U);
}

TEST(CommitLinkRules, AddressesMarkdownLinksAndEarlierRulesKeepTheirText) {
    const CommitLinkEngine engine(
        {CommitLinkRule::github(), rule("Hash", "#(?<n>\\d+)", "https://h.test/${n}")}, "/repo");
    EXPECT_EQ(
        render(engine.matches("see https://github.com/org/repo#12 and [org/repo#3](http://x)")),
        "");
    // The second rule would match "#7" inside the first rule's reference.
    EXPECT_EQ(render(engine.matches("org/repo#7 #8")),
              "0+10 org/repo#7 https://github.com/org/repo/issues/7\n11+2 #8 https://h.test/8\n");
}

TEST(CommitLinkRules, AtMostAHundredLinksFromTheFirst16384Characters) {
    const CommitLinkEngine engine({rule("Hash", "#(?<n>\\d+)", "https://h.test/${n}")}, "/repo");
    std::string many;
    for (int number = 1; number <= 101; ++number) {
        many += "#" + std::to_string(number) + " ";
    }
    const auto links = engine.matches(many);
    ASSERT_EQ(links.size(), 100U);
    EXPECT_EQ(links.back().reference, "#100");
    EXPECT_EQ(engine.matches(std::string(16383, ' ') + "#1").size(), 0U);
    EXPECT_EQ(render(engine.matches(std::string(16382, ' ') + "#12")),
              "16382+2 #1 https://h.test/1\n");
}

TEST(CommitLinkRules, APatternThatBacktracksWithoutEndIsStoppedAndReported) {
    const CommitLinkEngine engine(
        {rule("Slow", "(?<n>(a+)+$)", "https://s.test/${n}"), CommitLinkRule::github()}, "/repo");
    std::vector<std::string> failures;
    const auto links = engine.matches(std::string(40, 'a') + "b org/repo#1", &failures);
    EXPECT_EQ(failures, std::vector<std::string>{"Slow: Matching took too long and was stopped"});
    EXPECT_EQ(render(links), "42+10 org/repo#1 https://github.com/org/repo/issues/1\n");
}

TEST(CommitLinkRules, SafeAddressesAndStoredRules) {
    for (const auto* good : {"https://x.test/a?b#c", "HTTP://x.test:8080", "https://[::1]/"}) {
        EXPECT_TRUE(safeURL(good, false)) << good;
    }
    for (const auto* bad : {"https:///x", "ftp://x.test", "https://u@x.test", "https://x.test/a b",
                            "https:x.test", "linear://x.test", "https://x.test:8o"}) {
        EXPECT_FALSE(safeURL(bad, false)) << bad;
    }
    EXPECT_TRUE(safeURL("linear://linear.app/x", true));

    auto stored = CommitLinkRule::linear("acme", "ARC");
    stored.repositoryPath = "/repo";
    EXPECT_EQ(toJSON(stored).dump().substr(0, 7), R"({"id":")");
    EXPECT_EQ(commitLinkRuleFromJSON(nlohmann::json::parse(toJSON(stored).dump())), stored);
    const auto damaged =
        commitLinkRuleFromJSON(nlohmann::json::parse(R"({"name": 3, "enabled": "no"})"));
    EXPECT_FALSE(damaged.id.empty());
    EXPECT_EQ(damaged.name, "");
    EXPECT_TRUE(damaged.enabled);
}

TEST(CommitLinkResolver, KeepsAnswersUntilTheRulesOrRepositoryChangeAndAt512EmptiesWhole) {
    const auto github = CommitLinkRule::github();
    const std::string rules = encodeCommitLinkRules({github});
    EXPECT_EQ(decodeCommitLinkRules(rules), std::vector{github});
    for (const auto* unreadable : {"", "{", "{\"a\":1}", "[1, \"x\"]"}) {
        EXPECT_TRUE(decodeCommitLinkRules(unreadable).empty()) << unreadable;
    }
    CommitLinkResolver resolver;
    EXPECT_EQ(resolver.matches("org/repo#1", rules, "/repo").size(), 1U);
    for (int number = 2; number <= 512; ++number) {
        resolver.matches("org/repo#" + std::to_string(number), rules, "/repo");
    }
    EXPECT_EQ(resolver.cachedCount(), 512U);
    EXPECT_EQ(resolver.matches("org/repo#1", rules, "/repo").front().reference, "org/repo#1");
    EXPECT_EQ(resolver.cachedCount(), 512U);
    resolver.matches("org/repo#513", rules, "/repo");
    EXPECT_EQ(resolver.cachedCount(), 1U);
    // Other rules: the engine is rebuilt and nothing old is answered.
    EXPECT_TRUE(resolver.matches("org/repo#513", "[]", "/repo").empty());
    EXPECT_EQ(resolver.cachedCount(), 1U);
    EXPECT_EQ(resolver.matches("org/repo#513", rules, "/other").size(), 1U);
}

}  // namespace
}  // namespace vorda
