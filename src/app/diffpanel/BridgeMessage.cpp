#include "app/diffpanel/BridgeMessage.h"

#include <QVariantList>
#include <QVariantMap>
#include <cmath>
#include <limits>

namespace vorda {

namespace {

std::optional<QString> stringAt(const QVariantMap& body, const QString& key) {
    const auto found = body.find(key);
    if (found == body.end() || found->typeId() != QMetaType::QString) {
        return std::nullopt;
    }
    return found->toString();
}

/// A whole number: JavaScript numbers arrive as doubles.
std::optional<int> integerAt(const QVariantMap& body, const QString& key) {
    const auto found = body.find(key);
    if (found == body.end()) {
        return std::nullopt;
    }
    switch (found->typeId()) {
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::Double: {
            const double number = found->toDouble();
            if (std::trunc(number) != number ||
                std::abs(number) > std::numeric_limits<int>::max()) {
                return std::nullopt;
            }
            return static_cast<int>(number);
        }
        default:
            return std::nullopt;
    }
}

std::optional<QStringList> stringsAt(const QVariantMap& body, const QString& key) {
    const auto found = body.find(key);
    if (found == body.end() || found->typeId() != QMetaType::QVariantList) {
        return std::nullopt;
    }
    QStringList strings;
    for (const auto& item : found->toList()) {
        if (item.typeId() != QMetaType::QString) {
            return std::nullopt;
        }
        strings.append(item.toString());
    }
    return strings;
}

}  // namespace

std::optional<BridgeMessage> BridgeMessage::decode(const QVariant& body) {
    if (body.typeId() != QMetaType::QVariantMap) {
        return std::nullopt;
    }
    const QVariantMap map = body.toMap();
    const QString type = stringAt(map, QStringLiteral("type")).value_or(QStringLiteral("unknown"));
    if (type == QLatin1String("fileSelected")) {
        const auto path = stringAt(map, QStringLiteral("path"));
        return path ? std::optional(BridgeMessage{FileSelected{*path}}) : std::nullopt;
    }
    if (type == QLatin1String("selectionChanged")) {
        const auto paths = stringsAt(map, QStringLiteral("paths"));
        return paths ? std::optional(BridgeMessage{SelectionChanged{*paths}}) : std::nullopt;
    }
    if (type == QLatin1String("diffLineClicked")) {
        const auto line = integerAt(map, QStringLiteral("lineNumber"));
        const auto side = stringAt(map, QStringLiteral("side"));
        return line && side ? std::optional(BridgeMessage{DiffLineClicked{*line, *side}})
                            : std::nullopt;
    }
    if (type == QLatin1String("log")) {
        const auto message = stringAt(map, QStringLiteral("message"));
        return message ? std::optional(BridgeMessage{Log{*message}}) : std::nullopt;
    }
    return BridgeMessage{Unknown{type}};
}

}  // namespace vorda
