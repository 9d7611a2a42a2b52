#include "app/column/InlineRenameField.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <utility>

namespace vorda {

InlineRenameField::InlineRenameField(QWidget* parent) : QLineEdit(parent) {
    setObjectName(QStringLiteral("inlineRenameField"));
    hide();
    connect(this, &QLineEdit::returnPressed, this, [this] { finish(true); });
}

void InlineRenameField::begin(const QString& name) {
    name_ = name;
    isEditing_ = true;
    setText(name);
    show();
    raise();
    selectAll();
    setFocus(Qt::OtherFocusReason);
}

std::optional<QString> InlineRenameField::renameTo(const QString& draft, const QString& name) {
    const QString trimmed = draft.trimmed();
    if (trimmed.isEmpty() || trimmed == name) {
        return std::nullopt;
    }
    return trimmed;
}

bool InlineRenameField::event(QEvent* event) {
    // Escape belongs to the field while it edits, not to the board's
    // shortcut that clears the selection.
    if (event->type() == QEvent::ShortcutOverride && isEditing_ &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape) {
        event->accept();
        return true;
    }
    return QLineEdit::event(event);
}

void InlineRenameField::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && isEditing_) {
        event->accept();
        finish(false);
        return;
    }
    QLineEdit::keyPressEvent(event);
}

void InlineRenameField::focusOutEvent(QFocusEvent* event) {
    QLineEdit::focusOutEvent(event);
    // The field's own context menu, or another window coming to the front,
    // does not end the edit.
    if (event->reason() != Qt::PopupFocusReason && event->reason() != Qt::ActiveWindowFocusReason) {
        finish(true);
    }
}

void InlineRenameField::finish(bool commit) {
    if (!isEditing_) {
        return;
    }
    isEditing_ = false;
    const QString oldName = std::exchange(name_, QString());
    const auto newName = commit ? renameTo(text(), oldName) : std::nullopt;
    hide();
    if (newName) {
        Q_EMIT renameRequested(oldName, *newName);
    }
    Q_EMIT ended();
}

}  // namespace vorda
