// When a window reads its repository: once as it opens, then only after a
// real change or when the application comes back to the front.
#include <QApplication>
#include <QTest>

#include <gtest/gtest.h>

#include "sheets/SheetWindowTest.h"

namespace vorda {
namespace {

class WindowReadTest : public testing::SheetWindowTest {
  protected:
    /// Full reads the window's session has started.
    std::uint64_t reads() const { return viewModel().repoSession()->snapshotReadGeneration(); }

    bool shows(const std::string& description) const {
        const auto& commits = board().repoState()->commits;
        return std::any_of(commits.begin(), commits.end(), [&](const auto& entry) {
            return entry.second->description.starts_with(description);
        });
    }

    /// Longer than the refresh debounce and the start of a read.
    static void pause() { QTest::qWait(1500); }
};

TEST_F(WindowReadTest, OpeningReadsOnceAndOnlyAChangeOrAReturnToTheFrontReadsAgain) {
    repo_.draw(R"(
      A <- root "base" a=1
    )");
    openWindow();
    pause();
    // Nothing changed since the opening read: showing and activating the
    // window is no reason to read again, nor is the watcher's arming.
    EXPECT_EQ(reads(), 1U);

    // One operation from a terminal gives one read, which shows it.
    repo_.jj({"describe", "-r", "@", "-m", "described in a terminal"});
    ASSERT_TRUE(testing::settles([&] { return shows("described in a terminal"); }));
    pause();
    EXPECT_EQ(reads(), 2U);

    // Focus passing for a moment is no return; coming back to the
    // application after a while looks again.
    Q_EMIT qApp->applicationStateChanged(Qt::ApplicationInactive);
    Q_EMIT qApp->applicationStateChanged(Qt::ApplicationActive);
    pause();
    EXPECT_EQ(reads(), 2U);
    Q_EMIT qApp->applicationStateChanged(Qt::ApplicationInactive);
    QTest::qWait(600);
    Q_EMIT qApp->applicationStateChanged(Qt::ApplicationActive);
    ASSERT_TRUE(testing::settles([&] { return reads() == 3; }));
    pause();
    EXPECT_EQ(reads(), 3U);
}

}  // namespace
}  // namespace vorda
