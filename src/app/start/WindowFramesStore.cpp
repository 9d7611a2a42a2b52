#include "app/start/WindowFramesStore.h"

#include <QSettings>
#include <QVariant>
#include <QVariantList>
#include <QVariantMap>
#include <algorithm>

namespace vorda {
namespace {

bool isNumber(const QVariant& value) {
    switch (value.typeId()) {
        case QMetaType::Double:
        case QMetaType::Float:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            return true;
        default:
            return false;
    }
}

bool isListOfNumbers(const QVariant& value) {
    if (value.typeId() != QMetaType::QVariantList) {
        return false;
    }
    const QVariantList list = value.toList();
    return std::all_of(list.cbegin(), list.cend(), isNumber);
}

// The stored map, if it is a map from text to lists of numbers.
std::optional<QVariantMap> readFrames(QSettings& settings, const QString& key) {
    const QVariant value = settings.value(key);
    if (value.typeId() != QMetaType::QVariantMap) {
        return std::nullopt;
    }
    QVariantMap frames = value.toMap();
    for (auto entry = frames.cbegin(); entry != frames.cend(); ++entry) {
        if (!isListOfNumbers(entry.value())) {
            return std::nullopt;
        }
    }
    return frames;
}

}  // namespace

std::optional<QRectF> WindowFramesStore::frame(const QString& path, QSettings& settings,
                                               const QString& key) {
    const auto frames = readFrames(settings, key);
    if (!frames) {
        return std::nullopt;
    }
    const auto entry = frames->constFind(path);
    if (entry == frames->cend()) {
        return std::nullopt;
    }
    const QVariantList numbers = entry.value().toList();
    if (numbers.size() != 4) {
        return std::nullopt;
    }
    return QRectF(numbers.at(0).toDouble(), numbers.at(1).toDouble(), numbers.at(2).toDouble(),
                  numbers.at(3).toDouble());
}

void WindowFramesStore::save(const QRectF& frame, const QString& path, QSettings& settings,
                             const QString& key) {
    QVariantMap frames = readFrames(settings, key).value_or(QVariantMap{});
    frames.insert(path, QVariantList{frame.x(), frame.y(), frame.width(), frame.height()});
    settings.setValue(key, frames);
}

}  // namespace vorda
