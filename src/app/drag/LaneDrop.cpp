#include "app/drag/LaneDrop.h"

#include <QMimeData>
#include <QUrl>
#include <algorithm>

#include "app/drag/DragSession.h"
#include "jjkit/support/Overloaded.h"

namespace vorda {

namespace {

using RowKind = CommitListModel::RowKind;

const JJCommit* rowCommit(const std::optional<CommitListModel::Row>& row, RowKind kind) {
    return row && row->kind == kind && row->commit ? &**row->commit : nullptr;
}

bool carries(const CommitDragPayload& payload, const std::string& commitID) {
    return std::any_of(payload.commits.begin(), payload.commits.end(),
                       [&](const auto& item) { return item.commitID == commitID; });
}

bool isBookmarkLane(const BookmarkColumnInput& input) {
    return input.kind == BookmarkColumnInput::LaneKind::bookmark;
}

std::optional<LaneDrop> commitsDrop(const BookmarkColumnInput& input,
                                    const CommitDragPayload& payload,
                                    const std::optional<CommitListModel::Row>& row, bool copyHeld) {
    if (payload.commits.empty()) {
        return std::nullopt;
    }
    if (input.isWorkingCopyLane()) {
        if (const auto* base = rowCommit(row, RowKind::base)) {
            if (base->immutable && input.workspaceName && !copyHeld) {
                return LaneDrop{
                    LaneDrop::ComposeOnTrunk{payload, *input.workspaceName, base->commitID}};
            }
            return std::nullopt;
        }
        const auto* target = rowCommit(row, RowKind::commit);
        if (target == nullptr || carries(payload, target->commitID)) {
            return std::nullopt;
        }
        return LaneDrop{LaneDrop::WorkspaceCommits{payload, target->commitID, copyHeld}};
    }
    const auto* target = rowCommit(row, RowKind::commit);
    if (!isBookmarkLane(input) || target == nullptr || carries(payload, target->commitID)) {
        return std::nullopt;
    }
    return LaneDrop{LaneDrop::CommitsOntoCommit{payload, target->commitID, copyHeld}};
}

std::optional<LaneDrop> markerDrop(const BookmarkColumnInput& input,
                                   const LaneMarkerDragPayload& marker,
                                   const std::optional<CommitListModel::Row>& row) {
    if (!isBookmarkLane(input) || marker.bookmarkName != input.bookmark.name) {
        return std::nullopt;
    }
    const auto* target = rowCommit(row, RowKind::commit);
    if (target == nullptr && marker.kind == LaneMarkerDragPayload::Kind::bookmark) {
        // The bookmark may also move up onto a commit stacked on the lane.
        target = rowCommit(row, RowKind::stacked);
    }
    if (target == nullptr) {
        return std::nullopt;
    }
    const auto& own = input.bookmark.commitIDs;
    if (marker.kind == LaneMarkerDragPayload::Kind::compositionPoint) {
        if (!marker.workspaceName) {
            return std::nullopt;
        }
        return LaneDrop{LaneDrop::MoveCompositionPoint{*marker.workspaceName, target->commitID}};
    }
    if (!own.empty() && own.front() == target->commitID) {
        return std::nullopt;
    }
    const bool backwards = std::find(own.begin(), own.end(), target->commitID) != own.end();
    return LaneDrop{LaneDrop::MoveBookmarkTip{target->commitID, backwards}};
}

std::optional<LaneDrop> bookmarkDrop(const BookmarkColumnInput& input,
                                     const BookmarkDragPayload& bookmark) {
    if (input.isWorkingCopyLane()) {
        if (input.isActive.value_or(false) && input.workspaceName) {
            return LaneDrop{LaneDrop::IncludeBookmark{*input.workspaceName, bookmark.name}};
        }
        return std::nullopt;
    }
    if ((isBookmarkLane(input) || input.isTrunk()) && bookmark.name != input.bookmark.name &&
        !input.bookmark.commitIDs.empty()) {
        return LaneDrop{LaneDrop::RebaseBookmark{bookmark.name, input.bookmark.commitIDs.front()}};
    }
    return std::nullopt;
}

}  // namespace

bool LaneDrop::isCopy() const {
    const auto* commits = std::get_if<CommitsOntoCommit>(&value);
    const auto* local = std::get_if<WorkspaceCommits>(&value);
    return (commits != nullptr && commits->isCopy) || (local != nullptr && local->isCopy);
}

bool LaneDrop::landsOnRow() const {
    return !std::holds_alternative<RebaseBookmark>(value) &&
           !std::holds_alternative<IncludeBookmark>(value) &&
           !std::holds_alternative<StageFiles>(value);
}

std::optional<DragContent> sessionDragContent() {
    if (const auto& commits = CommitDragSession::current()) {
        return DragContent{*commits};
    }
    if (const auto& marker = LaneMarkerDragSession::current()) {
        return DragContent{*marker};
    }
    if (const auto& bookmark = BookmarkDragSession::current()) {
        return DragContent{*bookmark};
    }
    return std::nullopt;
}

std::optional<LaneDrop> laneDrop(const BookmarkColumnInput& input, const DragContent& content,
                                 const std::optional<CommitListModel::Row>& row, bool copyHeld) {
    return std::visit(
        Overloaded{
            [&](const CommitDragPayload& payload) {
                return commitsDrop(input, payload, row, copyHeld);
            },
            [&](const LaneMarkerDragPayload& marker) { return markerDrop(input, marker, row); },
            [&](const BookmarkDragPayload& bookmark) { return bookmarkDrop(input, bookmark); },
            [&](const DragContent::Files& files) -> std::optional<LaneDrop> {
                if (!isBookmarkLane(input) || files.paths.empty()) {
                    return std::nullopt;
                }
                return LaneDrop{LaneDrop::StageFiles{files.paths}};
            },
        },
        content.value);
}

std::optional<DragContent> dragContent(const QMimeData& data) {
    if (data.hasFormat(dragtypes::commit)) {
        if (auto payload = decodeCommitDragPayload(data.data(dragtypes::commit))) {
            return DragContent{std::move(*payload)};
        }
        return std::nullopt;
    }
    if (data.hasFormat(dragtypes::laneMarker)) {
        if (auto payload = decodeLaneMarkerDragPayload(data.data(dragtypes::laneMarker))) {
            return DragContent{std::move(*payload)};
        }
        return std::nullopt;
    }
    if (data.hasFormat(dragtypes::bookmark)) {
        const auto name = data.data(dragtypes::bookmark).toStdString();
        return name.empty() ? std::nullopt : std::optional(DragContent{BookmarkDragPayload{name}});
    }
    if (data.hasUrls()) {
        DragContent::Files files;
        for (const auto& url : data.urls()) {
            if (url.isLocalFile()) {
                files.paths.push_back(url.toLocalFile().toStdString());
            }
        }
        return files.paths.empty() ? std::nullopt : std::optional(DragContent{std::move(files)});
    }
    return std::nullopt;
}

}  // namespace vorda
