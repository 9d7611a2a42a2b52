#pragma once

#include <QStyledItemDelegate>

namespace vorda {

/// Paints the rows of a `HiddenRowsModel`. An item row shows a disclosure
/// arrow, the name in bold, the tip's summary below it and, on the right,
/// its pin control ("Pin", "Show" or "Track"). A commit row is indented
/// under its item with the summary and the short change ID; a note shows
/// the matched name and why it is not hidden.
///
/// The keyboard cursor is filled with the palette's highlight (dimmer while
/// the list has no focus); a selected commit is outlined with it. The pin
/// control has its own tooltip; the rest of a row shows the model's.
class HiddenRowDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    explicit HiddenRowDelegate(QObject* parent = nullptr) : QStyledItemDelegate(parent) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    /// Where the pin control of an item row in `rowRect` is drawn; an empty
    /// rectangle for rows without one.
    static QRect pinRect(const QRect& rowRect, const QModelIndex& index, const QFont& font);
    /// Where the name of an item row in `rowRect` is drawn; the inline
    /// rename field covers it.
    static QRect nameRect(const QRect& rowRect, const QModelIndex& index, const QFont& font);
};

}  // namespace vorda
