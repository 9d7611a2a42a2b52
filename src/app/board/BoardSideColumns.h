#pragma once

#include <QFrame>

namespace vorda {

/// The last column of the row: where a new bookmark starts.
class NewPlaceholderColumn : public QFrame {
    Q_OBJECT

  public:
    explicit NewPlaceholderColumn(QWidget* parent = nullptr);

  Q_SIGNALS:
    void newBookmarkRequested();
};

}  // namespace vorda
