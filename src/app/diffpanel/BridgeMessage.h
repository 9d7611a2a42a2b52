#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>
#include <variant>

namespace vorda {

/// A message the diff page posts to the handler "vorda": a body with the key
/// "type" and the further keys of that type.
struct BridgeMessage {
    struct FileSelected {
        QString path;
    };
    struct SelectionChanged {
        QStringList paths;
    };
    struct DiffLineClicked {
        int lineNumber = 0;
        QString side;
    };
    struct Log {
        QString message;
    };
    /// A type this side does not know; a body without "type" is "unknown".
    struct Unknown {
        QString type;
    };

    std::variant<FileSelected, SelectionChanged, DiffLineClicked, Log, Unknown> value;

    /// The message in `body`; absent when the body is not a dictionary or a
    /// further key is missing or of the wrong type.
    static std::optional<BridgeMessage> decode(const QVariant& body);
};

}  // namespace vorda
