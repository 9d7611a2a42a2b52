#pragma once

// A real window on a real repository, for driving sheets through their own
// controls; pictures of each state go to the build folder's
// test-output/screenshots.
#include <QApplication>
#include <QDir>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <algorithm>
#include <functional>

#include <gtest/gtest.h>

#include "app/board/ContentView.h"
#include "app/board/SelectionStore.h"
#include "app/column/BookmarkColumn.h"
#include "app/sheets/SheetDialog.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/RepoWindow.h"
#include "support/ScriptedGh.h"
#include "support/TestRepo.h"

namespace vorda::testing {

inline bool settles(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 30000);
}

inline bool enabled(const QWidget* widget) {
    return widget != nullptr && widget->isEnabled();
}

inline bool visible(const QWidget* widget) {
    return widget != nullptr && widget->isVisible();
}

inline bool contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

class SheetWindowTest : public ::testing::Test {
  protected:
    void TearDown() override { delete window_; }

    /// Opens a window on the repository drawn so far and waits for its board.
    void openWindow() {
        window_ = new RepoWindow(QString::fromStdString(repo_.root()), nullptr, {});
        window_->resize(1400, 800);
        window_->show();
        ASSERT_TRUE(
            settles([&] { return board().repoState() != nullptr && !board().isLoading(); }));
        ASSERT_FALSE(board().errorMessage().has_value()) << *board().errorMessage();
    }

    RepoViewModel& viewModel() const { return *window_->viewModel(); }
    const BoardModel& board() const { return window_->viewModel()->board(); }

    Bookmark bookmark(const std::string& name) const {
        return board().repoState()->bookmarks.at(name);
    }

    /// Puts `name` on the board and selects its lane, as a click would.
    void pinAndSelect(const std::string& name) {
        viewModel().send(RepoCommand::TogglePinned{name});
        ASSERT_TRUE(settles([&] { return window_->contentView()->laneColumn(name) != nullptr; }));
        Q_EMIT window_->contentView()->laneColumn(name)->columnClicked();
        ASSERT_EQ(window_->selection()->selectedBookmarkName(), name);
    }

    /// The open sheet of type `Sheet`, once it is on screen.
    template <typename Sheet>
    Sheet* openedSheet() const {
        Sheet* sheet = nullptr;
        settles([&] {
            sheet = window_->findChild<Sheet*>();
            return sheet != nullptr && sheet->isVisible();
        });
        return sheet;
    }

    /// Saves the sheet's picture, then presses its confirming button and
    /// waits until it has gone.
    void saveAndConfirm(SheetDialog* sheet, const std::string& name) const {
        saveAndPress(sheet, sheet->confirmButton(), name);
    }
    static void save(QWidget* sheet, const std::string& name) {
        QApplication::processEvents();
        const QString folder = QStringLiteral(VORDA_TEST_OUTPUT_DIR "/screenshots");
        QDir().mkpath(folder);
        const QString path = folder + "/" + QString::fromStdString(name) + ".png";
        EXPECT_TRUE(sheet->grab().save(path, "PNG")) << path.toStdString();
    }
    void saveAndPress(QDialog* sheet, QPushButton* button, const std::string& name) const {
        save(sheet, name);
        ASSERT_TRUE(button->isEnabled()) << name;
        QTest::mouseClick(button, Qt::LeftButton);
        const QPointer<QDialog> closing(sheet);
        ASSERT_TRUE(settles([&] { return !visible(closing.data()); })) << name;
    }

    /// Waits until the last command has finished and left no error.
    void settled() const {
        ASSERT_TRUE(settles([&] { return !viewModel().activity().isMutating(); }));
        ASSERT_FALSE(viewModel().activity().mutationError().has_value())
            << *viewModel().activity().mutationError();
    }

    testing::ScriptedGh gh_;
    testing::TestRepo repo_;
    RepoWindow* window_ = nullptr;
};

}  // namespace vorda::testing
