#pragma once

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QMimeData;

namespace vorda {

/// The types under which the board's drags carry their payloads.
namespace dragtypes {
inline const QString commit = QStringLiteral("dev.kelmar.vorda.commit");
inline const QString laneMarker = QStringLiteral("dev.kelmar.vorda.lane-marker");
inline const QString bookmark = QStringLiteral("dev.kelmar.vorda.bookmark");
}  // namespace dragtypes

/// Commits being dragged, in the order they were selected. Travels as JSON:
/// `{"commits": [{"changeID": …, "commitID": …, "immutable": …}]}`.
struct CommitDragPayload {
    struct Item {
        std::string changeID;
        std::string commitID;
        bool immutable = false;
        bool operator==(const Item&) const = default;
    };
    std::vector<Item> commits;

    std::vector<std::string> commitIDs() const;
    std::vector<std::string> changeIDs() const;
    bool operator==(const CommitDragPayload&) const = default;
};

/// A marker of a lane being dragged: a bookmark's tip, or a workspace's
/// composition point on the bookmark. Travels as JSON with the keys "kind"
/// ("bookmark" or "compositionPoint"), "bookmarkName" and, for a
/// composition point, "workspaceName".
struct LaneMarkerDragPayload {
    enum class Kind { bookmark, compositionPoint };
    Kind kind = Kind::bookmark;
    std::string bookmarkName;
    std::optional<std::string> workspaceName;
    bool operator==(const LaneMarkerDragPayload&) const = default;
};

/// A bookmark being dragged by name; travels as plain text.
struct BookmarkDragPayload {
    std::string name;
    bool operator==(const BookmarkDragPayload&) const = default;
};

QByteArray encodeDragPayload(const CommitDragPayload& payload);
QByteArray encodeDragPayload(const LaneMarkerDragPayload& payload);
/// Absent for text that is not a payload of the kind.
std::optional<CommitDragPayload> decodeCommitDragPayload(const QByteArray& json);
std::optional<LaneMarkerDragPayload> decodeLaneMarkerDragPayload(const QByteArray& json);

/// Mime data holding the payload under its type.
std::unique_ptr<QMimeData> dragMimeData(const CommitDragPayload& payload);
std::unique_ptr<QMimeData> dragMimeData(const LaneMarkerDragPayload& payload);
std::unique_ptr<QMimeData> dragMimeData(const BookmarkDragPayload& payload);

}  // namespace vorda
