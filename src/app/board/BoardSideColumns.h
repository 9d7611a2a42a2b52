#pragma once

#include <QFrame>

class QLabel;
class QListWidget;
class QPlainTextEdit;

namespace vorda {

class BoardModel;
class DiffModel;

/// The diff column: the text of the selection's diff, standing right behind
/// the selected column.
class DiffColumn : public QFrame {
    Q_OBJECT

  public:
    DiffColumn(DiffModel* diff, QWidget* parent = nullptr);

  private:
    void refresh();

    DiffModel* diff_;
    QLabel* status_;
    QPlainTextEdit* text_;
};

/// The column listing what the board does not show: hidden bookmarks,
/// folded one-off lanes and untracked remote bookmarks. Choosing a one-off
/// opens its lane on the board.
class HiddenColumn : public QFrame {
    Q_OBJECT

  public:
    HiddenColumn(BoardModel* board, QWidget* parent = nullptr);
    void refresh();

  private:
    BoardModel* board_;
    QListWidget* list_;
};

/// The last column of the row: where a new bookmark starts.
class NewPlaceholderColumn : public QFrame {
    Q_OBJECT

  public:
    explicit NewPlaceholderColumn(QWidget* parent = nullptr);

  Q_SIGNALS:
    void newBookmarkRequested();
};

}  // namespace vorda
