#include "jjkit/diff/UnifiedDiffParser.h"

#include <set>

#include <gtest/gtest.h>

#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

using Kind = DiffLine::Kind;

// What `jj diff --git` printed for a working copy that adds a file, changes a
// binary file, deletes a file, edits a file with an empty context line,
// renames a file without changing it, and edits a file lacking its final
// line feed.
const char* const realDiff =
    "diff --git a/added.txt b/added.txt\n"
    "new file mode 100644\n"
    "index 0000000000..9d8f9d4a37\n"
    "--- /dev/null\n"
    "+++ b/added.txt\n"
    "@@ -0,0 +1,2 @@\n"
    "+fresh\n"
    "+file\n"
    "diff --git a/blob.bin b/blob.bin\n"
    "index 8352675d67..41ef245bf5 100644\n"
    "Binary files a/blob.bin and b/blob.bin differ\n"
    "diff --git a/gone.txt b/gone.txt\n"
    "deleted file mode 100644\n"
    "index 286c5f5776..0000000000\n"
    "--- a/gone.txt\n"
    "+++ /dev/null\n"
    "@@ -1,1 +0,0 @@\n"
    "-gone\n"
    "diff --git a/keep.txt b/keep.txt\n"
    "index b96f8f10be..401d209390 100644\n"
    "--- a/keep.txt\n"
    "+++ b/keep.txt\n"
    "@@ -1,5 +1,6 @@\n"
    " alpha\n"
    "-beta\n"
    "+BETA\n"
    " gamma\n"
    " \n"
    " delta\n"
    "+epsilon\n"
    "diff --git a/old_name.txt b/new_name.txt\n"
    "rename from old_name.txt\n"
    "rename to new_name.txt\n"
    "diff --git a/tail.txt b/tail.txt\n"
    "index 20cbb4d892..0ba6e663fd 100644\n"
    "--- a/tail.txt\n"
    "+++ b/tail.txt\n"
    "@@ -1,1 +1,1 @@\n"
    "-no newline\n"
    "\\ No newline at end of file\n"
    "+no newline changed\n"
    "\\ No newline at end of file\n";

std::vector<DiffLine> linesOf(const std::string& text) {
    const auto diff = UnifiedDiffParser::parse(text);
    if (diff.files.size() != 1 || diff.files[0].hunks.size() != 1) {
        ADD_FAILURE() << "expected one file with one hunk in:\n" << text;
        return {};
    }
    return diff.files[0].hunks[0].lines;
}

/// The hunks of a one-file diff whose "@@" lines are given.
std::vector<DiffHunk> hunksFor(const std::string& hunkText) {
    const auto diff = UnifiedDiffParser::parse("diff --git a/f b/f\n--- a/f\n+++ b/f\n" + hunkText);
    if (diff.files.size() != 1) {
        ADD_FAILURE() << "expected one file";
        return {};
    }
    return diff.files[0].hunks;
}

TEST(UnifiedDiffParser, ReadsEveryFileOfARealJJDiff) {
    const auto diff = UnifiedDiffParser::parse(realDiff);
    ASSERT_EQ(diff.files.size(), 6U);

    const auto& added = diff.files[0];
    EXPECT_EQ(added.path, "added.txt");
    EXPECT_EQ(added.status, "A");
    EXPECT_FALSE(added.isBinary);
    ASSERT_EQ(added.hunks.size(), 1U);
    EXPECT_EQ(added.hunks[0].oldStart, 0);
    EXPECT_EQ(added.hunks[0].oldCount, 0);
    EXPECT_EQ(added.hunks[0].newStart, 1);
    EXPECT_EQ(added.hunks[0].newCount, 2);
    EXPECT_EQ(added.hunks[0].lines,
              (std::vector<DiffLine>{{Kind::added, "fresh"}, {Kind::added, "file"}}));

    const auto& binary = diff.files[1];
    EXPECT_EQ(binary.path, "blob.bin");
    EXPECT_EQ(binary.status, "M");
    EXPECT_TRUE(binary.isBinary);
    EXPECT_TRUE(binary.hunks.empty());

    const auto& deleted = diff.files[2];
    EXPECT_EQ(deleted.path, "gone.txt");
    EXPECT_EQ(deleted.status, "D");
    ASSERT_EQ(deleted.hunks.size(), 1U);
    EXPECT_EQ(deleted.hunks[0].lines, (std::vector<DiffLine>{{Kind::removed, "gone"}}));

    const auto& modified = diff.files[3];
    EXPECT_EQ(modified.path, "keep.txt");
    EXPECT_EQ(modified.status, "M");
    ASSERT_EQ(modified.hunks.size(), 1U);
    EXPECT_EQ(modified.hunks[0].header, "@@ -1,5 +1,6 @@");
    EXPECT_EQ(modified.hunks[0].lines, (std::vector<DiffLine>{{Kind::context, "alpha"},
                                                              {Kind::removed, "beta"},
                                                              {Kind::added, "BETA"},
                                                              {Kind::context, "gamma"},
                                                              {Kind::context, ""},
                                                              {Kind::context, "delta"},
                                                              {Kind::added, "epsilon"}}));

    const auto& renamed = diff.files[4];
    EXPECT_EQ(renamed.path, "new_name.txt");
    EXPECT_EQ(renamed.status, "R");
    EXPECT_TRUE(renamed.hunks.empty());

    // The "\ No newline" remarks are not content, and the final line feed of
    // the text leaves no extra context line behind.
    const auto& noNewline = diff.files[5];
    EXPECT_EQ(noNewline.path, "tail.txt");
    ASSERT_EQ(noNewline.hunks.size(), 1U);
    EXPECT_EQ(noNewline.hunks[0].lines,
              (std::vector<DiffLine>{{Kind::removed, "no newline"},
                                     {Kind::added, "no newline changed"}}));
}

TEST(UnifiedDiffParser, HunkIdsAreFreshUuidsAndOrdinalsFollowTextOrder) {
    const std::string twoHunks =
        "@@ -1,6 +1,6 @@\n 1\n 2\n-3\n+three\n 4\n"
        "@@ -24,7 +24,7 @@\n 26\n-27\n+twenty-seven\n 28\n";
    const auto first = hunksFor(twoHunks);
    const auto second = hunksFor(twoHunks);
    ASSERT_EQ(first.size(), 2U);
    ASSERT_EQ(second.size(), 2U);
    EXPECT_EQ(first[0].oldStart, 1);
    EXPECT_EQ(first[1].oldStart, 24);
    EXPECT_EQ(first[1].lines.size(), 4U);

    std::set<std::string> ids;
    for (const auto* hunks : {&first, &second}) {
        for (const auto& hunk : *hunks) {
            EXPECT_TRUE(isValidUuid(hunk.id)) << hunk.id;
            ids.insert(hunk.id);
        }
    }
    EXPECT_EQ(ids.size(), 4U) << "every hunk of every parse has its own id";
}

TEST(UnifiedDiffParser, ReadsHunkRanges) {
    const auto single = hunksFor("@@ -1 +1 @@\n-a\n+b\n");
    ASSERT_EQ(single.size(), 1U);
    EXPECT_EQ(single[0].oldStart, 1);
    EXPECT_EQ(single[0].oldCount, 1);
    EXPECT_EQ(single[0].newStart, 1);
    EXPECT_EQ(single[0].newCount, 1);

    const auto withContext = hunksFor("@@ -0,0 +1,3 @@ class X\n+a\n+b\n+c\n");
    ASSERT_EQ(withContext.size(), 1U);
    EXPECT_EQ(withContext[0].oldStart, 0);
    EXPECT_EQ(withContext[0].oldCount, 0);
    EXPECT_EQ(withContext[0].newStart, 1);
    EXPECT_EQ(withContext[0].newCount, 3);
    EXPECT_EQ(withContext[0].header, "@@ -0,0 +1,3 @@ class X");

    const auto extraBlanks = hunksFor("@@  -12,4   +15,5  @@\n x\n");
    ASSERT_EQ(extraBlanks.size(), 1U);
    EXPECT_EQ(extraBlanks[0].oldStart, 12);
    EXPECT_EQ(extraBlanks[0].newCount, 5);
}

TEST(UnifiedDiffParser, AMalformedHunkLineLosesOnlyThatHunk) {
    for (const std::string bad : {"@@ -a +1 @@", "@@ -1 +1@@", "@@ -1 @@", "@@ -1 +1 +1 @@",
                                  "@@ 1 +1 @@", "@@ -1,x +1 @@", "@@ - +1 @@"}) {
        const auto hunks = hunksFor(bad + "\n+lost\n@@ -5,1 +5,1 @@\n-old\n+new\n");
        ASSERT_EQ(hunks.size(), 1U) << bad;
        EXPECT_EQ(hunks[0].oldStart, 5) << bad;
        EXPECT_EQ(hunks[0].lines,
                  (std::vector<DiffLine>{{Kind::removed, "old"}, {Kind::added, "new"}}))
            << bad;
    }
}

TEST(UnifiedDiffParser, HunkLinesEndAtMarkersNotAtTheHeaderCounts) {
    // The header claims one line; all three are kept.
    EXPECT_EQ(linesOf("diff --git a/f b/f\n@@ -1,1 +1,1 @@\n+a\n+b\n+c\n").size(), 3U);

    // An empty line inside a hunk is context that lost its blank.
    EXPECT_EQ(
        linesOf("diff --git a/f b/f\n@@ -1,3 +1,3 @@\n a\n\n b\n"),
        (std::vector<DiffLine>{{Kind::context, "a"}, {Kind::context, ""}, {Kind::context, "b"}}));

    // Without a final line feed the last line is content too.
    EXPECT_EQ(linesOf("diff --git a/f b/f\n@@ -1 +1 @@\n-a\n+b"),
              (std::vector<DiffLine>{{Kind::removed, "a"}, {Kind::added, "b"}}));

    // A backslash remark adds nothing, wherever it stands.
    EXPECT_EQ(linesOf("diff --git a/f b/f\n@@ -1 +1 @@\n\\ remark\n-a\n\\ No newline at end of "
                      "file\n"),
              (std::vector<DiffLine>{{Kind::removed, "a"}}));
}

TEST(UnifiedDiffParser, AnUnknownLineEndsTheHunkAndIsSkipped) {
    const auto hunks = hunksFor(
        "@@ -1 +1 @@\n-a\n+b\nunexpected\n+not a hunk line\n"
        "@@ -9 +9 @@\n c\n");
    ASSERT_EQ(hunks.size(), 2U);
    EXPECT_EQ(hunks[0].lines, (std::vector<DiffLine>{{Kind::removed, "a"}, {Kind::added, "b"}}));
    EXPECT_EQ(hunks[1].lines, (std::vector<DiffLine>{{Kind::context, "c"}}));
}

TEST(UnifiedDiffParser, DerivesStatusAndPathFromTheExtendedHeader) {
    struct Case {
        const char* text;
        const char* path;
        const char* status;
    };
    const Case cases[] = {
        // /dev/null alone marks an added or a deleted file.
        {"diff --git a/n b/n\n--- /dev/null\n+++ b/n\n", "n", "A"},
        {"diff --git a/d b/d\n--- a/d\n+++ /dev/null\n", "d", "D"},
        // After a rename, /dev/null does not change the status.
        {"diff --git a/o b/p\nrename from o\nrename to p\n--- /dev/null\n+++ b/p\n", "p", "R"},
        {"diff --git a/o b/c\ncopy from o\ncopy to c\n", "c", "C"},
        // A blank in a path defeats the header split; "rename to" stands in.
        {"diff --git a/my file b/your file\nrename from my file\nrename to your file\n",
         "your file", "R"},
        // No "b/" piece: the old path stands in.
        {"diff --git a/only x/y\n", "only", "M"},
        // An empty "rename to" falls back on the old path.
        {"diff --git a/old c/new\nrename from old\nrename to \n", "old", "R"},
    };
    for (const auto& testCase : cases) {
        const auto diff = UnifiedDiffParser::parse(testCase.text);
        ASSERT_EQ(diff.files.size(), 1U) << testCase.text;
        EXPECT_EQ(diff.files[0].path, testCase.path) << testCase.text;
        EXPECT_EQ(diff.files[0].status, testCase.status) << testCase.text;
        EXPECT_TRUE(diff.files[0].hunks.empty()) << testCase.text;
    }
}

TEST(UnifiedDiffParser, TextWithoutUsableFileHeadersGivesNoFiles) {
    EXPECT_TRUE(UnifiedDiffParser::parse("").files.empty());
    EXPECT_TRUE(UnifiedDiffParser::parse("\n\n").files.empty());
    EXPECT_TRUE(UnifiedDiffParser::parse("--- a/f\n+++ b/f\n@@ -1 +1 @@\n-a\n+b\n").files.empty());

    // A header with no path at all yields no file, but its lines are still
    // consumed and the next file is read.
    const auto diff = UnifiedDiffParser::parse(
        "Working copy changes:\n"
        "diff --git x y\n@@ -1 +1 @@\n-lost\n"
        "diff --git a/kept b/kept\n@@ -1 +1 @@\n+kept\n");
    ASSERT_EQ(diff.files.size(), 1U);
    EXPECT_EQ(diff.files[0].path, "kept");
    ASSERT_EQ(diff.files[0].hunks.size(), 1U);
    EXPECT_EQ(diff.files[0].hunks[0].lines, (std::vector<DiffLine>{{Kind::added, "kept"}}));
}

}  // namespace
}  // namespace vorda
