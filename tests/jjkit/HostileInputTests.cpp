// Names, paths and texts that jj could read as patterns, escapes or options
// reach it as exactly what they are: each operation changes only what it
// names, checked with jj beside decoys that a pattern would also match.

#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "jjkit/client/JJClient.h"
#include "jjkit/support/Text.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using testing::TestRepo;
using Targets = std::map<std::string, std::string>;

// Git can hold some of these; those it cannot may fail to push, but never
// push or change anything else.
const std::vector<std::string> awkwardNames = {"feat*", "we?rd", R"(back\slash)", "[ab]", R"(a"b)",
                                               "x y",   "-r",    "nl\nx"};

class HostileInput : public ::testing::Test {
  protected:
    // Decoys that a pattern made of an awkward name would also match.
    void SetUp() override {
        repo.draw(R"(
          origin
          T <- root "base" README=hello [main feat-a weird backslash a b x]
          push main
          S <- T "spare"
        )");
        base = repo.id("T");
    }

    // Every local bookmark (or, with `remote`, every bookmark on it) with its target.
    Targets bookmarks(const std::string& remote = "") const {
        const auto listed = repo.jj({"bookmark", "list", "--all", "-T",
                                     R"T(if(normal_target, "[" ++ json(name) ++ "," ++ json(remote)
                                         ++ "," ++ json(normal_target.commit_id()) ++ "]\n"))T"});
        const auto wanted = remote.empty() ? nlohmann::json() : nlohmann::json(remote);
        Targets targets;
        for (const auto line : text::splitNonEmpty(listed, '\n')) {
            const auto row = nlohmann::json::parse(line);
            if (row[1] == wanted) {
                targets[row[0].get<std::string>()] = row[2].get<std::string>();
            }
        }
        return targets;
    }

    TestRepo repo;
    JJClient client{repo.root()};
    std::string base;
};

TEST_F(HostileInput, EachBookmarkOperationChangesOnlyTheNamedBookmark) {
    const auto baseID = repo.commitID(base);
    const auto spareID = repo.commitID(repo.id("S"));
    for (const auto& name : awkwardNames) {
        SCOPED_TRACE(name);
        client.createBookmark(name, base);
        auto expected = bookmarks();
        ASSERT_EQ(expected[name], baseID);

        client.moveBookmark(name, spareID, false);
        expected[name] = spareID;
        EXPECT_EQ(bookmarks(), expected) << "move";

        client.renameBookmark(name, name + "~2");
        expected.erase(name);
        expected[name + "~2"] = spareID;
        EXPECT_EQ(bookmarks(), expected) << "rename";
        client.renameBookmark(name + "~2", name);
        expected.erase(name + "~2");
        expected[name] = spareID;

        const auto remoteBefore = bookmarks("origin");
        try {
            client.gitPush(name, std::nullopt);
            EXPECT_EQ(bookmarks("origin").at(name), spareID) << "a push that succeeds pushes";
        } catch (const JJError&) {
            // Git cannot hold every name jj can.
        }
        auto remoteAfter = bookmarks("origin");
        remoteAfter.erase(name);
        EXPECT_EQ(remoteAfter, remoteBefore) << "push reached another bookmark";

        client.deleteBookmark(name);
        expected.erase(name);
        EXPECT_EQ(bookmarks(), expected) << "delete";

        // Abandoning a bookmark abandons its own commit only.
        if (name == "feat*" || name == "we?rd") {
            repo.newChange({base});
            const auto own = repo.commit("own of " + name);
            client.createBookmark(name, own);
            client.abandonBookmark(name);
            EXPECT_EQ(bookmarks(), expected) << "abandon";
            EXPECT_EQ(repo.jj({"log", "--no-graph", "-r", "change_id(" + own + ")", "-T", "'x'"}),
                      "");
        }
    }
}

TEST_F(HostileInput, PathsNameExactlyTheirFileAndTextsThatLookLikeOptionsAreText) {
    // A backslash then "n" is not a line feed; the decoy with a real line
    // feed must stay where it is.
    const std::vector<std::string> paths = {
        R"(a\nb.txt)", R"(back\slash.txt)", R"(end\)", R"(q"uote.txt)", "-r", "x y ü.txt"};
    const std::string decoy = "a\nb.txt";
    repo.newChange({base});
    const auto parent = repo.commit("parent");
    for (const auto& path : paths) {
        repo.writeFile(path, "moved");
    }
    repo.writeFile(decoy, "stays");
    repo.jj({"debug", "snapshot"});
    for (const auto& path : paths) {
        SCOPED_TRACE(path);
        client.moveFiles({path}, parent);
        EXPECT_THAT(repo.jj({"file", "list", "-r", parent}),
                    AllOf(HasSubstr(path + "\n"), Not(HasSubstr(decoy + "\n"))));
    }
    client.pullFiles({paths.front()}, parent);
    EXPECT_THAT(repo.jj({"file", "list", "-r", parent}), Not(HasSubstr(paths.front() + "\n")));

    for (const std::string message :
         {"- fix typo\n- update docs", "-r", "--help", "--message=x", R"(back\slash "q" ü)"}) {
        client.describe(parent, message);
        EXPECT_EQ(repo.description(parent), message);
    }
    EXPECT_EQ(repo.description(client.createEmptyCommit(base, "-r")), "-r");
}

}  // namespace
}  // namespace vorda
