#include "jjkit/update/ReleaseFeed.h"

#include <gtest/gtest.h>

#include "jjkit/support/Overloaded.h"

namespace vorda {
namespace {

TEST(SemanticVersions, OrderByPrecedenceAndRefuseWhatIsNotAVersion) {
    const std::vector<std::string> ascending = {"1.0.0-alpha", "1.0.0-alpha.1", "1.0.0-alpha.beta",
                                                "1.0.0-beta",  "1.0.0-beta.2",  "1.0.0-beta.11",
                                                "1.0.0-rc.1",  "1.0.0",         "v1.0.1",
                                                "1.2",         "1.10.0",        "2.0.0"};
    for (std::size_t index = 0; index + 1 < ascending.size(); ++index) {
        const auto lower = SemanticVersion::parse(ascending[index]);
        const auto higher = SemanticVersion::parse(ascending[index + 1]);
        ASSERT_TRUE(lower && higher) << ascending[index] << " " << ascending[index + 1];
        EXPECT_LT(*lower, *higher) << ascending[index] << " < " << ascending[index + 1];
    }
    EXPECT_EQ(SemanticVersion::parse("1.2.0+build.7"), SemanticVersion::parse("V1.2"));
    EXPECT_EQ(SemanticVersion::parse("1.2.3-rc.1+x")->text(), "1.2.3-rc.1");
    for (const auto* bad : {"", "1", "1.2.3.4", "01.2.3", "1.2.3-01", "1.2.3-", "1.2.3-a..b",
                            "1.2.3+", "x.y.z", "1.2.99999999999"}) {
        EXPECT_FALSE(SemanticVersion::parse(bad)) << bad;
    }
}

std::string outcome(const std::string& feed, const std::string& current, bool prereleases) {
    return std::visit(
        Overloaded{
            [](const UpdateCheckResult::UpToDate&) { return std::string("up to date"); },
            [](const UpdateCheckResult::Available& a) {
                return a.release.version.text() + " " + a.release.url + " " + a.release.notes;
            },
            [](const UpdateCheckResult::Failed& f) { return "failed: " + f.message; },
        },
        checkForUpdate(feed, current, prereleases).value);
}

TEST(ReleaseFeed, TheNewestFittingReleaseOrWhyThereIsNone) {
    const std::string feed = R"({"releases": [
        {"version": "1.4.0", "notes": "Faster board", "url": "https://vorda.test/1.4.0"},
        {"version": "1.5.0-beta.1", "notes": "Try it", "url": "https://vorda.test/1.5b1"},
        {"version": "1.6.0", "notes": "Unsafe", "url": "javascript://x.test/"},
        {"version": "one", "url": "https://vorda.test/x"}, 7]})";
    EXPECT_EQ(outcome(feed, "1.3.2", false), "1.4.0 https://vorda.test/1.4.0 Faster board");
    EXPECT_EQ(outcome(feed, "1.3.2", true), "1.5.0-beta.1 https://vorda.test/1.5b1 Try it");
    EXPECT_EQ(outcome(feed, "1.5.0-alpha", false), "1.5.0-beta.1 https://vorda.test/1.5b1 Try it");
    EXPECT_EQ(outcome(feed, "1.4.0", false), "up to date");
    EXPECT_EQ(outcome(feed, "2.0.0", true), "up to date");
    EXPECT_EQ(outcome("<rss>", "1.0.0", false), "failed: The update feed is not valid JSON.");
    EXPECT_EQ(outcome(R"({"items": []})", "1.0.0", false),
              "failed: The update feed lists no releases.");
    EXPECT_EQ(outcome(feed, "dev", false),
              "failed: This build's version, \"dev\", is not a version the feed can be compared "
              "with.");
}

}  // namespace
}  // namespace vorda
