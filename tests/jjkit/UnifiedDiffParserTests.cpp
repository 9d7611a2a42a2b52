#include "jjkit/diff/UnifiedDiffParser.h"

#include <filesystem>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

#include "jjkit/support/Uuid.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using testing::TestRepo;

/// One line per file: status, path, "binary" when marked so, then each hunk
/// as "[-OLD,COUNT +NEW,COUNT|LINE|…]" with "=" marking context lines.
std::string render(const UnifiedDiff& diff) {
    std::string text;
    for (const auto& file : diff.files) {
        text += file.status + " " + file.path + (file.isBinary ? " binary" : "");
        for (const auto& hunk : file.hunks) {
            text += " [-" + std::to_string(hunk.oldStart) + "," + std::to_string(hunk.oldCount) +
                    " +" + std::to_string(hunk.newStart) + "," + std::to_string(hunk.newCount);
            for (const auto& line : hunk.lines) {
                text += line.kind == DiffLine::Kind::added     ? "|+"
                        : line.kind == DiffLine::Kind::removed ? "|-"
                                                               : "|=";
                text += line.text;
            }
            text += "]";
        }
        text += "\n";
    }
    return text;
}

const std::string oneFile = "diff --git a/f b/f\n--- a/f\n+++ b/f\n";

TEST(UnifiedDiffParser, ReadsFilesHunksAndLines) {
    // A working copy that adds a file, changes a binary file, deletes a file,
    // edits a file with an empty context line, renames a file without
    // changing it, and edits a file lacking its final line feed.
    TestRepo repo;
    repo.commit("base", {{"blob.bin", std::string("a\0b", 3)},
                         {"gone.txt", "gone\n"},
                         {"keep.txt", "alpha\nbeta\ngamma\n\ndelta\n"},
                         {"old_name.txt", "same\ncontent\n"},
                         {"tail.txt", "no newline"}});
    const std::filesystem::path root = repo.root();
    std::filesystem::remove(root / "gone.txt");
    std::filesystem::rename(root / "old_name.txt", root / "new_name.txt");
    repo.writeFile("added.txt", "fresh\nfile\n");
    repo.writeFile("blob.bin", std::string("a\0c", 3));
    repo.writeFile("keep.txt", "alpha\nBETA\ngamma\n\ndelta\nepsilon\n");
    repo.writeFile("tail.txt", "no newline changed");
    std::vector<std::tuple<std::string, std::string, std::string>> cases = {
        {"real jj diff", repo.jj({"diff", "--git"}),
         "A added.txt [-0,0 +1,2|+fresh|+file]\n"
         "M blob.bin binary\n"
         "D gone.txt [-1,1 +0,0|-gone]\n"
         "M keep.txt [-1,5 +1,6|=alpha|-beta|+BETA|=gamma|=|=delta|+epsilon]\n"
         "R new_name.txt\n"
         // The "\ No newline" remarks are not content, and the final line
         // feed of the text leaves no extra context line behind.
         "M tail.txt [-1,1 +1,1|-no newline|+no newline changed]\n"},
        // Ranges: a missing count is 1; blanks around them do not matter.
        {"short ranges", oneFile + "@@ -1 +1 @@\n-a\n+b\n", "M f [-1,1 +1,1|-a|+b]\n"},
        {"function context", oneFile + "@@ -0,0 +1,3 @@ class X\n+a\n+b\n+c\n",
         "M f [-0,0 +1,3|+a|+b|+c]\n"},
        {"extra blanks", oneFile + "@@  -12,4   +15,5  @@\n x\n", "M f [-12,4 +15,5|=x]\n"},
        {"two hunks", oneFile + "@@ -1,6 +1,6 @@\n 1\n-3\n+three\n@@ -24,7 +24,7 @@\n 26\n-27\n",
         "M f [-1,6 +1,6|=1|-3|+three] [-24,7 +24,7|=26|-27]\n"},
        // Hunks end at markers, not at the counts of their header.
        {"more lines than counted", "diff --git a/f b/f\n@@ -1,1 +1,1 @@\n+a\n+b\n+c\n",
         "M f [-1,1 +1,1|+a|+b|+c]\n"},
        {"empty line is context", "diff --git a/f b/f\n@@ -1,3 +1,3 @@\n a\n\n b\n",
         "M f [-1,3 +1,3|=a|=|=b]\n"},
        {"no final line feed", "diff --git a/f b/f\n@@ -1 +1 @@\n-a\n+b",
         "M f [-1,1 +1,1|-a|+b]\n"},
        {"backslash remarks anywhere",
         "diff --git a/f b/f\n@@ -1 +1 @@\n\\ remark\n-a\n\\ No newline at end of file\n",
         "M f [-1,1 +1,1|-a]\n"},
        {"unknown line ends the hunk",
         oneFile + "@@ -1 +1 @@\n-a\n+b\nunexpected\n+not a hunk line\n@@ -9 +9 @@\n c\n",
         "M f [-1,1 +1,1|-a|+b] [-9,1 +9,1|=c]\n"},
        // Status and path from the extended header: /dev/null alone marks an
        // added or a deleted file, but not after a rename.
        {"added", "diff --git a/n b/n\n--- /dev/null\n+++ b/n\n", "A n\n"},
        {"deleted", "diff --git a/d b/d\n--- a/d\n+++ /dev/null\n", "D d\n"},
        {"renamed", "diff --git a/o b/p\nrename from o\nrename to p\n--- /dev/null\n+++ b/p\n",
         "R p\n"},
        {"copied", "diff --git a/o b/c\ncopy from o\ncopy to c\n", "C c\n"},
        // A blank in a path defeats the header split; "rename to" stands in.
        {"blank in path",
         "diff --git a/my file b/your file\nrename from my file\nrename to your file\n",
         "R your file\n"},
        {"no b/ piece", "diff --git a/only x/y\n", "M only\n"},
        {"empty rename to", "diff --git a/old c/new\nrename from old\nrename to \n", "R old\n"},
        // Text without usable file headers gives no files; a header with no
        // path at all yields none, but its lines are consumed.
        {"empty", "", ""},
        {"blank lines", "\n\n", ""},
        {"no diff line", "--- a/f\n+++ b/f\n@@ -1 +1 @@\n-a\n+b\n", ""},
        {"pathless header",
         "Working copy changes:\ndiff --git x y\n@@ -1 +1 @@\n-lost\n"
         "diff --git a/kept b/kept\n@@ -1 +1 @@\n+kept\n",
         "M kept [-1,1 +1,1|+kept]\n"},
    };
    // A malformed "@@" line loses only its own hunk.
    for (const std::string bad : {"@@ -a +1 @@", "@@ -1 +1@@", "@@ -1 @@", "@@ -1 +1 +1 @@",
                                  "@@ 1 +1 @@", "@@ -1,x +1 @@", "@@ - +1 @@"}) {
        cases.push_back({bad, oneFile + bad + "\n+lost\n@@ -5,1 +5,1 @@\n-old\n+new\n",
                         "M f [-5,1 +5,1|-old|+new]\n"});
    }
    for (const auto& [name, text, expected] : cases) {
        EXPECT_EQ(render(UnifiedDiffParser::parse(text)), expected) << name;
    }
}

TEST(UnifiedDiffParser, KeepsTheWholeHeaderAndGivesEveryHunkAFreshId) {
    const std::string text = oneFile + "@@ -0,0 +1,3 @@ class X\n+a\n@@ -9 +9 @@\n c\n";
    std::vector<std::string> headers;
    std::set<std::string> ids;
    for (int parse = 0; parse < 2; ++parse) {
        const auto diff = UnifiedDiffParser::parse(text);
        for (const auto& hunk : diff.files.at(0).hunks) {
            headers.push_back(hunk.header);
            EXPECT_TRUE(isValidUuid(hunk.id)) << hunk.id;
            ids.insert(hunk.id);
        }
    }
    EXPECT_EQ(headers, (std::vector<std::string>{"@@ -0,0 +1,3 @@ class X", "@@ -9 +9 @@",
                                                 "@@ -0,0 +1,3 @@ class X", "@@ -9 +9 @@"}));
    EXPECT_EQ(ids.size(), 4U) << "every hunk of every parse has its own id";
}

}  // namespace
}  // namespace vorda
