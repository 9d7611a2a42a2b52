#include "app/launcher/RecentRepoDelegate.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

namespace vorda {
namespace {

constexpr int tagPadding = 6;
constexpr int rowPadding = 6;

QFont tagFont(const QFont& base) {
    QFont font = base;
    if (base.pointSizeF() > 0) {
        font.setPointSizeF(base.pointSizeF() * 0.85);
    }
    return font;
}

}  // namespace

void RecentRepoDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyleOptionViewItem opt = option;
    initStyleOption(&opt, index);
    const bool missing = index.data(missingRole).toBool();
    const QString text = opt.text;
    opt.text.clear();
    const QWidget* widget = opt.widget;
    QStyle* style = widget != nullptr ? widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &opt, painter, widget);

    const QRect content = opt.rect.adjusted(rowPadding, 0, -rowPadding, 0);
    const bool selected = (opt.state & QStyle::State_Selected) != 0;
    const QColor textColor =
        opt.palette.color(selected ? QPalette::HighlightedText : QPalette::Text);

    QRect textRect = content;
    painter->save();
    if (missing) {
        const QString label = QLatin1String(missingLabel);
        const QFont font = tagFont(opt.font);
        const QFontMetrics metrics(font);
        const int width = metrics.horizontalAdvance(label) + 2 * tagPadding;
        const int height = metrics.height() + 2;
        const QRect tag(content.right() - width, content.center().y() - height / 2, width, height);
        QPainterPath pill;
        pill.addRoundedRect(QRectF(tag), height / 2.0, height / 2.0);
        QColor fill = opt.palette.color(QPalette::PlaceholderText);
        fill.setAlpha(60);
        painter->setRenderHint(QPainter::Antialiasing);
        painter->fillPath(pill, fill);
        painter->setFont(font);
        painter->setPen(selected ? textColor : opt.palette.color(QPalette::PlaceholderText));
        painter->drawText(tag, Qt::AlignCenter, label);
        textRect.setRight(tag.left() - tagPadding);
    }
    painter->setFont(opt.font);
    painter->setPen(missing && !selected ? opt.palette.color(QPalette::PlaceholderText)
                                         : textColor);
    const QString elided = opt.fontMetrics.elidedText(text, Qt::ElideMiddle, textRect.width());
    painter->drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft, elided);
    painter->restore();
}

QSize RecentRepoDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(size.height() + rowPadding);
    return size;
}

}  // namespace vorda
