#include "app/start/WindowFrameSaver.h"

#include <QSettings>
#include <QWidget>
#include <memory>

#include <gtest/gtest.h>

#include "app/start/StartTestSupport.h"
#include "app/start/WindowFramesStore.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::qpath;
using testing::settleEvents;
using testing::TempDir;

class WindowFrameSaverTest : public ::testing::Test {
  protected:
    std::optional<QRectF> stored() { return WindowFramesStore::frame(path_, settings_); }

    TempDir folder_;
    QSettings settings_{qpath(folder_.path() / "settings.ini"), QSettings::IniFormat};
    const QString path_ = QStringLiteral("/home/me/repo");
    std::unique_ptr<QWidget> window_ = std::make_unique<QWidget>();
};

TEST_F(WindowFrameSaverTest, ShowingRestoresTheStoredFrame) {
    WindowFramesStore::save(QRectF(40, 50, 420, 310), path_, settings_);
    window_->resize(200, 100);
    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    EXPECT_FALSE(saver.isRestored());

    window_->show();
    settleEvents();
    EXPECT_TRUE(saver.isRestored());
    EXPECT_EQ(window_->geometry(), QRect(40, 50, 420, 310));
}

TEST_F(WindowFrameSaverTest, AMoveBeforeTheRestorationSavesNothing) {
    window_->setGeometry(10, 10, 300, 200);
    window_->show();
    settleEvents();

    // Attached to a visible window, the restoration waits for the event loop.
    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    window_->move(70, 80);
    window_->resize(320, 220);
    EXPECT_FALSE(saver.isRestored());
    EXPECT_FALSE(stored().has_value());

    settleEvents();
    EXPECT_TRUE(saver.isRestored());
    const QRect beforeMove = window_->geometry();
    window_->move(90, 100);
    settleEvents();
    ASSERT_TRUE(stored().has_value());
    EXPECT_NE(window_->geometry(), beforeMove);
    EXPECT_EQ(stored()->toRect(), window_->geometry());
}

TEST_F(WindowFrameSaverTest, TheRestorationOfAVisibleWindowAppliesTheStoredFrame) {
    WindowFramesStore::save(QRectF(60, 70, 500, 400), path_, settings_);
    window_->setGeometry(10, 10, 300, 200);
    window_->show();
    settleEvents();

    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    window_->move(20, 20);
    // The early move did not overwrite the stored frame.
    EXPECT_EQ(stored(), QRectF(60, 70, 500, 400));
    settleEvents();
    EXPECT_EQ(window_->geometry(), QRect(60, 70, 500, 400));
}

TEST_F(WindowFrameSaverTest, LaterMovesAndResizesSaveTheFrame) {
    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    window_->setGeometry(15, 25, 333, 222);
    window_->show();
    settleEvents();
    EXPECT_TRUE(saver.isRestored());

    window_->resize(350, 240);
    settleEvents();
    EXPECT_EQ(stored(), QRectF(window_->geometry()));
    EXPECT_EQ(stored()->size().toSize(), QSize(350, 240));
}

TEST_F(WindowFrameSaverTest, RestorationRunsOncePerAttachment) {
    WindowFramesStore::save(QRectF(40, 50, 420, 310), path_, settings_);
    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    window_->show();
    settleEvents();
    window_->setGeometry(100, 110, 300, 200);
    window_->hide();
    window_->show();
    settleEvents();
    EXPECT_EQ(window_->geometry(), QRect(100, 110, 300, 200));

    // Attaching the same window again does nothing; another window restarts.
    saver.attach(window_.get());
    EXPECT_TRUE(saver.isRestored());
    QWidget other;
    saver.attach(&other);
    EXPECT_FALSE(saver.isRestored());
    EXPECT_EQ(saver.window(), &other);
    other.show();
    settleEvents();
    EXPECT_EQ(other.geometry(), QRect(100, 110, 300, 200));
}

}  // namespace
}  // namespace vorda
