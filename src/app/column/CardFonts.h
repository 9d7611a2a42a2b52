#pragma once

#include <QFont>
#include <QFontDatabase>
#include <algorithm>

/// The fonts of a commit card, derived from the view's font so that they
/// follow the user's size: a smaller one for secondary lines, and a
/// monospace one of that size for IDs and paths.
namespace vorda::cardfonts {

inline QFont secondary(const QFont& font) {
    QFont smaller = font;
    if (font.pointSizeF() > 0) {
        smaller.setPointSizeF(font.pointSizeF() * 0.85);
    } else {
        smaller.setPixelSize(std::max(8, font.pixelSize() * 85 / 100));
    }
    return smaller;
}

inline QFont monospace(const QFont& font) {
    QFont mono = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    const QFont reference = secondary(font);
    if (reference.pointSizeF() > 0) {
        mono.setPointSizeF(reference.pointSizeF());
    } else {
        mono.setPixelSize(reference.pixelSize());
    }
    return mono;
}

}  // namespace vorda::cardfonts
