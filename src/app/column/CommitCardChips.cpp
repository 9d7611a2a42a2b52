#include "app/column/CommitCardChips.h"

#include "app/column/ColumnRules.h"

namespace vorda {

namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

CardChip bookmarkChip(const BookmarkColumnInput& input) {
    CardChip chip;
    chip.kind = CardChip::Kind::bookmark;
    chip.text = text(input.bookmark.name);
    chip.tooltip = QStringLiteral(
        "The bookmark points at the commit below — commits above are not included when "
        "pushing. Drag onto a commit to move the bookmark there.");
    chip.isDraggable = true;
    return chip;
}

CardChip inlineTipChip(const InlineBookmarkTip& tip) {
    CardChip chip;
    chip.kind = CardChip::Kind::inlineTip;
    chip.text = text(tip.name);
    if (tip.isOlderAttachment) {
        chip.text += QStringLiteral(" — older revision");
    }
    chip.isImmutable = tip.isImmutable;
    chip.isColumnHidden = tip.isColumnHidden;
    chip.bookmarkName = tip.name;
    chip.isRealBookmark = tip.isRealBookmark;
    return chip;
}

CardChip advancingChip(const InlineBookmarkTip& tip) {
    CardChip chip;
    chip.kind = CardChip::Kind::advancingTip;
    chip.text = QStringLiteral("Rebasing ") + text(tip.name);
    return chip;
}

CardChip compositionPointChip(const WorkspaceCompositionPoint& point) {
    CardChip chip;
    chip.kind = CardChip::Kind::compositionPoint;
    chip.isDraggable = point.isDraggable;
    chip.workspaceName = point.workspaceName;
    const QString workspace = text(point.workspaceName);
    chip.text = workspace + QStringLiteral(" composition point");
    chip.accessibleLabel = QStringLiteral("Composition · ") + workspace;
    chip.tooltip = point.isDraggable
                       ? QStringLiteral("This commit is ") + workspace +
                             QStringLiteral(
                                 "'s composition boundary. Drag it to another commit in this "
                                 "lane to change that workspace's view.")
                       : QStringLiteral("This workspace-local commit composes ") + workspace +
                             QStringLiteral("'s working line with directly included bookmarks.");
    return chip;
}

CardChip unnamedInputChip() {
    CardChip chip;
    chip.kind = CardChip::Kind::unnamedInput;
    chip.text = QStringLiteral("one-off");
    return chip;
}

}  // namespace

std::vector<CardChip> cardChips(const BookmarkColumnInput& input, const JJCommit& commit,
                                bool isFirstLaneCommit) {
    std::vector<CardChip> chips;
    if (isFirstLaneCommit && columnrules::showsBookmarkChip(input)) {
        chips.push_back(bookmarkChip(input));
    }
    const auto tips = columnrules::otherBookmarkTips(input, commit.commitID);
    for (const auto& tip : tips) {
        chips.push_back(inlineTipChip(tip));
    }
    for (const auto& tip : tips) {
        if (tip.isAdvancing) {
            chips.push_back(advancingChip(tip));
        }
    }
    for (const auto& point : columnrules::compositionPoints(input, commit.commitID)) {
        chips.push_back(compositionPointChip(point));
    }
    if (input.isWorkingCopyLane() && input.unnamedInputIDs.contains(commit.commitID)) {
        chips.push_back(unnamedInputChip());
    }
    return chips;
}

}  // namespace vorda
