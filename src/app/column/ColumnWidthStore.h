#pragma once

#include <QString>

#include "app/board/ColumnID.h"
#include "app/column/ResizableColumnWidth.h"

/// Column widths in the user's settings (`QSettings` with the application's
/// organisation and name), one number per column, so that a column keeps its
/// width across launches.
namespace vorda::columnwidths {

/// The limits of one kind of resizable column.
struct ColumnWidthLimits {
    double defaultWidth = 260;
    double minWidth = 200;
    double maxWidth = 1000;
};

inline constexpr ColumnWidthLimits bookmarkColumnLimits{260, 200, 1000};
inline constexpr ColumnWidthLimits hiddenPanelLimits{320, 200, 1000};
/// The diff column holds a file tree beside a split diff: wider.
inline constexpr ColumnWidthLimits diffColumnLimits{640, 360, 2400};

/// "vorda.columnWidth." and the column's storage key; the hidden panel's
/// key is so "vorda.columnWidth.hidden".
QString key(const ColumnID& column);

/// Where the diff column keeps its width.
QString diffColumnKey();

/// The stored width under `key`, held between the limits; the default when
/// nothing (or no number) is stored.
ResizableColumnWidth resizableColumnWidth(const QString& key, double defaultWidth, double minWidth,
                                          double maxWidth);
ResizableColumnWidth resizableColumnWidth(const QString& key, const ColumnWidthLimits& limits);

/// Stores `width` under `key`.
void storeWidth(const QString& key, double width);

/// Moves a stored width to another key (a renamed bookmark keeps its width).
void moveWidth(const QString& fromKey, const QString& toKey);

}  // namespace vorda::columnwidths
