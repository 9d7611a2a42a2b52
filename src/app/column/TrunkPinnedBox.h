#pragma once

#include <QFrame>

#include "app/column/BookmarkColumnInput.h"

class QLabel;
class QPushButton;

namespace vorda {

/// What a trunk column shows in place of a lane: the "PINNED" mark, the
/// remote bookmark and its commit, the trunk arrow, the history toggle, the
/// rebase of all local stacks and when the remote was last fetched.
class TrunkPinnedBox : public QFrame {
    Q_OBJECT

  public:
    explicit TrunkPinnedBox(QWidget* parent = nullptr);

    void setInput(const BookmarkColumnInput& input);

  Q_SIGNALS:
    void toggleHistoryRequested();
    void advanceTrunkRequested();

  private:
    QLabel* summary_;
    QPushButton* historyButton_;
    QPushButton* advanceButton_;
    QLabel* fetched_;
};

}  // namespace vorda
