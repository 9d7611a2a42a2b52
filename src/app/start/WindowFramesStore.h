#pragma once

#include <QRectF>
#include <QString>
#include <optional>

class QSettings;

namespace vorda {

/// Each repository window's last frame, in the user's settings
/// under one key: a map from repository path to a list of four numbers, x, y,
/// width and height. A value that is not such a map, or that holds any
/// entry that is not a list of numbers, reads as absent for every path, and
/// the next `save` starts a new map. A list of another length than four
/// reads as absent for its path.
///
/// Runs on the caller's thread; the application calls it on the GUI thread.
struct WindowFramesStore {
    static constexpr const char* defaultKey = "com.kelmardev.vorda.windowFrames";

    static std::optional<QRectF> frame(const QString& path, QSettings& settings,
                                       const QString& key = QLatin1String(defaultKey));
    static void save(const QRectF& frame, const QString& path, QSettings& settings,
                     const QString& key = QLatin1String(defaultKey));
};

}  // namespace vorda
