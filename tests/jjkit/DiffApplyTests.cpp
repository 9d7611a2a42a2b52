// The diff editor helper on plain folders: what it leaves in the right-hand
// tree for each kind of change, how it refuses malformed selections without
// touching anything, and the session files that point jj at it.

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/HunkApplication.h"
#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/support/Uuid.h"
#include "support/RewriteTestData.h"
#include "support/ScopedEnvironment.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::numberedLines;
using testing::TempDir;
using Selection = DiffEditorProtocol::HunkSelection;

std::string readText(const fs::path& path) {
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << stream.rdbuf();
    return bytes.str();
}

/// An entry as the tests write and read it: "file MODE BYTES" (MODE in
/// octal), "link TARGET", "folder" or "absent".
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
    std::ostringstream mode;
    mode << std::oct << (status.st_mode & 0777);
    return "file " + mode.str() + " " + readText(path);
}

/// Makes at `root`/`path` the file or link that `entry` describes.
void make(const fs::path& root, const std::string& path, const std::string& entry) {
    const fs::path target = root / path;
    fs::create_directories(target.parent_path());
    if (entry.starts_with("link ")) {
        fs::create_symlink(entry.substr(5), target);
    } else if (entry != "absent") {
        std::ofstream(target, std::ios::binary | std::ios::trunc) << entry.substr(9);
        fs::permissions(target, static_cast<fs::perms>(std::stoi(entry.substr(5, 3), nullptr, 8)),
                        fs::perm_options::replace);
    }
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

std::string file(const std::string& bytes, bool executable = false) {
    return std::string("file ") + (executable ? "755 " : "644 ") + bytes;
}

class DiffApply : public ::testing::Test {
  protected:
    DiffApply() {
        fs::create_directory(left);
        fs::create_directory(right);
    }

    void apply(const Selection& selection) const { HunkApplication::apply(selection, left, right); }

    TempDir scratch{"vorda-diff-apply"};
    fs::path left = scratch.path() / "left";
    fs::path right = scratch.path() / "right";
};

// ---------------------------------------------------------------------------
// What each kind of change leaves behind

TEST_F(DiffApply, KeepsTheLeftEntryPlusOnlyTheChosenHunks) {
    using namespace std::string_literals;
    const auto entries = [](const fs::path& root) {
        auto found = snapshot(root);
        std::erase_if(found, [](const auto& entry) { return entry.second == "folder"; });
        return found;
    };
    // For the entries `before` and `after` of `path`, what each choice of
    // hunks leaves in the right-hand tree; "refused" for an ordinal the file
    // does not have.
    const auto expect = [&](const std::string& path, const std::string& before,
                            const std::string& after,
                            const std::vector<std::pair<std::vector<int>, std::string>>& outcomes) {
        for (const auto& [keep, outcome] : outcomes) {
            SCOPED_TRACE(path + " keeping " + std::to_string(keep.size()));
            fs::remove_all(left);
            fs::remove_all(right);
            // Files the selection does not name stay as jj put them.
            make(left, "untouched.txt", file("left\n"));
            make(right, "untouched.txt", file("right\n"));
            make(right, "JJ-INSTRUCTIONS", file("jj's note\n"));
            make(left, path, before);
            make(right, path, after);
            auto expected = entries(right);
            if (outcome == "refused") {
                EXPECT_THROW(apply({{{path, keep}}}), std::out_of_range);
            } else {
                apply({{{path, keep}}});
                expected[path] = outcome;
                std::erase_if(expected, [](const auto& entry) { return entry.second == "absent"; });
            }
            EXPECT_EQ(entries(right), expected);
        }
    };
    const auto lines = [](int count, const std::set<int>& changed = {}) {
        return file(numberedLines(count, changed));
    };

    expect("story.txt", lines(40), lines(40, {5, 20, 35}),
           {{{0, 2}, lines(40, {5, 35})},
            {{1}, lines(40, {20})},
            {{}, lines(40)},
            {{2, 0, 1, 0}, lines(40, {5, 20, 35})}});
    // A missing final line feed keeps its exact bytes.
    const auto withoutFeed = [](std::string text) {
        return text.erase(text.size() - 1);
    };
    const std::string tail = withoutFeed(numberedLines(20));
    expect("tail.txt", file(tail), file(numberedLines(20, {2}) + "line 21"),
           {{{0}, file(withoutFeed(numberedLines(20, {2})))},
            {{1}, file(numberedLines(20) + "line 21")}});
    expect("feed.txt", file(tail), file(tail + "\n"), {{{}, file(tail)}});

    // The executable bit follows the side the hunks come from.
    expect("run.sh", lines(30), file(numberedLines(30, {2, 25}), true),
           {{{0}, file(numberedLines(30, {2}), true)}, {{}, lines(30)}});

    // Whole-file changes are one hunk: kept whole or not at all.
    expect("fresh/new.txt", "absent", file("one\ntwo\n"),
           {{{0}, file("one\ntwo\n")}, {{}, "absent"}});
    expect("empty.txt", "absent", file(""), {{{0}, file("")}, {{}, "absent"}});
    // jj checks the left tree out read-only.
    expect("old/gone.sh", "file 555 #!/bin/sh\n", "absent",
           {{{0}, "absent"}, {{}, "file 755 #!/bin/sh\n"}});
    const std::string png = "file 644 \x89PNG\0\x01\x02 old"s;
    const std::string pngChanged = "file 644 \x89PNG\0\x01\x02 new!"s;
    expect("image.png", png, pngChanged, {{{0}, pngChanged}, {{}, png}, {{1}, "refused"}});
    expect("current", "link release-1", "link release-2",
           {{{0}, "link release-2"}, {{}, "link release-1"}});
    expect("became-link", file("plain\n"), "link elsewhere", {{{}, file("plain\n")}});
}

TEST_F(DiffApply, FileReplacingAFolderIsRestoredOnceTheFolderEmpties) {
    make(left, "node", file("was a file\n"));
    make(right, "node/child.txt", file("now a folder\n"));

    // The folder keeps a file the selection does not remove: refused.
    EXPECT_THROW(apply({{{"node", {}}}}), std::runtime_error);
    EXPECT_EQ(describe(right / "node/child.txt"), file("now a folder\n"));

    apply({{{"node/child.txt", {}}, {"node", {}}}});
    EXPECT_EQ(describe(right / "node"), file("was a file\n"));
}

// ---------------------------------------------------------------------------
// Malformed selections

TEST_F(DiffApply, BadSelectionsAndArgumentsFailWithOneLineAndLeaveRightUntouched) {
    make(left, "a.txt", file(numberedLines(40)));
    make(right, "a.txt", file(numberedLines(40, {5, 20, 35})));
    make(right, "added.txt", file("new\n"));
    make(left, "deleted.txt", file("old\n"));
    make(right, "JJ-INSTRUCTIONS", file("note\n"));
    const auto before = snapshot(right);
    // The command line on a selection file, and one with `text` in it: the
    // exit status and what went to stderr.
    const fs::path selectionFile = scratch.path() / "selection.json";
    const auto runOn = [&](const std::vector<std::string>& arguments) {
        std::ostringstream errors;
        const int status = HunkApplication::runCommandLine(arguments, errors);
        return std::pair{status, errors.str()};
    };
    const auto run = [&](const std::string& text) {
        std::ofstream(selectionFile, std::ios::binary | std::ios::trunc) << text;
        return runOn({selectionFile.string(), left.string(), right.string()});
    };
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "malformed selection"},
        {"not json", "malformed selection"},
        {"[]",
         "type mismatch (expected Dictionary<String, Any>) at <root>: Expected to decode "
         "Dictionary<String, Any> but found an array instead."},
        {R"({"files":{}})", "type mismatch (expected Array<Any>) at files"},
        {R"({"file":[]})", "missing key `files`"},
        {R"({"files":[{"path":1,"keepHunkOrdinals":[]}]})", "at files.Index 0.path"},
        {R"({"files":[{"keepHunkOrdinals":[]}]})", "missing key `path` at files.Index 0"},
        {R"({"files":[{"path":null,"keepHunkOrdinals":[]}]})",
         "value missing (expected String) at files.Index 0.path"},
        {R"({"files":[{"path":"a.txt"}]})", "missing key `keepHunkOrdinals`"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":["0"]}]})", "expected Int"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":[1.5]}]})", "expected Int"},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":[0,-4]}]})",
         "data corrupted at files.Index 0.keepHunkOrdinals.Index 1: hunk ordinal -4 is "
         "negative."},
        {R"({"files":[{"path":"a.txt","keepHunkOrdinals":[99999999999]}]})", "is too large"},
        {"{\"files\":[{\"path\":\"a\xff.txt\",\"keepHunkOrdinals\":[]}]}", "not valid JSON"},
        {std::string(17, '[') + std::string(17, ']'),
         "data corrupted at <root>: The given data nests deeper than 16 levels."},
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

    // An empty selection is no error and changes nothing either.
    EXPECT_EQ(run(R"({"files":[]})"), (std::pair<int, std::string>{0, ""}));

    const fs::path missing = scratch.path() / "missing.json";
    EXPECT_EQ(runOn({missing.string(), left.string(), right.string()}),
              std::pair(1, "vorda-diff-apply: cannot read the selection " + missing.string() +
                               ": No such file or directory\n"));
    EXPECT_THAT(
        runOn({left.string(), right.string()}),
        ::testing::Pair(2, ::testing::HasSubstr("usage: vorda-diff-apply <selection.json>")));
    EXPECT_EQ(snapshot(right), before);
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
    // Brackets inside strings do not count as nesting.
    const std::string brackets(20, '[');
    EXPECT_EQ(DiffEditorProtocol::decode(R"({"files":[{"path":")" + brackets +
                                         R"(","keepHunkOrdinals":[]}]})"),
              (Selection{{{brackets, {}}}}));
    // Keys in any order, unknown keys ignored.
    EXPECT_EQ(DiffEditorProtocol::decode(
                  R"({"extra":1,"files":[{"path":"x","keepHunkOrdinals":[3],"more":null}]})"),
              (Selection{{{"x", {3}}}}));

    EXPECT_THROW(DiffEditorProtocol::encode(Selection{{{"bad\xff", {}}}}), std::invalid_argument);
}

// ---------------------------------------------------------------------------
// Session preparation

TEST(DiffApplySession, EachSessionWritesItsSelectionAndABridgeToTheHelperInItsOwnFolder) {
    const TempDir helperFolder{"it's here"};
    // A private TMPDIR, so that the folders seen are this test's own.
    const TempDir ownTemp{"vorda-session-temp"};
    testing::ScopedEnvironment temp{"TMPDIR"};
    temp.set(ownTemp.string());
    const auto sessionFolders = [&] {
        return std::vector<fs::path>(fs::directory_iterator(ownTemp.path()), {});
    };
    // A stand-in helper under a path with a single quote and a blank, which
    // prints the arguments it gets, one per line.
    make(helperFolder.path(), "vorda-diff-apply", "file 755 #!/bin/sh\nprintf '%s\\n' \"$@\"\n");
    const std::string helper = (helperFolder.path() / "vorda-diff-apply").string();
    const Selection selection{{{"a.txt", {0, 2}}, {"b.txt", {}}}};
    const auto session = DiffEditorProtocol::prepare({"squash", "--from", "@"}, selection, helper);

    const auto folders = sessionFolders();
    ASSERT_EQ(folders.size(), 1U);
    const fs::path& folder = folders[0];
    const std::string name = folder.filename().string();
    EXPECT_TRUE(name.starts_with("Vorda-diff-") && isValidUuid(name.substr(11))) << name;
    const fs::path selectionFile = folder / "selection.json";
    const fs::path script = folder / "bridge.sh";
    EXPECT_EQ(DiffEditorProtocol::decode(readText(selectionFile)), selection);
    EXPECT_EQ(readText(script), "#!/bin/sh\nexec " + DiffEditorProtocol::shellQuoted(helper) +
                                    " '" + selectionFile.string() + "' \"$1\" \"$2\"");
    EXPECT_EQ(DiffEditorProtocol::shellQuoted("it's"), "'it'\\''s'");
    EXPECT_EQ(fs::status(script).permissions(), fs::perms(0755));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 2)
        << "no temporary file is left beside the script";
    EXPECT_EQ(
        session.toolArgs,
        (std::vector<std::string>{
            "squash", "--from", "@", "--config", "merge-tools.Vorda.program=" + script.string(),
            "--config", R"(merge-tools.Vorda.edit-args=["$left", "$right"])", "--tool", "Vorda"}));

    // The script hands its arguments to the helper intact.
    const auto result = ProcessExecutor::execute(
        {script.string(), "/tmp/left side", "/tmp/right 'side'"}, std::nullopt, "test", "bridge");
    EXPECT_EQ(std::pair(result.exitCode, result.stdout),
              std::pair(0, selectionFile.string() + "\n/tmp/left side\n/tmp/right 'side'\n"));

    const auto second = DiffEditorProtocol::prepare({}, selection, helper);
    EXPECT_EQ(sessionFolders().size(), 2U);
    session.cleanup();
    EXPECT_FALSE(fs::exists(folder));
    session.cleanup();  // a second time is harmless
    second.cleanup();
    EXPECT_TRUE(sessionFolders().empty());

    // A path that cannot be written as JSON fails the selection file after
    // the folder exists: the folder stays.
    EXPECT_THROW(DiffEditorProtocol::prepare({}, Selection{{{"bad\xff", {}}}}, helper),
                 std::invalid_argument);
    ASSERT_EQ(sessionFolders().size(), 1U);
    EXPECT_FALSE(fs::exists(sessionFolders()[0] / "bridge.sh"));

    // No temporary folder at all: nothing is made.
    temp.set((ownTemp.path() / "not-there").string());
    EXPECT_THROW(DiffEditorProtocol::prepare({}, selection, helper), fs::filesystem_error);
    EXPECT_EQ(sessionFolders().size(), 1U);

    // A temporary folder that refuses new folders: the error names the path.
    if (!fs::is_directory("/proc/self")) {
        GTEST_SKIP() << "no /proc to refuse a folder";
    }
    temp.set("/proc");
    EXPECT_THAT(
        [&] { DiffEditorProtocol::prepare({}, selection, helper); },
        ::testing::ThrowsMessage<fs::filesystem_error>(::testing::HasSubstr("/proc/Vorda-diff-")));
}

}  // namespace
}  // namespace vorda
