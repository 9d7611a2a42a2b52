#include "app/column/CardLinks.h"

#include <QContextMenuEvent>
#include <QMenu>
#include <QMouseEvent>

#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListView.h"
#include "app/links/CommitLinkActions.h"
#include "app/links/CommitLinkLookup.h"

namespace vorda {

CardLinks::CardLinks(CommitListView* list, CommitCardDelegate* delegate, QObject* parent)
    : QObject(parent), list_(list), delegate_(delegate) {
    list_->viewport()->installEventFilter(this);
    connect(&CommitLinkLookup::shared(), &CommitLinkLookup::resolved, list_->viewport(),
            qOverload<>(&QWidget::update));
}

std::optional<CardLinks::Pressed> CardLinks::pressedLinkAt(const QPoint& position) const {
    const QModelIndex index = list_->indexAt(position);
    if (!index.isValid()) {
        return std::nullopt;
    }
    const auto link = delegate_->linkAt(list_->optionFor(index), index, position);
    if (!link) {
        return std::nullopt;
    }
    return Pressed{index, link->reference, link->location};
}

bool CardLinks::eventFilter(QObject* watched, QEvent* event) {
    QWidget* viewport = list_->viewport();
    if (watched != viewport) {
        return false;
    }
    switch (event->type()) {
        case QEvent::MouseMove: {
            const auto* move = static_cast<QMouseEvent*>(event);
            if (move->buttons() == Qt::NoButton) {
                if (pressedLinkAt(move->position().toPoint())) {
                    viewport->setCursor(Qt::PointingHandCursor);
                } else {
                    viewport->unsetCursor();
                }
            }
            return false;
        }
        case QEvent::MouseButtonPress: {
            const auto* press = static_cast<QMouseEvent*>(event);
            pressed_.reset();
            if (press->button() != Qt::LeftButton || press->modifiers() != Qt::NoModifier) {
                return false;
            }
            pressed_ = pressedLinkAt(press->position().toPoint());
            return pressed_.has_value();
        }
        case QEvent::MouseButtonRelease: {
            if (!pressed_) {
                return false;
            }
            const Pressed pressed = *pressed_;
            pressed_.reset();
            const auto* release = static_cast<QMouseEvent*>(event);
            const QModelIndex index = list_->indexAt(release->position().toPoint());
            const auto link = index.isValid() && index == pressed.index
                                  ? delegate_->linkAt(list_->optionFor(index), index,
                                                      release->position().toPoint())
                                  : std::nullopt;
            if (link && link->location == pressed.location) {
                commitlinks::open(*link);
            }
            return true;
        }
        case QEvent::ContextMenu: {
            const auto* request = static_cast<QContextMenuEvent*>(event);
            const QModelIndex index = list_->indexAt(request->pos());
            const auto link =
                index.isValid() ? delegate_->linkAt(list_->optionFor(index), index, request->pos())
                                : std::nullopt;
            if (!link) {
                return false;
            }
            QMenu menu(list_);
            commitlinks::addMenuEntries(menu, *link);
            menu.exec(request->globalPos());
            return true;
        }
        default:
            return false;
    }
}

}  // namespace vorda
