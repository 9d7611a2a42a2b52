#pragma once

#include <QStyledItemDelegate>
#include <optional>

#include "app/column/CommitCardChips.h"
#include "jjkit/links/CommitLinkEngine.h"

namespace vorda {

/// Paints the commit cards of a `CommitListModel`: a summary line (with a
/// lock on an immutable commit), a line with the short change ID, the author
/// and the relative time, and a line of chips. Every card has the same
/// height, so a view with uniform item sizes lays out thousands of rows
/// without asking each one; only while the model shows file lists does a
/// card grow by its list.
///
/// Colours come from the view's palette only, so a dark system palette
/// gives dark cards. References that the user's link rules know are drawn
/// as links in the summary. Tooltips depend on where the pointer rests: the author
/// name shows the author's address, the time the absolute time, a chip its
/// own help, and the rest of the card the change and commit IDs.
class CommitCardDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    explicit CommitCardDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

    /// The tooltip of the card at `index` for a pointer at `position`, both
    /// in the coordinates of `option.rect`.
    QString tooltipAt(const QStyleOptionViewItem& option, const QModelIndex& index,
                      const QPoint& position) const;

    /// The link in the summary under `position`, if any.
    std::optional<CommitLinkMatch> linkAt(const QStyleOptionViewItem& option,
                                          const QModelIndex& index, const QPoint& position) const;

    /// The chip under `position`, if any; both in the coordinates of
    /// `option.rect`.
    std::optional<CardChip> chipAt(const QStyleOptionViewItem& option, const QModelIndex& index,
                                   const QPoint& position) const;
    /// Where `wanted` stands on the card at `index`, if it is drawn.
    std::optional<QRect> chipRect(const QStyleOptionViewItem& option, const QModelIndex& index,
                                  const CardChip& wanted) const;

    /// The height of every row without a file list, for a view font.
    static int rowHeight(const QFont& font);
};

}  // namespace vorda
