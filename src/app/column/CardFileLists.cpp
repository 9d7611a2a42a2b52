#include "app/column/CardFileLists.h"

#include <QScrollBar>
#include <QTimer>
#include <utility>

#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"

namespace vorda {

CardFileLists::CardFileLists(CommitListView* list, CommitListModel* model,
                             CommitCardDelegate* delegate, QObject* parent)
    : QObject(parent), list_(list), model_(model), delegate_(delegate) {
    // Whatever brings other cards into view may bring cards without files.
    connect(model_, &QAbstractItemModel::rowsInserted, this, &CardFileLists::scheduleLoads);
    connect(model_, &QAbstractItemModel::modelReset, this, &CardFileLists::scheduleLoads);
    connect(model_, &QAbstractItemModel::dataChanged, this, &CardFileLists::scheduleLoads);
    connect(list_->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &CardFileLists::scheduleLoads);
    connect(list_->verticalScrollBar(), &QScrollBar::rangeChanged, this,
            &CardFileLists::scheduleLoads);
}

bool CardFileLists::isShown() const {
    return model_->showsFiles();
}

void CardFileLists::setShown(bool shown) {
    if (shown == model_->showsFiles()) {
        return;
    }
    model_->setShowsFiles(shown);
    // Cards with lists differ in height; without them all are alike again.
    list_->setUniformItemSizes(!shown);
    list_->doItemsLayout();
    scheduleLoads();
}

void CardFileLists::showFiles(const std::string& commitID, std::vector<ChangedFile> files) {
    model_->setCommitFiles(commitID, std::move(files));
    for (int row = 0; row < model_->rowCount(); ++row) {
        const auto& current = model_->row(row);
        if (current.commit && (*current.commit)->commitID == commitID) {
            Q_EMIT delegate_->sizeHintChanged(model_->index(row));
        }
    }
}

void CardFileLists::scheduleLoads() {
    if (loadsScheduled_ || !model_->showsFiles()) {
        return;
    }
    loadsScheduled_ = true;
    QTimer::singleShot(0, this, [this] {
        loadsScheduled_ = false;
        loadVisible();
    });
}

void CardFileLists::loadVisible() {
    if (!model_->showsFiles()) {
        return;
    }
    const QRect view = list_->viewport()->rect();
    for (int row = 0; row < model_->rowCount(); ++row) {
        const QModelIndex index = model_->index(row);
        if (!model_->listsFiles(row) || model_->commitFiles(row) != nullptr ||
            !list_->visualRect(index).intersects(view)) {
            continue;
        }
        const auto& commit = *model_->row(row).commit;
        if (requested_.insert(commit->commitID).second) {
            Q_EMIT filesWanted(commit->changeID, commit->commitID);
        }
    }
}

}  // namespace vorda
