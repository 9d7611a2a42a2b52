#include "app/column/ColumnWidthStore.h"

#include <QSettings>

namespace vorda::columnwidths {

QString key(const ColumnID& column) {
    return QStringLiteral("vorda.columnWidth.") + QString::fromStdString(column.storageKey());
}

QString diffColumnKey() {
    return QStringLiteral("vorda.diffColumnWidth");
}

ResizableColumnWidth resizableColumnWidth(const QString& key, double defaultWidth, double minWidth,
                                          double maxWidth) {
    ResizableColumnWidth width;
    width.minWidth = minWidth;
    width.maxWidth = maxWidth;
    width.width = width.clamped(defaultWidth);
    const QSettings settings;
    const QVariant stored = settings.value(key);
    bool isNumber = false;
    const double value = stored.toDouble(&isNumber);
    if (stored.isValid() && isNumber) {
        width.width = width.clamped(value);
    }
    return width;
}

ResizableColumnWidth resizableColumnWidth(const QString& key, const ColumnWidthLimits& limits) {
    return resizableColumnWidth(key, limits.defaultWidth, limits.minWidth, limits.maxWidth);
}

void storeWidth(const QString& key, double width) {
    QSettings settings;
    settings.setValue(key, width);
}

void moveWidth(const QString& fromKey, const QString& toKey) {
    QSettings settings;
    if (const QVariant stored = settings.value(fromKey); stored.isValid()) {
        settings.setValue(toKey, stored);
        settings.remove(fromKey);
    }
}

}  // namespace vorda::columnwidths
