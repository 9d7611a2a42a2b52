#include "app/column/InlineTipMenu.h"

#include <QMenu>
#include <QPersistentModelIndex>
#include <QTimer>
#include <algorithm>

#include "app/column/ColumnText.h"
#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/column/InlineRenameField.h"
#include "app/column/QtText.h"

namespace vorda {

InlineTipMenu::InlineTipMenu(CommitListView* list, CommitCardDelegate* delegate, QObject* parent)
    : QObject(parent),
      list_(list),
      delegate_(delegate),
      field_(new InlineRenameField(list->viewport())) {
    field_->setObjectName(QStringLiteral("inlineTipRenameField"));
    connect(field_, &InlineRenameField::renameRequested, this,
            [this](const QString& oldName, const QString& newName) {
                Q_EMIT renameRequested(oldName.toStdString(), newName.toStdString());
            });
}

bool InlineTipMenu::showAt(const QPoint& globalPosition, const QModelIndex& index) {
    if (!index.isValid()) {
        return false;
    }
    const QPoint position = list_->viewport()->mapFromGlobal(globalPosition);
    const auto chip = delegate_->chipAt(list_->optionFor(index), index, position);
    if (!chip || chip->kind != CardChip::Kind::inlineTip || !chip->isRealBookmark) {
        return false;
    }
    QMenu menu(list_);
    const std::string name = chip->bookmarkName;
    const QPersistentModelIndex row(index);
    connect(menu.addAction(qtText(columntext::renameBookmarkLabel)), &QAction::triggered, this,
            [this, row, name] {
                // Once the menu has closed and given the focus back.
                QTimer::singleShot(0, this, [this, row, name] {
                    if (row.isValid()) {
                        beginRename(row, name);
                    }
                });
            });
    connect(menu.addAction(qtText(columntext::deleteBookmarkLabel)), &QAction::triggered, this,
            [this, name] { Q_EMIT deleteRequested(name); });
    menu.exec(globalPosition);
    return true;
}

void InlineTipMenu::beginRename(const QModelIndex& index, const std::string& name) {
    const QStyleOptionViewItem option = list_->optionFor(index);
    const auto* model = qobject_cast<const CommitListModel*>(index.model());
    if (model == nullptr) {
        return;
    }
    const auto chips = model->chips(index.row());
    const auto chip = std::find_if(chips.begin(), chips.end(), [&](const CardChip& each) {
        return each.kind == CardChip::Kind::inlineTip && each.bookmarkName == name;
    });
    const auto rect =
        chip == chips.end() ? std::nullopt : delegate_->chipRect(option, index, *chip);
    if (!rect) {
        return;
    }
    // The field stands over the chip and reaches to the card's edge, so a
    // name can grow while it is typed; on a crowded card it takes the line.
    constexpr int minimumWidth = 120;
    const QRect card = option.rect.adjusted(8, 0, -8, 0);
    const int left = card.right() - rect->left() < minimumWidth ? card.left() : rect->left();
    const int height = field_->sizeHint().height();
    field_->setGeometry(left, rect->center().y() - height / 2, card.right() + 1 - left, height);
    field_->begin(QString::fromStdString(name));
}

}  // namespace vorda
