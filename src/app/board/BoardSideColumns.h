#pragma once

#include <QFrame>

class QLabel;
class QPlainTextEdit;

namespace vorda {

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

/// The last column of the row: where a new bookmark starts.
class NewPlaceholderColumn : public QFrame {
    Q_OBJECT

  public:
    explicit NewPlaceholderColumn(QWidget* parent = nullptr);

  Q_SIGNALS:
    void newBookmarkRequested();
};

}  // namespace vorda
