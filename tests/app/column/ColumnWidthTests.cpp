#include <QMouseEvent>
#include <QPointF>
#include <QSettings>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "app/column/BookmarkColumn.h"
#include "app/column/ColumnResizeHandle.h"
#include "app/column/ColumnWidthStore.h"
#include "app/column/ResizableColumnWidth.h"

namespace vorda {
namespace {

void forget(const QString& key) {
    QSettings settings;
    settings.remove(key);
}

TEST(ColumnWidthStore, KeysAndStoredWidthsWithinTheLimits) {
    // The key is the column's storage key behind a prefix (see ColumnID).
    EXPECT_EQ(columnwidths::key(ColumnID::workingCopyStack("dev")),
              QStringLiteral("vorda.columnWidth.wcstack:dev"));
    EXPECT_EQ(columnwidths::diffColumnKey(), QStringLiteral("vorda.diffColumnWidth"));

    const QString key = columnwidths::key(ColumnID::bookmark("stored-width"));
    const QString hiddenKey = columnwidths::key(ColumnID::hidden());
    forget(key);
    forget(hiddenKey);
    const auto stored = [&] {
        return columnwidths::resizableColumnWidth(key, columnwidths::bookmarkColumnLimits).width;
    };
    EXPECT_EQ(stored(), 260);
    const auto hidden =
        columnwidths::resizableColumnWidth(hiddenKey, columnwidths::hiddenPanelLimits);
    EXPECT_EQ(hidden.width, 320);
    EXPECT_EQ(hidden.minWidth, 200);
    EXPECT_EQ(hidden.maxWidth, 1000);

    columnwidths::storeWidth(key, 420);
    EXPECT_EQ(QSettings().value(key).toDouble(), 420);
    EXPECT_EQ(stored(), 420);
    columnwidths::storeWidth(key, 5000);
    EXPECT_EQ(stored(), 1000);
    columnwidths::storeWidth(key, 12);
    EXPECT_EQ(stored(), 200);
    QSettings().setValue(key, QStringLiteral("wide"));
    EXPECT_EQ(stored(), 260);
    forget(key);

    // Fractions beyond a limit are held at it; a drag's state ends with it.
    ResizableColumnWidth width;
    EXPECT_EQ(width.clamped(199.5), 200);
    EXPECT_EQ(width.clamped(1000.5), 1000);
    EXPECT_EQ(width.clamped(512), 512);
    width.beginDrag();
    EXPECT_TRUE(width.isDragging());
    width.endDrag();
    EXPECT_FALSE(width.isDragging());
}

void sendMouse(QWidget* widget, QEvent::Type type, double globalX, Qt::MouseButton button,
               Qt::MouseButtons buttons) {
    const QPointF local(2, 10);
    QMouseEvent event(type, local, QPointF(globalX, 300), button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(widget, &event);
}

TEST(BookmarkColumn, TrailingHandleResizesWithinTheLimitsAndStoresOnRelease) {
    const QString key = columnwidths::key(ColumnID::bookmark("resizable"));
    forget(key);
    BookmarkColumn column;
    column.setInput(columntest::bookmarkLane("resizable", columntest::makeCommits(1, 2)));
    EXPECT_EQ(column.width(), 260);

    auto* handle = column.findChild<ColumnResizeHandle*>(QStringLiteral("resizeHandle"));
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(handle->toolTip(), QStringLiteral("Drag to resize this column"));
    EXPECT_EQ(handle->cursor().shape(), Qt::SplitHCursor);

    QSignalSpy widths(&column, &BookmarkColumn::widthChanged);
    sendMouse(handle, QEvent::MouseButtonPress, 500, Qt::LeftButton, Qt::LeftButton);
    sendMouse(handle, QEvent::MouseMove, 380, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(column.width(), 200);  // 260 - 120, held at the minimum
    sendMouse(handle, QEvent::MouseMove, 1500, Qt::NoButton, Qt::LeftButton);
    EXPECT_EQ(column.width(), 1000);          // 260 + 1000, held at the maximum
    EXPECT_FALSE(QSettings().contains(key));  // nothing stored while dragging
    sendMouse(handle, QEvent::MouseButtonRelease, 650, Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(column.width(), 410);  // the travel from the start width, not from the last step
    EXPECT_EQ(widths.count(), 3);
    EXPECT_EQ(QSettings().value(key).toDouble(), 410);

    // A new column of the same lane starts at the stored width.
    BookmarkColumn again;
    again.setInput(columntest::bookmarkLane("resizable", columntest::makeCommits(1, 2)));
    EXPECT_EQ(again.width(), 410);
    forget(key);
}

}  // namespace
}  // namespace vorda
