#include "jjkit/repo/JJRepoDetector.h"

#include <fstream>

#include <gtest/gtest.h>

#include "jjkit/client/JJError.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;
using testing::TestRepo;

void writeText(const fs::path& path, const std::string& contents) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << contents;
}

std::string refusal(const std::string& workspaceRoot) {
    try {
        JJRepoDetector::sharedRepositoryPath(workspaceRoot);
    } catch (const JJError& error) {
        if (error.as<JJError::UnsafeOperation>() != nullptr) {
            return error.errorDescription();
        }
        return "other error: " + error.errorDescription();
    }
    return "no refusal";
}

TEST(JJRepoDetector, FindsTheRootFromAnyPathInside) {
    TestRepo repo;
    repo.writeFile("deep/er/file.txt", "x");
    const auto& root = repo.root();
    EXPECT_EQ(JJRepoDetector::findRepoRoot(root), root);
    EXPECT_EQ(JJRepoDetector::findRepoRoot(root + "/"), root);
    EXPECT_EQ(JJRepoDetector::findRepoRoot(root + "/deep/er/file.txt"), root);
    EXPECT_EQ(JJRepoDetector::findRepoRoot(root + "/deep/./er/../er"), root);
    EXPECT_EQ(JJRepoDetector::findRepoRoot(root + "/not/yet/created"), root);
}

TEST(JJRepoDetector, NoRepositoryAboveGivesNothingAndAPlainFileCounts) {
    const TempDir folder;
    fs::create_directories(folder.path() / "a" / "b");
    // The temporary folder itself is not inside any repository.
    ASSERT_FALSE(JJRepoDetector::findRepoRoot(folder.string()).has_value());
    EXPECT_FALSE(JJRepoDetector::findRepoRoot((folder.path() / "a" / "b").string()).has_value());

    writeText(folder.path() / "a" / ".jj", "");
    EXPECT_EQ(JJRepoDetector::findRepoRoot((folder.path() / "a" / "b").string()),
              (folder.path() / "a").string());
}

TEST(JJRepoDetector, EveryWorkspaceOfAStoreNamesTheSameStore) {
    TestRepo repo;
    repo.commit("base", {{"a", "1"}});
    const auto second = repo.addWorkspace("second");
    const auto store = JJRepoDetector::sharedRepositoryPath(repo.root());
    EXPECT_EQ(store, fs::canonical(fs::path(repo.root()) / ".jj" / "repo").string());
    EXPECT_EQ(JJRepoDetector::sharedRepositoryPath(second), store);
    // A symbolic link to the workspace resolves to the same store too.
    const auto link = repo.scratch() / "link";
    fs::create_directory_symlink(second, link);
    EXPECT_EQ(JJRepoDetector::sharedRepositoryPath(link.string()), store);
}

TEST(JJRepoDetector, PointerFilesAreReadRelativeToTheirFolder) {
    const TempDir folder;
    const auto store = folder.path() / "main" / ".jj" / "repo";
    fs::create_directories(store / "op_heads");
    const auto workspace = folder.path() / "ws";
    writeText(workspace / ".jj" / "repo", "../../main/.jj/repo\n\n");
    EXPECT_EQ(JJRepoDetector::sharedRepositoryPath(workspace.string()), store.string());

    writeText(workspace / ".jj" / "repo", store.string() + "  \n");
    EXPECT_EQ(JJRepoDetector::sharedRepositoryPath(workspace.string()), store.string());
}

TEST(JJRepoDetector, RefusesStoresItCannotIdentify) {
    const TempDir folder;
    EXPECT_EQ(refusal(folder.string()), "Cannot locate the shared jj repository store.");

    const auto blank = folder.path() / "blank";
    writeText(blank / ".jj" / "repo", " \n\t\n");
    EXPECT_EQ(refusal(blank.string()), "Empty jj repository pointer.");

    const auto bare = folder.path() / "bare";
    fs::create_directories(bare / ".jj" / "repo");
    const std::string unrecognized =
        "Unrecognized shared jj repository store; refusing an uncoordinated mutation.";
    EXPECT_EQ(refusal(bare.string()), unrecognized);

    const auto pointing = folder.path() / "pointing";
    writeText(pointing / ".jj" / "repo", "../../bare/.jj/repo");
    EXPECT_EQ(refusal(pointing.string()), unrecognized);

    const auto dangling = folder.path() / "dangling";
    writeText(dangling / ".jj" / "repo", "../../nowhere/.jj/repo");
    EXPECT_EQ(refusal(dangling.string()), unrecognized);
}

}  // namespace
}  // namespace vorda
