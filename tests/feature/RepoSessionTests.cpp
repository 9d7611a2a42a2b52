// The session's rules on real repositories: which read wins the cache, the
// debounce, degraded secondary facts, the keep-newest stream, and the weak
// hold of its threads. The cached path of settings-only changes is checked
// through the dispatch.

#include "feature/session/RepoSession.h"

#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "support/ManualSessionClock.h"
#include "support/ScopedEnvironment.h"
#include "support/TestRepo.h"
#include "support/TestTools.h"

namespace vorda {
namespace {

using testing::ManualSessionClock;
using testing::ScopedEnvironment;
using testing::TestRepo;

// Puts the holding jj wrapper first on PATH for the test's lifetime.
class HeldJJ {
  public:
    HeldJJ() {
        realJJ_.set(testing::realJJ());
        holdDir_.set(dir_.path().string());
        path_.prependPath(testing::toolFolder("held-jj"));
    }
    void touch(const std::string& name) const { std::ofstream(dir_.path() / name) << ""; }
    bool exists(const std::string& name) const {
        return std::filesystem::exists(dir_.path() / name);
    }

  private:
    testing::TempDir dir_;
    ScopedEnvironment realJJ_{"VORDA_REAL_JJ"};
    ScopedEnvironment holdDir_{"VORDA_HOLD_DIR"};
    ScopedEnvironment path_{"PATH"};
};

void waitFor(const std::function<bool()>& condition) {
    while (!condition()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

TEST(RepoSession, TheNewestStartedReadWinsTheCacheAndOnlyTheRepositoryStateFailsARead) {
    TestRepo repo;
    repo.commit("one", {{"a", "1"}});
    const HeldJJ held;
    const auto session = RepoSession::open(repo.root());

    held.touch("hold");
    auto first = std::async(std::launch::async, [&] { return session->readSnapshot(); });
    waitFor([&] { return held.exists("answer"); });  // the first read has read
    repo.commit("two", {{"a", "2"}});
    const auto second = session->readSnapshot();
    held.touch("release");
    const auto stale = first.get();
    EXPECT_EQ(session->snapshotReadGeneration(), 2U);
    EXPECT_EQ(session->lastSnapshot(), second);
    // Each caller got its own read: the stale one never saw commit "two".
    EXPECT_EQ(stale->repoState.commits.size() + 1, second->repoState.commits.size());

    // A secondary fact that fails is left absent; a clean working copy parses
    // no diff, whatever jj diff printed.
    EXPECT_TRUE(second->trunkCommitID.has_value());
    held.touch("fail-trunk");
    const auto degraded = session->readSnapshot();
    EXPECT_FALSE(degraded->trunkCommitID.has_value());
    EXPECT_EQ(degraded->repoState, second->repoState);
    EXPECT_FALSE(degraded->workingCopyDiff.has_value());

    repo.writeFile("b", "changed\n");
    repo.jj({"debug", "snapshot"});
    const auto dirty = session->readSnapshot();
    ASSERT_TRUE(dirty->workingCopyDiff.has_value());
    EXPECT_EQ(dirty->workingCopyDiff->files.size(), 1U);

    std::filesystem::remove_all(std::filesystem::path(repo.root()) / ".jj");
    EXPECT_THROW(session->readSnapshot(), JJError);
    EXPECT_EQ(session->lastSnapshot(), dirty);
}

TEST(RepoSession, RequestsInABurstMakeOneReadHalfASecondAfterTheLast) {
    TestRepo repo;
    const auto clock = std::make_shared<ManualSessionClock>();
    const auto session = RepoSession::make(
        repo.root(),
        {std::make_unique<JJClient>(repo.root()), std::make_unique<GitHubClient>(repo.root()),
         std::make_unique<BookmarkSettingsStore>(repo.root()), nullptr,
         std::make_unique<JJFileWatcher>(repo.root()), clock});

    session->requestRefresh();
    clock->awaitSleeper();
    for (int step = 0; step < 20; ++step) {  // every 100 ms for 2 seconds
        clock->advance(std::chrono::milliseconds(100));
        session->requestRefresh();
    }
    clock->advance(std::chrono::milliseconds(499));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));  // give a faulty read a chance
    EXPECT_EQ(session->snapshotReadGeneration(), 0U);

    clock->advance(std::chrono::milliseconds(1));
    const auto yielded = session->snapshots().next();
    ASSERT_TRUE(yielded.has_value());
    EXPECT_EQ(session->snapshotReadGeneration(), 1U);
    EXPECT_EQ(*yielded, session->lastSnapshot());
}

TEST(RepoSession, ALaggingConsumerSeesOnlyTheNewestSnapshot) {
    SnapshotStream stream;
    const auto newest = std::make_shared<const RepoSnapshot>();
    stream.yield(std::make_shared<const RepoSnapshot>());
    stream.yield(std::make_shared<const RepoSnapshot>());
    stream.yield(newest);
    EXPECT_EQ(stream.next(), newest);
    std::stop_source stop;
    auto waiting = std::async(std::launch::async, [&] { return stream.next(stop.get_token()); });
    stop.request_stop();
    EXPECT_FALSE(waiting.get().has_value());
    stream.finish();
    stream.yield(newest);  // ignored once finished
    EXPECT_FALSE(stream.next().has_value());
}

// The refresh after a change from the command line goes through vorda-cli's
// watch in the vorda-cli tests.
TEST(RepoSession, APendingRefreshAndARunningWatcherLetTheSessionGo) {
    TestRepo repo;
    auto session = RepoSession::open(repo.root());
    session->bootstrap();
    session->startWatching();
    repo.commit("from the command line", {{"cli", "1"}});
    // A read already running holds the session until it ends.
    session->requestRefresh();
    const std::weak_ptr<RepoSession> weak = session;
    session.reset();
    waitFor([&] { return weak.expired(); });
}

}  // namespace
}  // namespace vorda
