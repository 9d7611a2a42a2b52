#include <tuple>

#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "jjkit/client/JJVersion.h"

namespace vorda {
namespace {

TEST(JJVersion, ParsesTheLeadingNumbersAndKeepsTheRawText) {
    struct Case {
        const char* text;
        int major, minor, patch;
        const char* raw;
        bool supported;
    };
    // A patch that is not a clean integer ("1-dev", "0-abc") counts as 0.
    const Case cases[] = {{"0.39.0", 0, 39, 0, "0.39.0", true},
                          {"  jj 0.39.0\n", 0, 39, 0, "0.39.0", true},
                          {"jj 0.39.1-dev", 0, 39, 0, "0.39.1-dev", true},
                          {"0.39.0-abc", 0, 39, 0, "0.39.0-abc", true},
                          {"jj 0.46.2.7", 0, 46, 2, "0.46.2.7", true},
                          {"1.0", 1, 0, 0, "1.0", true},
                          {"0.38.9", 0, 38, 9, "0.38.9", false}};
    for (const auto& c : cases) {
        const auto version = JJVersion::parsing(c.text);
        ASSERT_TRUE(version.has_value()) << c.text;
        EXPECT_EQ((std::tuple{version->major, version->minor, version->patch}),
                  (std::tuple{c.major, c.minor, c.patch}))
            << c.text;
        EXPECT_EQ(version->description(), c.raw);
        EXPECT_EQ(version->isSupported(), c.supported) << c.text;
    }
    EXPECT_EQ(*JJVersion::parsing("0.39.0-abc"), JJVersion::minimumSupported());
    EXPECT_GT(*JJVersion::parsing("0.40.0"), *JJVersion::parsing("0.39.99"));
    EXPECT_GT(*JJVersion::parsing("0.39.2"), *JJVersion::parsing("0.39.1"));
    for (const char* text : {"jj", "", "0", "jj 1", "x.1.2", "1.y", "1..", "jj version"}) {
        EXPECT_FALSE(JJVersion::parsing(text).has_value()) << text;
    }
}

TEST(JJError, DescriptionsAreExact) {
    // A failed command and a parse error are worded where they are thrown.
    EXPECT_EQ(JJError::unsafeOperation("Refused.").errorDescription(), "Refused.");
    EXPECT_EQ(JJError(JJError::IncompatibleVersion{"0.38.9", "0.39.0"}).errorDescription(),
              "jj 0.38.9 too old, need 0.39.0+");
    EXPECT_EQ(JJError(JJError::JJNotFound{}).errorDescription(), "jj not found in PATH");
    EXPECT_STREQ(JJError(JJError::JJNotFound{}).what(), "jj not found in PATH");
}

}  // namespace
}  // namespace vorda
