#include "app/sheets/HunkChoiceTree.h"

#include <QSignalBlocker>
#include <algorithm>

namespace vorda {
namespace {

/// Marks the rows that are hunks; the "(no textual hunks)" note is not one.
constexpr int isHunkRole = Qt::UserRole + 1;

bool isHunk(const QTreeWidgetItem* item) {
    return item->data(0, isHunkRole).toBool();
}

bool isChecked(const QTreeWidgetItem* item) {
    return item != nullptr && item->checkState(0) == Qt::Checked;
}

bool hasHunks(const QTreeWidgetItem* file) {
    const auto* first = file->child(0);
    return first != nullptr && isHunk(first);
}

/// The hunk's line range and its first changed line, so hunks can be told
/// apart without opening them.
QString hunkLabel(const DiffHunk& hunk) {
    const auto changed = std::find_if(hunk.lines.begin(), hunk.lines.end(), [](const auto& line) {
        return line.kind != DiffLine::Kind::context;
    });
    QString label = QStringLiteral("Lines %1–%2")
                        .arg(hunk.newStart)
                        .arg(hunk.newStart + std::max<std::int64_t>(hunk.newCount, 1) - 1);
    if (changed != hunk.lines.end()) {
        label += QStringLiteral("   ") + (changed->kind == DiffLine::Kind::added ? '+' : '-') +
                 QString::fromStdString(changed->text).trimmed().left(60);
    }
    return label;
}

/// The whole hunk, as a diff shows it.
QString hunkText(const DiffHunk& hunk) {
    QString text = QString::fromStdString(hunk.header);
    for (const auto& line : hunk.lines) {
        const char marker = line.kind == DiffLine::Kind::added     ? '+'
                            : line.kind == DiffLine::Kind::removed ? '-'
                                                                   : ' ';
        text += '\n' + QString(QChar::fromLatin1(marker)) + QString::fromStdString(line.text);
    }
    return text;
}

}  // namespace

HunkChoiceTree::HunkChoiceTree(const UnifiedDiff& diff, bool checked, QWidget* parent)
    : QTreeWidget(parent) {
    setHeaderHidden(true);
    setUniformRowHeights(true);
    const auto state = checked ? Qt::Checked : Qt::Unchecked;
    for (const auto& file : diff.files) {
        auto* item = new QTreeWidgetItem(this, {QString::fromStdString(file.path)});
        item->setToolTip(0, item->text(0));
        for (const auto& hunk : file.hunks) {
            auto* child = new QTreeWidgetItem(item, {hunkLabel(hunk)});
            child->setToolTip(0, hunkText(hunk));
            child->setCheckState(0, state);
            child->setData(0, isHunkRole, true);
        }
        if (file.hunks.empty()) {
            auto* none = new QTreeWidgetItem(item, {QStringLiteral("(no textual hunks)")});
            none->setFlags(none->flags() & ~Qt::ItemIsUserCheckable);
            none->setDisabled(true);
        } else {
            item->setFlags(item->flags() | Qt::ItemIsAutoTristate);
        }
        item->setCheckState(0, state);
    }
    expandAll();
    connect(this, &QTreeWidget::itemChanged, this, &HunkChoiceTree::choiceChanged);
}

void HunkChoiceTree::setHunksShown(bool shown) {
    hunksShown_ = shown;
    const QSignalBlocker quiet(this);
    for (int index = 0; index < topLevelItemCount(); ++index) {
        auto* file = topLevelItem(index);
        if (!shown && file != nullptr && file->checkState(0) == Qt::PartiallyChecked) {
            file->setCheckState(0, Qt::Checked);
        }
        for (int row = 0; row < file->childCount(); ++row) {
            file->child(row)->setHidden(!shown);
        }
    }
}

HunkChoiceTree::Counts HunkChoiceTree::counts() const {
    Counts counts;
    const auto add = [&](const QTreeWidgetItem* item) {
        (isChecked(item) ? counts.checked : counts.unchecked) += 1;
    };
    for (int index = 0; index < topLevelItemCount(); ++index) {
        const auto* file = topLevelItem(index);
        if (!hunksShown_ || !hasHunks(file)) {
            add(file);
            continue;
        }
        for (int row = 0; row < file->childCount(); ++row) {
            add(file->child(row));
        }
    }
    return counts;
}

std::vector<std::string> HunkChoiceTree::checkedPaths() const {
    std::vector<std::string> paths;
    for (int index = 0; index < topLevelItemCount(); ++index) {
        const auto* file = topLevelItem(index);
        if (isChecked(file)) {
            paths.push_back(file->text(0).toStdString());
        }
    }
    return paths;
}

DiffEditorProtocol::HunkSelection HunkChoiceTree::checkedHunks() const {
    DiffEditorProtocol::HunkSelection selection;
    for (int index = 0; index < topLevelItemCount(); ++index) {
        const auto* file = topLevelItem(index);
        DiffEditorProtocol::FileKeep keep{file->text(0).toStdString(), {}};
        if (!hasHunks(file)) {
            if (!isChecked(file)) {
                selection.files.push_back(std::move(keep));
            }
            continue;
        }
        for (int ordinal = 0; ordinal < file->childCount(); ++ordinal) {
            if (isChecked(file->child(ordinal))) {
                keep.keepHunkOrdinals.push_back(ordinal);
            }
        }
        selection.files.push_back(std::move(keep));
    }
    return selection;
}

}  // namespace vorda
