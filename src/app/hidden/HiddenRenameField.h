#pragma once

#include <QLineEdit>

namespace vorda {

/// The field of the hidden panel's inline rename. It only reports how the
/// editing ends; the panel's model decides what that means. Return asks to
/// commit, and so does moving the focus away by mouse or Tab; Escape asks
/// to cancel. Both keys stay in the field: the board's Escape shortcut and
/// the list's Return never see them.
class HiddenRenameField : public QLineEdit {
    Q_OBJECT

  public:
    explicit HiddenRenameField(QWidget* parent = nullptr);

  Q_SIGNALS:
    void commitRequested();
    void cancelRequested();

  protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
};

}  // namespace vorda
