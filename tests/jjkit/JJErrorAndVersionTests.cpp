#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "jjkit/client/JJVersion.h"

namespace vorda {
namespace {

TEST(JJVersion, ParsesWithAndWithoutPrefix) {
    const auto plain = JJVersion::parsing("0.39.0");
    const auto prefixed = JJVersion::parsing("  jj 0.39.0\n");
    ASSERT_TRUE(plain && prefixed);
    EXPECT_EQ(*plain, *prefixed);
    EXPECT_EQ(prefixed->raw, "0.39.0");

    const auto dev = JJVersion::parsing("jj 0.39.1-dev");
    ASSERT_TRUE(dev);
    EXPECT_EQ(dev->patch, 0);  // "1-dev" is not a clean integer
    EXPECT_EQ(dev->raw, "0.39.1-dev");
    EXPECT_TRUE(dev->isSupported());

    const auto hashed = JJVersion::parsing("0.39.0-abc");
    ASSERT_TRUE(hashed);
    EXPECT_EQ(hashed->raw, "0.39.0-abc");
    EXPECT_EQ(hashed->description(), "0.39.0-abc");
    EXPECT_EQ(*hashed, JJVersion::minimumSupported());

    const auto longer = JJVersion::parsing("jj 0.46.2.7");
    ASSERT_TRUE(longer);
    EXPECT_EQ(longer->patch, 2);
}

TEST(JJVersion, OrdersByNumbersAndGatesAt0_39) {
    const auto one = JJVersion::parsing("1.0");
    ASSERT_TRUE(one);
    EXPECT_EQ(one->patch, 0);
    EXPECT_TRUE(one->isSupported());
    EXPECT_FALSE(JJVersion::parsing("0.38.9")->isSupported());
    EXPECT_TRUE(*JJVersion::parsing("0.40.0") > *JJVersion::parsing("0.39.99"));
    EXPECT_TRUE(*JJVersion::parsing("0.39.2") > *JJVersion::parsing("0.39.1"));
}

TEST(JJVersion, RejectsTextWithoutTwoNumbers) {
    for (const char* text : {"jj", "", "0", "jj 1", "x.1.2", "1.y", "1..", "jj version"}) {
        EXPECT_FALSE(JJVersion::parsing(text).has_value()) << text;
    }
}

TEST(JJError, DescriptionsAreExact) {
    EXPECT_EQ(JJError::unsafeOperation("Refused.").errorDescription(), "Refused.");
    EXPECT_EQ(JJError(JJError::IncompatibleVersion{"0.38.9", "0.39.0"}).errorDescription(),
              "jj 0.38.9 too old, need 0.39.0+");
    EXPECT_EQ(
        JJError(JJError::CommandFailed{{"log", "-r", "x"}, 1, "Error: no\n"}).errorDescription(),
        "jj log -r x failed (1): Error: no\n");
    EXPECT_EQ(JJError(JJError::ParseError{"version", "cannot parse: jj"}).errorDescription(),
              "Parse error (version): cannot parse: jj");
    EXPECT_EQ(JJError(JJError::JJNotFound{}).errorDescription(), "jj not found in PATH");
    EXPECT_STREQ(JJError(JJError::JJNotFound{}).what(), "jj not found in PATH");
}

}  // namespace
}  // namespace vorda
