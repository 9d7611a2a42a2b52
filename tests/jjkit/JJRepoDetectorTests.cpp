#include "jjkit/repo/JJRepoDetector.h"

#include <fstream>

#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "support/Refusal.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

void writeText(const fs::path& path, const std::string& contents) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
}

TEST(JJRepoDetector, FindsTheRootFromAnyPathInsideAndOneStoreForEveryWorkspace) {
    testing::TestRepo repo;
    repo.draw(R"(
      A <- root "base" deep/er/file.txt=x
      workspace second <- A
    )");
    const auto& root = repo.root();
    for (const std::string inside :
         {"", "/", "/deep/er/file.txt", "/deep/./er/../er", "/not/yet/created"}) {
        EXPECT_EQ(JJRepoDetector::findRepoRoot(root + inside), root) << inside;
    }
    const auto store = JJRepoDetector::sharedRepositoryPath(root);
    EXPECT_EQ(store, fs::canonical(fs::path(root) / ".jj" / "repo").string());
    const auto second = repo.scratch() / "second";
    EXPECT_EQ(JJRepoDetector::sharedRepositoryPath(second.string()), store);
    // A symbolic link to the workspace resolves to the same store too.
    fs::create_directory_symlink(second, repo.scratch() / "link");
    EXPECT_EQ(JJRepoDetector::sharedRepositoryPath((repo.scratch() / "link").string()), store);
}

TEST(JJRepoDetector, NoRepositoryAboveGivesNothingPointersAreReadAndUnknownStoresRefused) {
    const TempDir folder;
    // The temporary folder itself is not inside any repository; a plain
    // `.jj` file counts.
    fs::create_directories(folder.path() / "a" / "b");
    ASSERT_FALSE(JJRepoDetector::findRepoRoot(folder.string()).has_value());
    EXPECT_FALSE(JJRepoDetector::findRepoRoot((folder.path() / "a" / "b").string()).has_value());
    writeText(folder.path() / "a" / ".jj", "");
    EXPECT_EQ(JJRepoDetector::findRepoRoot((folder.path() / "a" / "b").string()),
              (folder.path() / "a").string());

    const auto store = folder.path() / "main" / ".jj" / "repo";
    fs::create_directories(store / "op_heads");
    fs::create_directories(folder.path() / "bare" / ".jj" / "repo");
    const std::string unrecognized =
        "Unrecognized shared jj repository store; refusing an uncoordinated mutation.";
    // A workspace's `.jj/repo` file (absent: no file at all), and what it names.
    const std::vector<std::pair<std::optional<std::string>, std::string>> cases{
        {"../../main/.jj/repo\n\n", store.string()},
        {store.string() + "  \n", store.string()},
        {std::nullopt, "Cannot locate the shared jj repository store."},
        {" \n\t\n", "Empty jj repository pointer."},
        {"../../bare/.jj/repo", unrecognized},
        {"../../nowhere/.jj/repo", unrecognized}};
    for (std::size_t index = 0; index < cases.size(); ++index) {
        const auto& [pointer, expected] = cases[index];
        const auto workspace = folder.path() / ("ws" + std::to_string(index));
        fs::create_directories(workspace);
        if (pointer) {
            writeText(workspace / ".jj" / "repo", *pointer);
        }
        std::string found;
        const std::string refused = testing::refusal(
            [&] { found = JJRepoDetector::sharedRepositoryPath(workspace.string()); });
        EXPECT_EQ(refused == "no refusal" ? found : refused, expected) << index;
    }
    // A store folder without jj's layout is not trusted either.
    EXPECT_EQ(testing::refusal(
                  [&] { JJRepoDetector::sharedRepositoryPath((folder.path() / "bare").string()); }),
              unrecognized);
}

}  // namespace
}  // namespace vorda
