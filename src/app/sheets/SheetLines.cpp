#include "app/sheets/SheetLines.h"

#include <QLabel>
#include <QStringList>
#include <QVBoxLayout>

namespace vorda {

QLabel* addTextLine(QVBoxLayout* layout, const QString& text, const QString& objectName) {
    auto* label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    if (!objectName.isEmpty()) {
        label->setObjectName(objectName);
    }
    layout->addWidget(label);
    return label;
}

QLabel* addHeadingLine(QVBoxLayout* layout, const QString& text) {
    auto* label = addTextLine(layout, text);
    auto font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

QLabel* addNoteLine(QVBoxLayout* layout, const QString& text) {
    auto* label = addTextLine(layout, text);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

QString sheetText(const std::string& text) {
    return QString::fromStdString(text);
}

QString shortID(const std::string& id) {
    return QString::fromStdString(id.substr(0, 12));
}

QString listText(const std::vector<std::string>& items) {
    if (items.empty()) {
        return QStringLiteral("none");
    }
    QStringList parts;
    for (const auto& item : items) {
        parts << sheetText(item);
    }
    return parts.join(QStringLiteral(", "));
}

QString commitText(const std::string& id, const JJCommit& commit) {
    const auto summary = commit.summary();
    return sheetText(id) + QStringLiteral("  ") +
           (summary.empty() ? QStringLiteral("(no description)") : sheetText(summary));
}

QString commitText(const JJCommit& commit) {
    return commitText(commit.changeID.substr(0, 8), commit);
}

QString workspacesText(const std::vector<JJWorkspace>& workspaces) {
    std::vector<std::string> names;
    names.reserve(workspaces.size());
    for (const auto& workspace : workspaces) {
        names.push_back(workspace.name);
    }
    return listText(names);
}

QString plural(std::size_t count, const QString& one, const QString& many) {
    const QString noun = count == 1 ? one : (many.isEmpty() ? one + QStringLiteral("s") : many);
    return QString::number(count) + QStringLiteral(" ") + noun;
}

}  // namespace vorda
