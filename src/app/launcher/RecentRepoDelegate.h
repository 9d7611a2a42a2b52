#pragma once

#include <QStyledItemDelegate>

namespace vorda {

/// Paints a row of the launcher's recent list: the path and, when the item's
/// `missingRole` is true (the folder is gone), a "missing" label at the
/// right end.
class RecentRepoDelegate : public QStyledItemDelegate {
    Q_OBJECT

  public:
    static constexpr int missingRole = Qt::UserRole + 1;
    static constexpr const char* missingLabel = "missing";

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace vorda
