#include "jjkit/templates/RevsetQuoting.h"

#include <gtest/gtest.h>

namespace vorda {
namespace {

JJCommit commitWith(const std::string& id, std::vector<std::string> parents) {
    JJCommit commit;
    commit.commitID = id;
    commit.parents = std::move(parents);
    return commit;
}

TEST(RevsetQuoting, EscapesBackslashesThenQuotes) {
    EXPECT_EQ(revsetQuoted(R"(a"b\c)"), R"("a\"b\\c")");
    EXPECT_EQ(bookmarkSetRevset(R"(a"b\c)"), R"(bookmarks(exact:"a\"b\\c"))");
    EXPECT_EQ(bookmarkTipRevset("feat/ä x"), R"(latest(bookmarks(exact:"feat/ä x")))");
    EXPECT_EQ(descriptionSubstringRevset("wip: \"x\""), R"(description(substring:"wip: \"x\""))");
    EXPECT_EQ(revsetQuoted(""), R"("")");
}

TEST(RevsetQuoting, FilesetsAndNamePatternsEscapeAsRevsetsDo) {
    EXPECT_EQ(rootFilesets({R"(a"b\c)", "plain", "dir/ä b", R"(end\)"}),
              (std::vector<std::string>{R"(root:"a\"b\\c")", R"(root:"plain")", R"(root:"dir/ä b")",
                                        R"(root:"end\\")"}));
    EXPECT_TRUE(rootFilesets({}).empty());
    EXPECT_EQ(exactNamePattern(R"(feat*\"x)"), R"(exact:"feat*\\\"x")");
}

TEST(RevsetQuoting, MissingParentsAreSortedAndDeduplicated) {
    EXPECT_FALSE(missingParentRevset({}).has_value());
    EXPECT_FALSE(missingParentRevset({commitWith("a", {"b"}), commitWith("b", {})}).has_value());
    EXPECT_EQ(missingParentRevset({commitWith("a", {"z", "b"}), commitWith("b", {"m"}),
                                   commitWith("c", {"m", "z"})}),
              std::optional<std::string>(R"(commit_id("m") | commit_id("z"))"));
}

}  // namespace
}  // namespace vorda
