#pragma once

#include <QPointer>
#include <QWidget>
#include <chrono>
#include <optional>
#include <string>

#include "app/window/ActivityStatusContent.h"

class QLabel;
class QPushButton;
class QTimer;

namespace vorda {

class RepoViewModel;

/// The activity area of a repository window's toolbar: what is running,
/// what failed, a passing notice, or "jj ok" with the working copy. It renders
/// `activityStatusContent` of its view model again whenever one of the
/// fields that decide it changes.
///
/// Two timers of its own: a one-second tick while a fetch runs, so the
/// seconds count up, and the toast's lifetime, after which the toast is
/// cleared through the view model.
class RepoActivityStatusView : public QWidget {
    Q_OBJECT

  public:
    /// How long a toast stays before it is cleared.
    static constexpr std::chrono::milliseconds defaultToastDuration{4000};
    /// The area's fixed width.
    static constexpr int statusWidth = 360;

    explicit RepoActivityStatusView(RepoViewModel* viewModel, QWidget* parent = nullptr);

    /// What is shown now.
    const ActivityStatusContent& content() const { return content_; }
    void setToastDuration(std::chrono::milliseconds duration);

    QLabel* textLabel() const { return text_; }
    QLabel* detailLabel() const { return detail_; }
    QPushButton* button() const { return button_; }

    /// Chooses and shows the content afresh.
    void refresh();

  Q_SIGNALS:
    /// The conflict count was pressed: the window opens its conflict sheet.
    void conflictSheetRequested();

  private:
    /// Shows `content_.text`, cut to the room the area has.
    void showText();
    void buttonPressed();
    /// Starts or stops the two timers for what the activity now holds, then
    /// shows it.
    void activityChanged();

    QPointer<RepoViewModel> viewModel_;
    ActivityStatusContent content_;
    QLabel* text_ = nullptr;
    QLabel* detail_ = nullptr;
    QPushButton* button_ = nullptr;
    QTimer* fetchTick_ = nullptr;
    QTimer* toastTimer_ = nullptr;
    /// The toast the timer runs for; a new one gets its full time.
    std::optional<std::string> shownToast_;
};

}  // namespace vorda
