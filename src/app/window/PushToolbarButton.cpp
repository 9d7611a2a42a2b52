#include "app/window/PushToolbarButton.h"

#include "app/window/BookmarkPushPresentation.h"

namespace vorda {

PushToolbarButton::PushToolbarButton(QWidget* parent) : QToolButton(parent) {
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    setBookmark(std::nullopt, false);
    connect(this, &QToolButton::clicked, this, [this] {
        if (bookmark_) {
            Q_EMIT pushRequested(*bookmark_);
        }
    });
}

void PushToolbarButton::setBookmark(const std::optional<Bookmark>& bookmark, bool pushing) {
    bookmark_ = bookmark;
    setText(label(bookmark_));
    setToolTip(QString::fromStdString(BookmarkPushPresentation::tooltip(bookmark_)));
    setEnabled(bookmark_.has_value() && !pushing &&
               !BookmarkPushPresentation::isUpToDate(bookmark_));
}

QString PushToolbarButton::label(const std::optional<Bookmark>& bookmark) {
    return BookmarkPushPresentation::isForcePush(bookmark) ? QStringLiteral("Force Push")
                                                           : QStringLiteral("Push");
}

}  // namespace vorda
