#include "jjkit/diff/DiffPagePush.h"

#include <gtest/gtest.h>

namespace vorda {
namespace {

std::string render(const std::vector<DiffFileEntry>& entries) {
    std::string text;
    for (const auto& entry : entries) {
        text += entry.status + " " + entry.path + "\n";
    }
    return text;
}

TEST(DiffPageEntries, OneEntryPerHeaderWithTheStatusOfItsBlock) {
    const std::vector<std::pair<std::optional<std::string>, std::string>> cases = {
        {std::nullopt, ""},
        {"", ""},
        {"no header here\nnew file mode 100644\n", ""},
        {"diff --git a/x.txt b/x.txt\nindex 1..2\n--- a/x.txt\n+++ b/x.txt\n@@ -1 +1 @@\n-a\n+b\n"
         "diff --git a/new.txt b/new.txt\nnew file mode 100644\n"
         "diff --git a/old.txt b/old.txt\ndeleted file mode 100644\n"
         "diff --git a/from.txt b/dir/to.txt\nrename from from.txt\nrename to dir/to.txt\n",
         "M x.txt\nA new.txt\nD old.txt\nR dir/to.txt\n"},
        // The path is the header's last word: a blank in a name keeps only
        // its tail, as the header cannot say where the name begins.
        {"diff --git a/my file b/my file\n", "M file\n"},
        // A "+new file mode" line of a hunk's text starts with "+", not with
        // the marker, so it changes nothing.
        {"diff --git a/n b/n\n@@ -1 +1 @@\n+new file mode\n", "M n\n"},
    };
    for (const auto& [patch, expected] : cases) {
        EXPECT_EQ(render(pierreFileEntries(patch)), expected) << patch.value_or("(absent)");
    }
}

TEST(DiffPagePush, KeyAndScriptCarryThePatchUnchangedThroughATemplateLiteral) {
    EXPECT_FALSE(DiffPagePush::make(std::nullopt, std::nullopt).has_value());
    const auto none = DiffPagePush::make(std::string("p"), std::vector<DiffFileEntry>{});
    ASSERT_TRUE(none);
    EXPECT_EQ(none->filesJSON, "[]");
    EXPECT_EQ(none->key, std::string("[]\x01p"));

    const std::string patch = "+a `tick` ${x} c:\\dir\\\n";
    const auto push = DiffPagePush::make(patch, std::vector<DiffFileEntry>{{"a\"b.txt", "M"}});
    ASSERT_TRUE(push);
    EXPECT_EQ(push->filesJSON, R"([{"path":"a\"b.txt","status":"M"}])");
    EXPECT_EQ(push->key, push->filesJSON + '\x01' + patch);
    const std::string escaped = R"(+a \`tick\` \${x} c:\\dir\\)"
                                "\n";
    EXPECT_EQ(escapeForTemplateLiteral(patch), escaped);
    EXPECT_EQ(push->script(),
              "(function() {\n  const files = " + push->filesJSON +
                  ";\n  if (window.__vordaCombined && window.__vordaCombined.setData) {\n"
                  "    window.__vordaCombined.setData(files, `" +
                  escaped +
                  "`);\n  } else {\n    window.__vordaPendingCombinedFiles = files;\n"
                  "    window.__vordaPendingCombinedPatch = `" +
                  escaped + "`;\n  }\n})();");

    // A name that is not UTF-8 still gives a file list.
    const auto broken = DiffPagePush::make(std::nullopt, std::vector<DiffFileEntry>{{"\xff", "A"}});
    ASSERT_TRUE(broken);
    EXPECT_EQ(broken->filesJSON, "[{\"path\":\"\xef\xbf\xbd\",\"status\":\"A\"}]");
}

}  // namespace
}  // namespace vorda
