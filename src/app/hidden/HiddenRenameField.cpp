#include "app/hidden/HiddenRenameField.h"

#include <QFocusEvent>
#include <QKeyEvent>

namespace vorda {

namespace {

bool endsEditing(const QKeyEvent* event) {
    const int key = event->key();
    return key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape;
}

}  // namespace

HiddenRenameField::HiddenRenameField(QWidget* parent) : QLineEdit(parent) {
    setObjectName(QStringLiteral("hidden-rename"));
    hide();
}

bool HiddenRenameField::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride && endsEditing(static_cast<QKeyEvent*>(event))) {
        event->accept();
        return true;
    }
    return QLineEdit::event(event);
}

void HiddenRenameField::keyPressEvent(QKeyEvent* event) {
    if (!endsEditing(event)) {
        QLineEdit::keyPressEvent(event);
        return;
    }
    event->accept();
    if (event->key() == Qt::Key_Escape) {
        Q_EMIT cancelRequested();
    } else {
        Q_EMIT commitRequested();
    }
}

void HiddenRenameField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    const auto reason = event->reason();
    if (isVisible() && (reason == Qt::MouseFocusReason || reason == Qt::TabFocusReason ||
                        reason == Qt::BacktabFocusReason)) {
        Q_EMIT commitRequested();
    }
}

}  // namespace vorda
