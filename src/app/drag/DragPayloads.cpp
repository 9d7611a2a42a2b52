#include "app/drag/DragPayloads.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <algorithm>

namespace vorda {

namespace {

QString qText(const std::string& text) {
    return QString::fromStdString(text);
}

/// The string under `key`, absent when it is missing or not a string.
std::optional<std::string> stringField(const QJsonObject& object, const QString& key) {
    const auto value = object.value(key);
    return value.isString() ? std::optional(value.toString().toStdString()) : std::nullopt;
}

std::optional<QJsonObject> jsonObject(const QByteArray& json) {
    QJsonParseError error{};
    const auto document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        return std::nullopt;
    }
    return document.object();
}

}  // namespace

std::vector<std::string> CommitDragPayload::commitIDs() const {
    std::vector<std::string> ids;
    std::transform(commits.begin(), commits.end(), std::back_inserter(ids),
                   [](const Item& item) { return item.commitID; });
    return ids;
}

std::vector<std::string> CommitDragPayload::changeIDs() const {
    std::vector<std::string> ids;
    std::transform(commits.begin(), commits.end(), std::back_inserter(ids),
                   [](const Item& item) { return item.changeID; });
    return ids;
}

QByteArray encodeDragPayload(const CommitDragPayload& payload) {
    QJsonArray commits;
    for (const auto& item : payload.commits) {
        commits.append(QJsonObject{{QStringLiteral("changeID"), qText(item.changeID)},
                                   {QStringLiteral("commitID"), qText(item.commitID)},
                                   {QStringLiteral("immutable"), item.immutable}});
    }
    return QJsonDocument(QJsonObject{{QStringLiteral("commits"), commits}})
        .toJson(QJsonDocument::Compact);
}

QByteArray encodeDragPayload(const LaneMarkerDragPayload& payload) {
    QJsonObject object{
        {QStringLiteral("kind"), payload.kind == LaneMarkerDragPayload::Kind::bookmark
                                     ? QStringLiteral("bookmark")
                                     : QStringLiteral("compositionPoint")},
        {QStringLiteral("bookmarkName"), qText(payload.bookmarkName)}};
    if (payload.workspaceName) {
        object.insert(QStringLiteral("workspaceName"), qText(*payload.workspaceName));
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<CommitDragPayload> decodeCommitDragPayload(const QByteArray& json) {
    const auto object = jsonObject(json);
    if (!object || !object->value(QStringLiteral("commits")).isArray()) {
        return std::nullopt;
    }
    CommitDragPayload payload;
    for (const auto& value : object->value(QStringLiteral("commits")).toArray()) {
        const auto item = value.toObject();
        auto changeID = stringField(item, QStringLiteral("changeID"));
        auto commitID = stringField(item, QStringLiteral("commitID"));
        const auto immutable = item.value(QStringLiteral("immutable"));
        if (!changeID || !commitID || !immutable.isBool()) {
            return std::nullopt;
        }
        payload.commits.push_back({std::move(*changeID), std::move(*commitID), immutable.toBool()});
    }
    return payload;
}

std::optional<LaneMarkerDragPayload> decodeLaneMarkerDragPayload(const QByteArray& json) {
    const auto object = jsonObject(json);
    if (!object) {
        return std::nullopt;
    }
    const auto kind = stringField(*object, QStringLiteral("kind"));
    auto bookmarkName = stringField(*object, QStringLiteral("bookmarkName"));
    if (!kind || !bookmarkName || (*kind != "bookmark" && *kind != "compositionPoint")) {
        return std::nullopt;
    }
    return LaneMarkerDragPayload{kind == "bookmark" ? LaneMarkerDragPayload::Kind::bookmark
                                                    : LaneMarkerDragPayload::Kind::compositionPoint,
                                 std::move(*bookmarkName),
                                 stringField(*object, QStringLiteral("workspaceName"))};
}

std::unique_ptr<QMimeData> dragMimeData(const CommitDragPayload& payload) {
    auto data = std::make_unique<QMimeData>();
    data->setData(dragtypes::commit, encodeDragPayload(payload));
    return data;
}

std::unique_ptr<QMimeData> dragMimeData(const LaneMarkerDragPayload& payload) {
    auto data = std::make_unique<QMimeData>();
    data->setData(dragtypes::laneMarker, encodeDragPayload(payload));
    return data;
}

std::unique_ptr<QMimeData> dragMimeData(const BookmarkDragPayload& payload) {
    auto data = std::make_unique<QMimeData>();
    data->setData(dragtypes::bookmark, QByteArray::fromStdString(payload.name));
    data->setText(qText(payload.name));
    return data;
}

}  // namespace vorda
