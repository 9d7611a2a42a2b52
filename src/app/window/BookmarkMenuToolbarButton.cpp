#include "app/window/BookmarkMenuToolbarButton.h"

#include <QMenu>

#include "app/window/BookmarkActionMenuItems.h"

namespace vorda {

BookmarkMenuToolbarButton::BookmarkMenuToolbarButton(std::function<void(QMenu*)> fill,
                                                     QWidget* parent)
    : QToolButton(parent), fill_(std::move(fill)), menu_(new QMenu(this)) {
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    setPopupMode(QToolButton::InstantPopup);
    setMenu(menu_);
    connect(menu_, &QMenu::aboutToShow, this, [this] {
        discardMenuEntries(menu_);
        if (fill_) {
            fill_(menu_);
        }
    });
    setBookmarkName(std::nullopt);
}

void BookmarkMenuToolbarButton::setBookmarkName(const std::optional<std::string>& name) {
    setText(name ? QString::fromStdString(*name) : QStringLiteral("Bookmark"));
    setToolTip(name ? QStringLiteral("Actions for ") + QString::fromStdString(*name)
                    : QStringLiteral("Bookmark actions — select a lane to enable"));
    setEnabled(name.has_value());
}

}  // namespace vorda
