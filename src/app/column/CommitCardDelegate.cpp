#include "app/column/CommitCardDelegate.h"

#include <QAbstractItemView>
#include <QFontMetrics>
#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <algorithm>
#include <vector>

#include "app/column/CardFonts.h"
#include "app/column/CommitCardFiles.h"
#include "app/column/CommitListModel.h"
#include "app/links/CommitLinkActions.h"
#include "app/links/CommitLinkLookup.h"
#include "app/links/LinkRepository.h"
#include "app/links/LinkedLine.h"

namespace vorda {

namespace {

using RowKind = CommitListModel::RowKind;

constexpr int outerHorizontal = 6;
constexpr int outerVertical = 3;
constexpr int paddingHorizontal = 8;
constexpr int paddingVertical = 6;
constexpr int lineSpacing = 2;
constexpr int lockWidth = 9;
constexpr int gap = 6;
constexpr int chipPadding = 5;
constexpr int chipGap = 4;
constexpr qreal cornerRadius = 6;

// What one row shows, read from the model once per paint or tooltip.
struct CardContent {
    RowKind kind = RowKind::commit;
    QString summary;
    QString changeText;
    QString author;
    QString time;
    QString baseNote;
    bool immutable = false;
    bool selected = false;
    bool advancing = false;
    bool conflict = false;
    std::vector<CardChip> chips;
    bool listsFiles = false;
    /// Null while the files are loading (or not listed).
    const std::vector<ChangedFile>* files = nullptr;
};

CardContent contentOf(const QModelIndex& index) {
    CardContent content;
    content.kind = static_cast<RowKind>(index.data(CommitListModel::RowKindRole).toInt());
    content.summary = index.data(Qt::DisplayRole).toString();
    if (content.kind == RowKind::loadMore) {
        return content;
    }
    content.changeText = index.data(CommitListModel::ShortChangeIDRole).toString();
    if (index.data(CommitListModel::IsWorkingCopyRole).toBool()) {
        content.changeText.prepend(QStringLiteral("@ "));
    }
    content.author = index.data(CommitListModel::AuthorRole).toString();
    content.time = index.data(CommitListModel::RelativeTimeRole).toString();
    content.baseNote = index.data(CommitListModel::BaseNoteRole).toString();
    content.immutable = index.data(CommitListModel::IsImmutableRole).toBool();
    content.selected = index.data(CommitListModel::IsSelectedRole).toBool();
    content.advancing = index.data(CommitListModel::IsAdvancingRole).toBool();
    content.conflict = index.data(CommitListModel::IsConflictRole).toBool();
    if (const auto* model = qobject_cast<const CommitListModel*>(index.model())) {
        content.chips = model->chips(index.row());
        content.listsFiles = model->listsFiles(index.row());
        content.files = content.listsFiles ? model->commitFiles(index.row()) : nullptr;
    }
    return content;
}

// Where each part of a card goes; shared by painting and tooltips so that a
// tooltip always belongs to what is drawn under the pointer.
struct CardLayout {
    QRect card;
    QRect lock;
    QRect summary;
    QRect change;
    QRect conflict;
    QRect author;
    QRect time;
    QRect advancing;
    QRect baseNote;
    std::vector<std::pair<QRect, const CardChip*>> chips;
    /// The file list under the card's lines, when it lists files.
    QRect files;
};

QString basePrefix() {
    return QStringLiteral("base: ");
}
QString advancingText() {
    return QStringLiteral("advancing…");
}
QString conflictText() {
    return QStringLiteral("conflict");
}

/// The summary as the card shows it, before eliding.
QString shownSummary(const CardContent& content) {
    return content.kind == RowKind::base ? basePrefix() + content.summary : content.summary;
}

/// The links in the summary, once they are known; asking starts the lookup.
std::vector<CommitLinkMatch> summaryLinks(const QStyleOptionViewItem& option,
                                          const CardContent& content) {
    auto links = CommitLinkLookup::shared().links(content.summary, linkRepository(option.widget));
    return links ? std::move(*links) : std::vector<CommitLinkMatch>{};
}

/// Where the summary starts in the line the card shows.
int summaryOffset(const CardContent& content) {
    return content.kind == RowKind::base ? static_cast<int>(basePrefix().size()) : 0;
}

CardLayout layoutOf(const QStyleOptionViewItem& option, const CardContent& content) {
    const QFontMetrics primary(option.font);
    const QFontMetrics secondary(cardfonts::secondary(option.font));
    const QFontMetrics mono(cardfonts::monospace(option.font));

    CardLayout layout;
    layout.card =
        option.rect.adjusted(outerHorizontal, outerVertical, -outerHorizontal, -outerVertical);
    const QRect inner =
        layout.card.adjusted(paddingHorizontal, paddingVertical, -paddingHorizontal, 0);
    const QRect line1(inner.left(), inner.top(), inner.width(), primary.height());
    const QRect line2(inner.left(), line1.bottom() + 1 + lineSpacing, inner.width(),
                      secondary.height());
    const QRect line3(inner.left(), line2.bottom() + 1 + lineSpacing, inner.width(),
                      secondary.height() + 2);

    int summaryLeft = line1.left();
    if (content.immutable) {
        const int lockHeight = std::min(line1.height(), 12);
        layout.lock = QRect(line1.left(), line1.top() + (line1.height() - lockHeight) / 2,
                            lockWidth, lockHeight);
        summaryLeft = layout.lock.right() + 1 + gap;
    }
    layout.summary =
        QRect(summaryLeft, line1.top(), line1.right() - summaryLeft + 1, line1.height());

    layout.change =
        QRect(line2.left(), line2.top(),
              std::min(mono.horizontalAdvance(content.changeText), line2.width()), line2.height());
    int authorLeft = layout.change.right() + 1 + gap;
    if (content.conflict) {
        layout.conflict = QRect(authorLeft, line2.top(),
                                secondary.horizontalAdvance(conflictText()), line2.height());
        authorLeft = layout.conflict.right() + 1 + gap;
    }
    const int timeWidth = secondary.horizontalAdvance(content.time);
    layout.time = QRect(line2.right() + 1 - timeWidth, line2.top(), timeWidth, line2.height());
    layout.author = QRect(authorLeft, line2.top(),
                          std::max(0, layout.time.left() - gap - authorLeft), line2.height());

    int x = line3.left();
    if (content.advancing) {
        layout.advancing =
            QRect(x, line3.top(), secondary.horizontalAdvance(advancingText()), line3.height());
        x = layout.advancing.right() + 1 + chipGap;
    }
    if (!content.baseNote.isEmpty()) {
        const int lockSpace = content.immutable ? lockWidth + chipPadding : 0;
        layout.baseNote =
            QRect(x, line3.top(), lockSpace + secondary.horizontalAdvance(content.baseNote),
                  line3.height());
        x = layout.baseNote.right() + 1 + chipGap;
    }
    for (const auto& chip : content.chips) {
        const int lockSpace = chip.isImmutable ? lockWidth + chipPadding : 0;
        const int width = secondary.horizontalAdvance(chip.text) + 2 * chipPadding + lockSpace;
        if (x + width > line3.right() + 1) {
            break;
        }
        layout.chips.emplace_back(QRect(x, line3.top(), width, line3.height()), &chip);
        x += width + chipGap;
    }
    if (content.listsFiles) {
        layout.files = QRect(inner.left(), line3.bottom() + 1, inner.width(),
                             cardfiles::height(option.font, content.files));
    }
    return layout;
}

void paintLock(QPainter* painter, const QRect& rect, const QColor& color) {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const int bodyTop = rect.top() + rect.height() * 5 / 12;
    const QRectF body(rect.left(), bodyTop, rect.width(), rect.bottom() - bodyTop + 1);
    QPen pen(color, 1.4);
    painter->setPen(pen);
    painter->setBrush(Qt::NoBrush);
    const qreal shackleWidth = rect.width() * 0.6;
    const QRectF shackle(rect.left() + (rect.width() - shackleWidth) / 2, rect.top(), shackleWidth,
                         (bodyTop - rect.top()) * 2);
    painter->drawArc(shackle, 0, 180 * 16);
    painter->setPen(Qt::NoPen);
    painter->setBrush(color);
    painter->drawRoundedRect(body, 1.5, 1.5);
    painter->restore();
}

QPalette::ColorGroup colorGroup(const QStyleOptionViewItem& option) {
    if (!option.state.testFlag(QStyle::State_Enabled)) {
        return QPalette::Disabled;
    }
    return option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
}

void paintLoadMore(QPainter* painter, const QStyleOptionViewItem& option, const QString& label) {
    const QPalette::ColorGroup group = colorGroup(option);
    const QRect card =
        option.rect.adjusted(outerHorizontal, outerVertical, -outerHorizontal, -outerVertical);
    painter->setRenderHint(QPainter::Antialiasing);
    QPen border(option.palette.color(group, QPalette::Mid));
    border.setStyle(Qt::DashLine);
    painter->setPen(border);
    painter->setBrush(Qt::NoBrush);
    painter->drawRoundedRect(QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                             cornerRadius);
    QFont font = option.font;
    font.setUnderline(option.state.testFlag(QStyle::State_MouseOver));
    painter->setFont(font);
    painter->setPen(option.palette.color(group, QPalette::Link));
    painter->drawText(card, Qt::AlignCenter, label);
}

void paintChip(QPainter* painter, const QRect& rect, const CardChip& chip, const QPalette& palette,
               QPalette::ColorGroup group) {
    painter->save();
    if (chip.isColumnHidden) {
        painter->setOpacity(painter->opacity() * 0.6);
    }
    const bool accented =
        chip.kind == CardChip::Kind::compositionPoint || chip.kind == CardChip::Kind::advancingTip;
    painter->setPen(palette.color(group, accented ? QPalette::Link : QPalette::Mid));
    painter->setBrush(palette.color(group, QPalette::AlternateBase));
    painter->drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), rect.height() / 2.0,
                             rect.height() / 2.0);
    const QColor textColor = palette.color(group, accented ? QPalette::Link : QPalette::Text);
    QRect textRect = rect.adjusted(chipPadding, 0, -chipPadding, 0);
    if (chip.isImmutable) {
        const int lockHeight = std::min(textRect.height() - 2, 10);
        paintLock(painter,
                  QRect(textRect.left(), textRect.top() + (textRect.height() - lockHeight) / 2,
                        lockWidth - 2, lockHeight),
                  textColor);
        textRect.setLeft(textRect.left() + lockWidth + chipPadding);
    }
    painter->setPen(textColor);
    painter->drawText(textRect, Qt::AlignVCenter | Qt::AlignLeft, chip.text);
    painter->restore();
}

}  // namespace

CommitCardDelegate::CommitCardDelegate(QObject* parent) : QStyledItemDelegate(parent) {}

int CommitCardDelegate::rowHeight(const QFont& font) {
    const QFontMetrics primary(font);
    const QFontMetrics secondary(cardfonts::secondary(font));
    return 2 * outerVertical + 2 * paddingVertical + primary.height() + 2 * secondary.height() + 2 +
           2 * lineSpacing;
}

QSize CommitCardDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    int height = rowHeight(option.font);
    const auto* model = qobject_cast<const CommitListModel*>(index.model());
    if (model != nullptr && index.isValid() && model->listsFiles(index.row())) {
        height += cardfiles::height(option.font, model->commitFiles(index.row()));
    }
    return {std::max(option.rect.width(), 0), height};
}

void CommitCardDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    const CardContent content = contentOf(index);
    painter->save();
    if (content.kind == RowKind::loadMore) {
        paintLoadMore(painter, option, content.summary);
        painter->restore();
        return;
    }

    const QPalette& palette = option.palette;
    const QPalette::ColorGroup group = colorGroup(option);
    const CardLayout layout = layoutOf(option, content);
    const bool history = content.kind == RowKind::ancestor || content.kind == RowKind::base;
    if (history) {
        painter->setOpacity(0.75);
    }

    painter->setRenderHint(QPainter::Antialiasing);
    const QColor fill =
        content.selected ? palette.color(group, QPalette::Highlight)
                         : palette.color(group, history ? QPalette::AlternateBase : QPalette::Base);
    const bool hovered = option.state.testFlag(QStyle::State_MouseOver);
    const QColor border = content.selected || hovered ? palette.color(group, QPalette::Highlight)
                                                      : palette.color(group, QPalette::Mid);
    painter->setPen(QPen(border, 1));
    painter->setBrush(fill);
    painter->drawRoundedRect(QRectF(layout.card).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                             cornerRadius);
    if (content.advancing) {
        painter->setPen(Qt::NoPen);
        painter->setBrush(palette.color(group, QPalette::Link));
        painter->drawRoundedRect(
            QRectF(layout.card.left() + 1, layout.card.top() + 4, 3, layout.card.height() - 8), 1.5,
            1.5);
    }

    const QColor textColor =
        palette.color(group, content.selected ? QPalette::HighlightedText : QPalette::Text);
    const QColor secondaryColor =
        content.selected ? textColor : palette.color(group, QPalette::PlaceholderText);

    if (content.immutable) {
        paintLock(painter, layout.lock, secondaryColor);
    }
    const LinkedLine summary(option.font, shownSummary(content), layout.summary,
                             summaryLinks(option, content), summaryOffset(content));
    summary.paint(*painter, textColor,
                  content.selected ? textColor : palette.color(group, QPalette::Link));

    const QFont small = cardfonts::secondary(option.font);
    const QFontMetrics smallMetrics(small);
    painter->setFont(cardfonts::monospace(option.font));
    painter->setPen(secondaryColor);
    painter->drawText(layout.change, Qt::AlignVCenter | Qt::AlignLeft, content.changeText);
    painter->setFont(small);
    if (content.conflict) {
        painter->setPen(content.selected ? textColor : palette.color(group, QPalette::Link));
        painter->drawText(layout.conflict, Qt::AlignVCenter | Qt::AlignLeft, conflictText());
        painter->setPen(secondaryColor);
    }
    painter->drawText(
        layout.author, Qt::AlignVCenter | Qt::AlignLeft,
        smallMetrics.elidedText(content.author, Qt::ElideRight, layout.author.width()));
    painter->drawText(layout.time, Qt::AlignVCenter | Qt::AlignRight, content.time);

    if (content.advancing) {
        QFont italic = small;
        italic.setItalic(true);
        painter->setFont(italic);
        painter->setPen(content.selected ? textColor : palette.color(group, QPalette::Link));
        painter->drawText(layout.advancing, Qt::AlignVCenter | Qt::AlignLeft, advancingText());
        painter->setFont(small);
    }
    if (!layout.baseNote.isNull()) {
        QRect noteRect = layout.baseNote;
        painter->setPen(secondaryColor);
        if (content.immutable) {
            const int lockHeight = std::min(noteRect.height() - 2, 10);
            paintLock(painter,
                      QRect(noteRect.left(), noteRect.top() + (noteRect.height() - lockHeight) / 2,
                            lockWidth - 2, lockHeight),
                      secondaryColor);
            noteRect.setLeft(noteRect.left() + lockWidth + chipPadding);
        }
        painter->drawText(noteRect, Qt::AlignVCenter | Qt::AlignLeft, content.baseNote);
    }
    for (const auto& [rect, chip] : layout.chips) {
        paintChip(painter, rect, *chip, palette, group);
    }
    if (content.listsFiles) {
        cardfiles::paint(painter, layout.files, option.font, content.files, palette, group,
                         content.selected);
    }
    painter->restore();
}

QString CommitCardDelegate::tooltipAt(const QStyleOptionViewItem& option, const QModelIndex& index,
                                      const QPoint& position) const {
    const CardContent content = contentOf(index);
    if (content.kind == RowKind::loadMore) {
        return {};
    }
    if (const auto link = linkAt(option, index, position)) {
        return commitlinks::tooltip(*link);
    }
    const CardLayout layout = layoutOf(option, content);
    for (const auto& [rect, chip] : layout.chips) {
        if (rect.contains(position) && !chip->tooltip.isEmpty()) {
            return chip->tooltip;
        }
    }
    if (QString file = cardfiles::tooltipAt(layout.files, option.font, content.files, position);
        !file.isEmpty()) {
        return file;
    }
    if (layout.summary.contains(position)) {
        // A cut summary shows whole above the card's own tooltip.
        const QString summary = shownSummary(content);
        if (QFontMetrics(option.font).horizontalAdvance(summary) > layout.summary.width()) {
            return summary + QLatin1Char('\n') + index.data(Qt::ToolTipRole).toString();
        }
    }
    if (layout.author.contains(position)) {
        return index.data(CommitListModel::AuthorToolTipRole).toString();
    }
    if (layout.time.contains(position)) {
        return index.data(CommitListModel::TimestampToolTipRole).toString();
    }
    return index.data(Qt::ToolTipRole).toString();
}

std::optional<CommitLinkMatch> CommitCardDelegate::linkAt(const QStyleOptionViewItem& option,
                                                          const QModelIndex& index,
                                                          const QPoint& position) const {
    const CardContent content = contentOf(index);
    if (content.kind == RowKind::loadMore) {
        return std::nullopt;
    }
    const CardLayout layout = layoutOf(option, content);
    if (!layout.summary.contains(position)) {
        return std::nullopt;
    }
    auto links = summaryLinks(option, content);
    const int link = LinkedLine(option.font, shownSummary(content), layout.summary, links,
                                summaryOffset(content))
                         .linkAt(position);
    return link < 0 ? std::nullopt
                    : std::optional(std::move(links[static_cast<std::size_t>(link)]));
}

std::optional<CardChip> CommitCardDelegate::chipAt(const QStyleOptionViewItem& option,
                                                   const QModelIndex& index,
                                                   const QPoint& position) const {
    const CardContent content = contentOf(index);
    if (content.kind == RowKind::loadMore) {
        return std::nullopt;
    }
    for (const auto& [rect, chip] : layoutOf(option, content).chips) {
        if (rect.contains(position)) {
            return *chip;
        }
    }
    return std::nullopt;
}

std::optional<QRect> CommitCardDelegate::chipRect(const QStyleOptionViewItem& option,
                                                  const QModelIndex& index,
                                                  const CardChip& wanted) const {
    const CardContent content = contentOf(index);
    for (const auto& [rect, chip] : layoutOf(option, content).chips) {
        if (*chip == wanted) {
            return rect;
        }
    }
    return std::nullopt;
}

bool CommitCardDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                   const QStyleOptionViewItem& option, const QModelIndex& index) {
    if (event == nullptr || view == nullptr || event->type() != QEvent::ToolTip ||
        !index.isValid()) {
        return QStyledItemDelegate::helpEvent(event, view, option, index);
    }
    const QString text = tooltipAt(option, index, event->pos());
    if (text.isEmpty()) {
        QToolTip::hideText();
        event->ignore();
        return false;
    }
    QToolTip::showText(event->globalPos(), text, view->viewport(), option.rect);
    return true;
}

}  // namespace vorda
