// The diff editor helper on plain folders: what it leaves in the right-hand
// tree for each kind of change, how it refuses malformed selections without
// touching anything, and the session files that point jj at it.

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/HunkApplication.h"
#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/support/Uuid.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using Selection = DiffEditorProtocol::HunkSelection;

// ---------------------------------------------------------------------------
// Folders and their contents

void put(const fs::path& root, const std::string& path, const std::string& bytes,
         bool executable = false) {
    const fs::path target = root / path;
    fs::create_directories(target.parent_path());
    std::ofstream(target, std::ios::binary | std::ios::trunc) << bytes;
    fs::permissions(target, executable ? fs::perms(0755) : fs::perms(0644),
                    fs::perm_options::replace);
}

void link(const fs::path& root, const std::string& path, const std::string& target) {
    fs::create_directories((root / path).parent_path());
    fs::create_symlink(target, root / path);
}

/// One entry as the test sees it: "file 644 <bytes>", "link <target>".
std::string describe(const fs::path& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
        return "absent";
    }
    if (S_ISLNK(status.st_mode)) {
        return "link " + fs::read_symlink(path).string();
    }
    if (S_ISDIR(status.st_mode)) {
        return "folder";
    }
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    std::ostringstream mode;
    mode << std::oct << (status.st_mode & 0777);
    return "file " + mode.str() + " " + bytes.str();
}

/// Every entry under `root`, by relative path.
std::map<std::string, std::string> snapshot(const fs::path& root) {
    std::map<std::string, std::string> entries;
    for (auto it = fs::recursive_directory_iterator(root); it != fs::recursive_directory_iterator();
         ++it) {
        entries[it->path().lexically_relative(root).generic_string()] = describe(it->path());
    }
    return entries;
}

std::string fileEntry(const std::string& bytes, bool executable = false) {
    return std::string("file ") + (executable ? "755 " : "644 ") + bytes;
}

/// "line 1\n" … "line N\n", with the lines in `changed` replaced by
/// "changed K\n".
std::string numberedLines(int count, const std::set<int>& changed = {}) {
    std::string text;
    for (int line = 1; line <= count; ++line) {
        text += (changed.contains(line) ? "changed " : "line ") + std::to_string(line) + "\n";
    }
    return text;
}

class DiffApply : public ::testing::Test {
  protected:
    DiffApply() {
        fs::create_directory(left);
        fs::create_directory(right);
    }

    void apply(const Selection& selection) const { HunkApplication::apply(selection, left, right); }
    std::string rightEntry(const std::string& path) const { return describe(right / path); }

    TempDir scratch{"vorda-diff-apply"};
    fs::path left = scratch.path() / "left";
    fs::path right = scratch.path() / "right";
};

// ---------------------------------------------------------------------------
// Text files

TEST_F(DiffApply, TextFileKeepsTheLeftContentPlusOnlyTheChosenHunks) {
    put(left, "story.txt", numberedLines(40));
    put(right, "story.txt", numberedLines(40, {5, 20, 35}));

    apply({{{"story.txt", {0, 2}}}});
    EXPECT_EQ(rightEntry("story.txt"), fileEntry(numberedLines(40, {5, 35})));

    put(right, "story.txt", numberedLines(40, {5, 20, 35}));
    apply({{{"story.txt", {1}}}});
    EXPECT_EQ(rightEntry("story.txt"), fileEntry(numberedLines(40, {20})));

    // Nothing kept: back to the left state; everything kept: as it was.
    put(right, "story.txt", numberedLines(40, {5, 20, 35}));
    apply({{{"story.txt", {}}}});
    EXPECT_EQ(rightEntry("story.txt"), fileEntry(numberedLines(40)));

    put(right, "story.txt", numberedLines(40, {5, 20, 35}));
    apply({{{"story.txt", {2, 0, 1, 0}}}});
    EXPECT_EQ(rightEntry("story.txt"), fileEntry(numberedLines(40, {5, 20, 35})));
}

TEST_F(DiffApply, ChangesCloseTogetherShareOneHunk) {
    // Six unchanged lines between two changes: one hunk. Seven: two.
    put(left, "near.txt", numberedLines(30));
    put(right, "near.txt", numberedLines(30, {5, 12}));
    put(left, "far.txt", numberedLines(30));
    put(right, "far.txt", numberedLines(30, {5, 13}));

    apply({{{"far.txt", {1}}}});
    EXPECT_EQ(rightEntry("far.txt"), fileEntry(numberedLines(30, {13})));
    EXPECT_THROW(apply({{{"near.txt", {1}}}}), std::out_of_range);
    apply({{{"near.txt", {0}}}});
    EXPECT_EQ(rightEntry("near.txt"), fileEntry(numberedLines(30, {5, 12})));
}

TEST_F(DiffApply, MissingFinalLineFeedKeepsItsExactBytes) {
    std::string leftText = numberedLines(20);
    leftText.pop_back();  // "line 20" without a line feed
    std::string rightText = numberedLines(20, {2}) + "line 21";
    put(left, "tail.txt", leftText);

    put(right, "tail.txt", rightText);
    apply({{{"tail.txt", {0}}}});
    std::string expected = numberedLines(20, {2});
    expected.pop_back();
    EXPECT_EQ(rightEntry("tail.txt"), fileEntry(expected));

    put(right, "tail.txt", rightText);
    apply({{{"tail.txt", {1}}}});
    EXPECT_EQ(rightEntry("tail.txt"), fileEntry(numberedLines(20) + "line 21"));

    // Only the final line feed added: one hunk, and dropping it drops the
    // line feed again.
    put(right, "tail.txt", leftText + "\n");
    apply({{{"tail.txt", {}}}});
    EXPECT_EQ(rightEntry("tail.txt"), fileEntry(leftText));
}

TEST_F(DiffApply, CarriageReturnLineEndsArePreservedByteForByte) {
    std::string leftText;
    std::string rightText;
    for (int line = 1; line <= 20; ++line) {
        const std::string number = std::to_string(line);
        leftText += "row " + number + "\r\n";
        rightText += (line == 3 || line == 17 ? "new " : "row ") + number + "\r\n";
    }
    put(left, "dos.txt", leftText);
    put(right, "dos.txt", rightText);

    apply({{{"dos.txt", {1}}}});
    std::string expected = leftText;
    expected.replace(expected.find("row 17\r\n"), 3, "new");
    EXPECT_EQ(rightEntry("dos.txt"), fileEntry(expected));
}

TEST_F(DiffApply, ExecutableBitFollowsTheSideTheHunksComeFrom) {
    put(left, "run.sh", numberedLines(30));
    put(right, "run.sh", numberedLines(30, {2, 25}), /*executable=*/true);

    apply({{{"run.sh", {0}}}});
    EXPECT_EQ(rightEntry("run.sh"), fileEntry(numberedLines(30, {2}), true));

    put(right, "run.sh", numberedLines(30, {2, 25}), true);
    apply({{{"run.sh", {}}}});
    EXPECT_EQ(rightEntry("run.sh"), fileEntry(numberedLines(30)));
}

// ---------------------------------------------------------------------------
// Whole-file changes

TEST_F(DiffApply, AddedFileIsKeptWholeOrRemoved) {
    put(right, "fresh/new.txt", "one\ntwo\n");
    put(right, "empty.txt", "");

    apply({{{"fresh/new.txt", {0}}, {"empty.txt", {0}}}});
    EXPECT_EQ(rightEntry("fresh/new.txt"), fileEntry("one\ntwo\n"));
    EXPECT_EQ(rightEntry("empty.txt"), fileEntry(""));

    apply({{{"fresh/new.txt", {}}, {"empty.txt", {}}}});
    EXPECT_EQ(rightEntry("fresh/new.txt"), "absent");
    EXPECT_EQ(rightEntry("empty.txt"), "absent");
}

TEST_F(DiffApply, DeletedFileStaysDeletedWhenKeptAndIsRestoredOtherwise) {
    put(left, "old/gone.sh", "#!/bin/sh\necho gone\n", /*executable=*/true);
    // jj checks the left tree out read-only.
    fs::permissions(left / "old/gone.sh", fs::perms(0555), fs::perm_options::replace);

    apply({{{"old/gone.sh", {0}}}});
    EXPECT_EQ(rightEntry("old/gone.sh"), "absent");

    apply({{{"old/gone.sh", {}}}});
    EXPECT_EQ(rightEntry("old/gone.sh"), fileEntry("#!/bin/sh\necho gone\n", true));
}

TEST_F(DiffApply, BinaryFileIsWholeOrNothing) {
    using namespace std::string_literals;
    const std::string before = "\x89PNG\0\x01\x02 old"s;
    const std::string after = "\x89PNG\0\x01\x02 new!"s;
    ASSERT_EQ(before.size(), 11U);
    put(left, "image.png", before);
    put(right, "image.png", after);

    EXPECT_THROW(apply({{{"image.png", {1}}}}), std::out_of_range);
    apply({{{"image.png", {0}}}});
    EXPECT_EQ(rightEntry("image.png"), fileEntry(after));
    apply({{{"image.png", {}}}});
    EXPECT_EQ(rightEntry("image.png"), fileEntry(before));
}

TEST_F(DiffApply, LinksAreTakenWholeFromTheChosenSide) {
    link(left, "current", "release-1");
    link(right, "current", "release-2");
    put(left, "became-link", "plain text\n");
    link(right, "became-link", "elsewhere");

    apply({{{"current", {0}}, {"became-link", {}}}});
    EXPECT_EQ(rightEntry("current"), "link release-2");
    EXPECT_EQ(rightEntry("became-link"), fileEntry("plain text\n"));

    apply({{{"current", {}}}});
    EXPECT_EQ(rightEntry("current"), "link release-1");
}

TEST_F(DiffApply, UnnamedFilesAndOddPathsAreHandled) {
    const std::string odd = "dir with blank/it's \"quoted\" ä.txt";
    put(left, odd, numberedLines(12));
    put(right, odd, numberedLines(12, {1, 12}));
    put(left, "untouched.txt", "left\n");
    put(right, "untouched.txt", "right\n");
    put(right, "JJ-INSTRUCTIONS", "jj's note\n");

    apply({{{odd, {1}}}});
    EXPECT_EQ(rightEntry(odd), fileEntry(numberedLines(12, {12})));
    EXPECT_EQ(rightEntry("untouched.txt"), fileEntry("right\n"));
    EXPECT_EQ(rightEntry("JJ-INSTRUCTIONS"), fileEntry("jj's note\n"));
}

TEST_F(DiffApply, FileReplacingAFolderIsRestoredOnceTheFolderEmpties) {
    put(left, "node", "was a file\n");
    put(right, "node/child.txt", "now a folder\n");

    // The folder keeps a file the selection does not remove: refused.
    EXPECT_THROW(apply({{{"node", {}}}}), std::runtime_error);
    EXPECT_EQ(rightEntry("node/child.txt"), fileEntry("now a folder\n"));

    apply({{{"node/child.txt", {}}, {"node", {}}}});
    EXPECT_EQ(rightEntry("node"), fileEntry("was a file\n"));
}

// ---------------------------------------------------------------------------
// Malformed selections

class DiffApplyRefusal : public DiffApply {
  protected:
    DiffApplyRefusal() {
        put(left, "a.txt", numberedLines(40));
        put(right, "a.txt", numberedLines(40, {5, 20, 35}));
        put(right, "added.txt", "new\n");
        put(left, "deleted.txt", "old\n");
        put(right, "JJ-INSTRUCTIONS", "note\n");
    }

    /// Runs the command line on `text` as the selection file; returns the
    /// exit status and what went to stderr.
    std::pair<int, std::string> run(const std::string& text) const {
        const fs::path file = scratch.path() / "selection.json";
        std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
        std::ostringstream errors;
        const int status =
            HunkApplication::runCommandLine({file.string(), left.string(), right.string()}, errors);
        return {status, errors.str()};
    }
};

TEST_F(DiffApplyRefusal, MalformedSelectionsFailWithOneLineAndLeaveRightUntouched) {
    const auto before = snapshot(right);
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "malformed selection"},
        {"not json", "malformed selection"},
        {"[\"files\"]", "malformed selection"},
        {R"({"files":{}})", "type mismatch (expected Array<Any>) at files"},
        {R"({"file":[]})", "missing key `files`"},
        {R"({"files":[{"path":1,"keepHunkOrdinals":[]}]})", "at files.Index 0.path"},
        {R"({"files":[{"path":"a.txt"}]})", "missing key `keepHunkOrdinals`"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":["0"]}]})", "expected Int"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":[1.5]}]})", "expected Int"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":[-1]}]})", "is negative"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":[99999999999]}]})", "is too large"},
        {"{\"files\":[{\"path\":\"a\xff.txt\",\"keepHunkOrdinals\":[]}]}", "not valid JSON"},
        {std::string(100000, '['), "nests deeper"},
        // Well-formed, but naming what is not there. The valid entries before
        // the bad one would change files: nothing may be written.
        {R"({"files":[{"path":"added.txt","keepHunkOrdinals":[]},)"
         R"({"path":"a.txt","keepHunkOrdinals":[0,3]}]})",
         "no hunk 3 in a.txt (it has 3)"},
        {R"({"files":[{"path":"deleted.txt","keepHunkOrdinals":[]},)"
         R"({"path":"added.txt","keepHunkOrdinals":[1]}]})",
         "no hunk 1 in added.txt (it has 1)"},
        {R"({"files":[{"path":"nowhere.txt","keepHunkOrdinals":[0]}]})",
         "no hunk 0 in nowhere.txt (it has 0)"},
        {R"({"files":[{"path":"/etc/passwd","keepHunkOrdinals":[]}]})", "path is absolute"},
        {R"({"files":[{"path":"../outside.txt","keepHunkOrdinals":[]}]})",
         "not a plain relative path"},
        {R"({"files":[{"path":"a//b","keepHunkOrdinals":[]}]})", "not a plain relative path"},
        {R"({"files":[{"path":"","keepHunkOrdinals":[]}]})", "empty path"},
        {R"({"files":[{"path":"added.txt","keepHunkOrdinals":[]},)"
         R"({"path":"added.txt","keepHunkOrdinals":[0]}]})",
         "names added.txt twice"},
    };
    for (const auto& [text, expected] : cases) {
        SCOPED_TRACE(text.substr(0, 80));
        const auto [status, errors] = run(text);
        EXPECT_EQ(status, 1);
        EXPECT_EQ(errors.rfind("vorda-diff-apply: ", 0), 0U) << errors;
        EXPECT_NE(errors.find(expected), std::string::npos) << errors;
        EXPECT_EQ(errors.find('\n'), errors.size() - 1) << "one line: " << errors;
        EXPECT_EQ(snapshot(right), before);
    }
}

TEST_F(DiffApplyRefusal, UnreadableSelectionAndWrongArgumentsFail) {
    const auto before = snapshot(right);
    std::ostringstream errors;
    const fs::path missing = scratch.path() / "missing.json";
    EXPECT_EQ(
        HunkApplication::runCommandLine({missing.string(), left.string(), right.string()}, errors),
        1);
    EXPECT_EQ(errors.str(), "vorda-diff-apply: cannot read the selection " + missing.string() +
                                ": No such file or directory\n");

    std::ostringstream usage;
    EXPECT_EQ(HunkApplication::runCommandLine({left.string(), right.string()}, usage), 2);
    EXPECT_NE(usage.str().find("usage: vorda-diff-apply <selection.json>"), std::string::npos);

    const auto [status, message] = run(R"({"files":[]})");
    EXPECT_EQ(status, 0) << message;
    EXPECT_EQ(snapshot(right), before);
}

TEST_F(DiffApplyRefusal, RealExecutableRefusesAMalformedSelection) {
    const auto before = snapshot(right);
    const fs::path file = scratch.path() / "selection.json";
    std::ofstream(file) << R"({"files":[{"path":"a.txt","keepHunkOrdinals":[0,7]}]})";

    const auto result = ProcessExecutor::execute(
        {VORDA_DIFF_APPLY_PATH, file.string(), left.string(), right.string()}, std::nullopt, "test",
        "vorda-diff-apply");
    EXPECT_NE(result.exitCode, 0);
    EXPECT_EQ(result.stderr, "vorda-diff-apply: no hunk 7 in a.txt (it has 3)\n");
    EXPECT_EQ(snapshot(right), before);

    // And a good one through the same executable.
    std::ofstream(file, std::ios::trunc)
        << R"({"files":[{"path":"a.txt","keepHunkOrdinals":[1]}]})";
    const auto applied = ProcessExecutor::execute(
        {VORDA_DIFF_APPLY_PATH, file.string(), left.string(), right.string()}, std::nullopt, "test",
        "vorda-diff-apply");
    EXPECT_EQ(applied.exitCode, 0) << applied.stderr;
    EXPECT_EQ(rightEntry("a.txt"), fileEntry(numberedLines(40, {20})));
}

// ---------------------------------------------------------------------------
// Selection coding

TEST(DiffApplyCoding, SelectionEncodesCompactlyAndDecodesBack) {
    const Selection selection{{{"src/a b.txt", {0, 2}}, {"ä\"q\".txt", {}}}};
    const std::string text = DiffEditorProtocol::encode(selection);
    EXPECT_EQ(text, R"({"files":[{"keepHunkOrdinals":[0,2],"path":"src/a b.txt"},)"
                    R"({"keepHunkOrdinals":[],"path":"ä\"q\".txt"}]})");
    EXPECT_EQ(DiffEditorProtocol::decode(text), selection);
    EXPECT_EQ(DiffEditorProtocol::decode(R"({"files":[]})"), Selection{});
    // Keys in any order, unknown keys ignored.
    EXPECT_EQ(DiffEditorProtocol::decode(
                  R"({"extra":1,"files":[{"path":"x","keepHunkOrdinals":[3],"more":null}]})"),
              (Selection{{{"x", {3}}}}));

    EXPECT_THROW(DiffEditorProtocol::encode(Selection{{{"bad\xff", {}}}}), std::invalid_argument);
}

TEST(DiffApplyCoding, DecodingNamesWhatIsWrong) {
    const auto failure = [](const std::string& text) {
        try {
            DiffEditorProtocol::decode(text);
        } catch (const DecodingError& error) {
            return error.description();
        }
        return std::string("decoded");
    };
    EXPECT_EQ(failure(R"({"files":[{"path":"x","keepHunkOrdinals":[0,-4]}]})"),
              "data corrupted at files.Index 0.keepHunkOrdinals.Index 1: hunk ordinal -4 is "
              "negative.");
    EXPECT_EQ(failure(R"({"files":[{"keepHunkOrdinals":[]}]})"),
              "missing key `path` at files.Index 0");
    EXPECT_EQ(failure(R"({"files":[{"path":null,"keepHunkOrdinals":[]}]})"),
              "value missing (expected String) at files.Index 0.path");
    EXPECT_EQ(failure("[]"),
              "type mismatch (expected Dictionary<String, Any>) at <root>: Expected to decode "
              "Dictionary<String, Any> but found an array instead.");
    EXPECT_EQ(failure(std::string(17, '[') + std::string(17, ']')),
              "data corrupted at <root>: The given data nests deeper than 16 levels.");
    // Brackets inside strings do not count as nesting.
    EXPECT_EQ(failure(R"({"files":[{"path":"[[[[[[[[[[[[[[[[[[[[","keepHunkOrdinals":[]}]})"),
              "decoded");
}

// ---------------------------------------------------------------------------
// Session preparation

std::string readText(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

class DiffApplySession : public ::testing::Test {
  protected:
    DiffApplySession() { temp.set(ownTemp.string()); }

    /// The sessions' folders in the private temporary folder.
    std::vector<fs::path> sessionFolders() const {
        std::vector<fs::path> folders;
        for (const auto& entry : fs::directory_iterator(ownTemp.path())) {
            folders.push_back(entry.path());
        }
        return folders;
    }

    // A private TMPDIR, so that the folders seen are this test's own.
    TempDir ownTemp{"vorda-session-temp"};
    testing::ScopedEnvironment temp{"TMPDIR"};
    Selection selection{{{"a.txt", {0, 2}}, {"b.txt", {}}}};
};

TEST_F(DiffApplySession, PrepareWritesTheSelectionAndTheBridgeScript) {
    const std::string helper = "/opt/it's here/vorda-diff-apply";
    const auto session = DiffEditorProtocol::prepare({"squash", "--from", "@"}, selection, helper);

    const auto folders = sessionFolders();
    ASSERT_EQ(folders.size(), 1U);
    const fs::path& folder = folders[0];
    const std::string name = folder.filename().string();
    ASSERT_EQ(name.rfind("Vorda-diff-", 0), 0U);
    EXPECT_TRUE(isValidUuid(name.substr(11))) << name;

    const fs::path selectionFile = folder / "selection.json";
    const fs::path script = folder / "bridge.sh";
    EXPECT_EQ(readText(selectionFile), R"({"files":[{"keepHunkOrdinals":[0,2],"path":"a.txt"},)"
                                       R"({"keepHunkOrdinals":[],"path":"b.txt"}]})");
    EXPECT_EQ(readText(script), "#!/bin/sh\nexec '/opt/it'\\''s here/vorda-diff-apply' '" +
                                    selectionFile.string() + "' \"$1\" \"$2\"");
    EXPECT_EQ(fs::status(script).permissions(), fs::perms(0755));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2)
        << "no temporary file is left beside the script";

    EXPECT_EQ(
        session.toolArgs,
        (std::vector<std::string>{
            "squash", "--from", "@", "--config", "merge-tools.Vorda.program=" + script.string(),
            "--config", R"(merge-tools.Vorda.edit-args=["$left", "$right"])", "--tool", "Vorda"}));

    session.cleanup();
    EXPECT_FALSE(fs::exists(folder));
    session.cleanup();  // a second time is harmless
}

TEST_F(DiffApplySession, BridgeScriptHandsItsArgumentsToTheHelperIntact) {
    // A stand-in helper under a path with a single quote and a blank, which
    // prints the arguments it gets, one per line.
    const fs::path helper = ownTemp.path() / "it's a helper.sh";
    put(ownTemp.path(), "it's a helper.sh", "#!/bin/sh\nprintf '%s\\n' \"$@\"\n", true);
    const auto session = DiffEditorProtocol::prepare({}, selection, helper.string());
    const fs::path script = fs::path(session.toolArgs[1].substr(26));
    ASSERT_EQ(script.filename(), "bridge.sh");

    const auto result = ProcessExecutor::execute(
        {script.string(), "/tmp/left side", "/tmp/right 'side'"}, std::nullopt, "test", "bridge");
    EXPECT_EQ(result.exitCode, 0) << result.stderr;
    EXPECT_EQ(result.stdout, (script.parent_path() / "selection.json").string() +
                                 "\n/tmp/left side\n/tmp/right 'side'\n");
    session.cleanup();
}

TEST_F(DiffApplySession, EachSessionHasItsOwnFolder) {
    const auto first = DiffEditorProtocol::prepare({}, selection, "/bin/helper");
    const auto second = DiffEditorProtocol::prepare({}, selection, "/bin/helper");
    EXPECT_NE(first.toolArgs, second.toolArgs);
    EXPECT_EQ(sessionFolders().size(), 2U);
    first.cleanup();
    EXPECT_EQ(sessionFolders().size(), 1U);
    second.cleanup();
    EXPECT_TRUE(sessionFolders().empty());
}

TEST_F(DiffApplySession, FailuresAfterTheFolderExistsLeaveItBehind) {
    // A path that cannot be written as JSON fails the selection file.
    EXPECT_THROW(DiffEditorProtocol::prepare({}, Selection{{{"bad\xff", {}}}}, "/bin/helper"),
                 std::invalid_argument);
    const auto folders = sessionFolders();
    ASSERT_EQ(folders.size(), 1U);
    EXPECT_FALSE(fs::exists(folders[0] / "bridge.sh"));

    // No temporary folder at all: nothing is made.
    temp.set((ownTemp.path() / "not-there").string());
    EXPECT_THROW(DiffEditorProtocol::prepare({}, selection, "/bin/helper"), fs::filesystem_error);
    EXPECT_EQ(sessionFolders().size(), 1U);

    // A temporary folder that refuses new folders: the error names the path.
    if (!fs::is_directory("/proc/self")) {
        GTEST_SKIP() << "no /proc to refuse a folder";
    }
    temp.set("/proc");
    try {
        DiffEditorProtocol::prepare({}, selection, "/bin/helper");
        ADD_FAILURE() << "no error";
    } catch (const fs::filesystem_error& error) {
        EXPECT_NE(std::string(error.what()).find("/proc/Vorda-diff-"), std::string::npos)
            << error.what();
    }
}

}  // namespace
}  // namespace vorda
