#pragma once

#include <QFrame>

#include "app/column/BookmarkColumnInput.h"

class QLabel;
class QPushButton;

namespace vorda {

/// The banner of a lane whose work has landed: "PR merged" or "merged into
/// trunk", with "Unpin" while the bookmark is pinned to the board (unpinning
/// is what takes the column away; an unpinned lane has nothing to undo).
class MergedBanner : public QFrame {
    Q_OBJECT

  public:
    explicit MergedBanner(QWidget* parent = nullptr);

    /// Shows or hides the banner by the input's facts.
    void setInput(const BookmarkColumnInput& input);

  Q_SIGNALS:
    void unpinRequested();

  private:
    QLabel* title_;
    QPushButton* unpinButton_;
};

/// The banner of a lane in conflict with other bookmarks: their count,
/// "conflicts with " and their names, and "Resolve".
class ConflictBanner : public QFrame {
    Q_OBJECT

  public:
    explicit ConflictBanner(QWidget* parent = nullptr);

    void setInput(const BookmarkColumnInput& input);

  Q_SIGNALS:
    void resolveRequested();

  private:
    QLabel* count_;
    QLabel* text_;
    QPushButton* resolveButton_;
};

}  // namespace vorda
