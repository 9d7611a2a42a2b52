#pragma once

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <string>
#include <vector>

namespace vorda::apptest {

/// A menu as it reads, one line per entry: separators "-"; otherwise
/// "[x] " or "[ ] " before a checkable entry, its text, " <shortcut>" when
/// it has one and " (off)" when disabled. A submenu's entries follow their
/// entry, prefixed "Title > ".
inline std::vector<std::string> menuLines(const QMenu& menu, const std::string& prefix = {}) {
    std::vector<std::string> lines;
    for (const auto* action : menu.actions()) {
        if (action->isSeparator()) {
            lines.push_back(prefix + "-");
            continue;
        }
        std::string line = prefix;
        if (action->isCheckable()) {
            line += action->isChecked() ? "[x] " : "[ ] ";
        }
        line += action->text().toStdString();
        if (!action->shortcut().isEmpty()) {
            line += " <" + action->shortcut().toString().toStdString() + ">";
        }
        lines.push_back(line + (action->isEnabled() ? "" : " (off)"));
        if (const auto* submenu = action->menu()) {
            const auto nested = menuLines(*submenu, prefix + action->text().toStdString() + " > ");
            lines.insert(lines.end(), nested.begin(), nested.end());
        }
    }
    return lines;
}

/// The entry titled `title` (at any depth), or null.
inline QAction* findEntry(const QMenu& menu, const QString& title) {
    for (auto* action : menu.actions()) {
        if (action->text() == title) {
            return action;
        }
        if (auto* submenu = action->menu()) {
            if (auto* found = findEntry(*submenu, title)) {
                return found;
            }
        }
    }
    return nullptr;
}

}  // namespace vorda::apptest
