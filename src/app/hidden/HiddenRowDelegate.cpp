#include "app/hidden/HiddenRowDelegate.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QStyleOptionButton>
#include <QToolTip>
#include <algorithm>

#include "app/column/CardFonts.h"
#include "app/hidden/HiddenRowsModel.h"

namespace vorda {

namespace {

using Kind = hiddenpanel::PanelEntry::Kind;
using hiddenpanel::ItemKind;

constexpr int outer = 4;
constexpr int padding = 8;
constexpr int arrowWidth = 12;
constexpr int commitIndent = 24;
constexpr int gap = 6;
constexpr int lineSpacing = 2;
constexpr qreal cornerRadius = 6;
/// The lines a note's sentence may wrap over.
constexpr int noteLines = 2;

Kind kindOf(const QModelIndex& index) {
    return static_cast<Kind>(index.data(HiddenRowsModel::EntryKindRole).toInt());
}

ItemKind itemKindOf(const QModelIndex& index) {
    return static_cast<ItemKind>(index.data(HiddenRowsModel::ItemKindRole).toInt());
}

QFont boldFont(const QFont& font) {
    QFont bold = font;
    bold.setBold(true);
    return bold;
}

QString pinText(ItemKind kind) {
    switch (kind) {
        case ItemKind::oneOff:
            return QStringLiteral("Show");
        case ItemKind::untrackedRemote:
            return QStringLiteral("Track");
        case ItemKind::bookmark:
            return QStringLiteral("Pin");
    }
    return {};
}

/// The part of the row inside its margins.
QRect innerRect(const QRect& rowRect) {
    return rowRect.adjusted(outer, outer / 2, -outer, -outer / 2).adjusted(padding, 0, -padding, 0);
}

void paintArrow(QPainter* painter, const QRect& area, bool open, const QColor& color) {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    const QPointF c = QRectF(area).center();
    const qreal s = 3.5;
    const QPolygonF triangle =
        open ? QPolygonF({c + QPointF(-s, -s / 2), c + QPointF(s, -s / 2), c + QPointF(0, s)})
             : QPolygonF({c + QPointF(-s / 2, -s), c + QPointF(s, 0), c + QPointF(-s / 2, s)});
    painter->drawPolygon(triangle);
    painter->restore();
}

}  // namespace

QRect HiddenRowDelegate::pinRect(const QRect& rowRect, const QModelIndex& index,
                                 const QFont& font) {
    if (kindOf(index) != Kind::item) {
        return {};
    }
    const QFontMetrics metrics(font);
    const QRect inner = innerRect(rowRect);
    const int width = metrics.horizontalAdvance(pinText(itemKindOf(index))) + 2 * padding;
    const int height = metrics.height() + 6;
    return {inner.right() + 1 - width, inner.center().y() - height / 2, width, height};
}

QRect HiddenRowDelegate::nameRect(const QRect& rowRect, const QModelIndex& index,
                                  const QFont& font) {
    const QRect inner = innerRect(rowRect);
    const QFontMetrics bold(boldFont(font));
    const int left = inner.left() + arrowWidth + gap;
    const QRect pin = pinRect(rowRect, index, font);
    const int right = pin.isEmpty() ? inner.right() : pin.left() - gap;
    return {left, inner.top() + padding / 2, right - left + 1, bold.height()};
}

QSize HiddenRowDelegate::sizeHint(const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
    const QFontMetrics bold(boldFont(option.font));
    const QFontMetrics secondary(cardfonts::secondary(option.font));
    const QFontMetrics primary(option.font);
    const Kind kind = kindOf(index);
    if (kind == Kind::commit) {
        return {option.rect.width(),
                std::max(primary.height(), secondary.height()) + padding / 2 + outer};
    }
    const int secondLines = kind == Kind::note ? noteLines : 1;
    return {option.rect.width(),
            bold.height() + lineSpacing + secondLines * secondary.height() + padding + outer};
}

void HiddenRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const {
    const auto* view = qobject_cast<const QAbstractItemView*>(option.widget);
    const bool focused = view != nullptr && view->hasFocus();
    const QPalette& palette = option.palette;
    const Kind kind = kindOf(index);
    const bool isCursor = index.data(HiddenRowsModel::IsCursorRole).toBool();
    const bool isSelected = index.data(HiddenRowsModel::IsSelectedRole).toBool();

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRectF background = QRectF(option.rect.adjusted(outer, outer / 2, -outer, -outer / 2));
    if (isCursor) {
        QColor fill = palette.color(QPalette::Highlight);
        fill.setAlphaF(focused ? 1.0 : 0.35);
        painter->setPen(Qt::NoPen);
        painter->setBrush(fill);
        painter->drawRoundedRect(background, cornerRadius, cornerRadius);
    } else if (isSelected) {
        painter->setPen(QPen(palette.color(QPalette::Highlight), 1.5));
        painter->setBrush(Qt::NoBrush);
        painter->drawRoundedRect(background.adjusted(0.75, 0.75, -0.75, -0.75), cornerRadius,
                                 cornerRadius);
    }
    const bool inverted = isCursor && focused;
    const QColor text = palette.color(inverted ? QPalette::HighlightedText : QPalette::Text);
    const QColor dim = inverted ? text : palette.color(QPalette::PlaceholderText);

    const QRect inner = innerRect(option.rect);
    const QString label = index.data(Qt::DisplayRole).toString();
    if (kind == Kind::commit) {
        const QFont mono = cardfonts::monospace(option.font);
        const QString change = index.data(HiddenRowsModel::ShortChangeIDRole).toString();
        const int changeWidth = QFontMetrics(mono).horizontalAdvance(change);
        const QRect changeRect(inner.right() + 1 - changeWidth, inner.top(), changeWidth,
                               inner.height());
        painter->setFont(mono);
        painter->setPen(dim);
        painter->drawText(changeRect, Qt::AlignVCenter | Qt::AlignRight, change);
        const QRect summary(inner.left() + commitIndent, inner.top(),
                            changeRect.left() - gap - inner.left() - commitIndent, inner.height());
        painter->setFont(option.font);
        painter->setPen(text);
        painter->drawText(summary, Qt::AlignVCenter | Qt::AlignLeft,
                          QFontMetrics(option.font)
                              .elidedText(label, Qt::ElideRight, std::max(0, summary.width())));
        painter->restore();
        return;
    }

    const QRect name = nameRect(option.rect, index, option.font);
    if (kind == Kind::item) {
        paintArrow(painter, QRect(inner.left(), name.top(), arrowWidth, name.height()),
                   index.data(HiddenRowsModel::IsOpenRole).toBool(), dim);
    }
    const QFont bold = boldFont(option.font);
    painter->setFont(bold);
    painter->setPen(text);
    const QString nameText = index.data(HiddenRowsModel::NameRole).toString();
    painter->drawText(name, Qt::AlignVCenter | Qt::AlignLeft,
                      QFontMetrics(bold).elidedText(nameText, Qt::ElideRight, name.width()));

    const QFont secondary = cardfonts::secondary(option.font);
    const QFontMetrics secondaryMetrics(secondary);
    painter->setFont(secondary);
    painter->setPen(dim);
    if (kind == Kind::note) {
        // A note is a sentence: it wraps instead of being cut.
        const QRect sentence(name.left(), name.bottom() + 1 + lineSpacing, name.width(),
                             noteLines * secondaryMetrics.height());
        painter->drawText(sentence, Qt::AlignTop | Qt::AlignLeft | Qt::TextWordWrap, label);
    } else {
        const QRect second(name.left(), name.bottom() + 1 + lineSpacing, name.width(),
                           secondaryMetrics.height());
        painter->drawText(second, Qt::AlignVCenter | Qt::AlignLeft,
                          secondaryMetrics.elidedText(label, Qt::ElideRight, second.width()));
    }

    const QRect pin = pinRect(option.rect, index, option.font);
    if (!pin.isEmpty()) {
        QStyleOptionButton button;
        button.initFrom(option.widget);
        button.rect = pin;
        button.text = pinText(itemKindOf(index));
        button.state = QStyle::State_Enabled | QStyle::State_Raised;
        const QStyle* style =
            option.widget != nullptr ? option.widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_PushButton, &button, painter, option.widget);
    }
    painter->restore();
}

bool HiddenRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                  const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event->type() == QEvent::ToolTip &&
        pinRect(option.rect, index, option.font).contains(event->pos())) {
        QToolTip::showText(event->globalPos(),
                           index.data(HiddenRowsModel::PinToolTipRole).toString(), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

}  // namespace vorda
