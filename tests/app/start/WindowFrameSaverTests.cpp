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

TEST_F(WindowFrameSaverTest, RestoresOncePerAttachmentThenSavesEveryChange) {
    WindowFramesStore::save(QRectF(40, 50, 420, 310), path_, settings_);
    window_->resize(200, 100);
    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    EXPECT_FALSE(saver.isRestored());
    window_->show();
    settleEvents();
    EXPECT_TRUE(saver.isRestored());
    EXPECT_EQ(window_->geometry(), QRect(40, 50, 420, 310));

    // Later moves and resizes are saved; showing again restores nothing.
    window_->setGeometry(100, 110, 300, 200);
    settleEvents();
    EXPECT_EQ(stored(), QRectF(window_->geometry()));
    EXPECT_EQ(stored()->size().toSize(), QSize(300, 200));
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

TEST_F(WindowFrameSaverTest, AVisibleWindowIsRestoredOnTheEventLoopAndNothingIsSavedBefore) {
    WindowFramesStore::save(QRectF(60, 70, 500, 400), path_, settings_);
    window_->setGeometry(10, 10, 300, 200);
    window_->show();
    settleEvents();

    WindowFrameSaver saver(path_, settings_);
    saver.attach(window_.get());
    window_->move(20, 20);
    window_->resize(320, 220);
    EXPECT_FALSE(saver.isRestored());
    EXPECT_EQ(stored(), QRectF(60, 70, 500, 400));  // the early move overwrote nothing
    settleEvents();
    EXPECT_TRUE(saver.isRestored());
    EXPECT_EQ(window_->geometry(), QRect(60, 70, 500, 400));

    window_->move(90, 100);
    settleEvents();
    EXPECT_NE(window_->geometry(), QRect(60, 70, 500, 400));
    EXPECT_EQ(stored()->toRect(), window_->geometry());
}

}  // namespace
}  // namespace vorda
