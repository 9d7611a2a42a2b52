#include "app/column/CommitCardFiles.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cstddef>

#include "app/column/CardFonts.h"
#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

namespace {

constexpr int blockPadding = 4;
constexpr int gap = 6;

int lineHeight(const QFont& font) {
    return QFontMetrics(cardfonts::secondary(font)).height() + 2;
}

std::size_t lineCount(const std::vector<ChangedFile>* files) {
    return files == nullptr || files->empty() ? 1 : files->size();
}

QRect lineRect(const QRect& area, int height, std::size_t line) {
    return {area.left(), area.top() + blockPadding + static_cast<int>(line) * height, area.width(),
            height};
}

QString waitingText() {
    return QStringLiteral("Loading files…");
}

}  // namespace

int FileStatusBadge::side(int lineHeight) {
    return std::max(10, lineHeight - 2);
}

void FileStatusBadge::paint(QPainter* painter, const QRect& rect, const QString& status,
                            const QPalette& palette, QPalette::ColorGroup group, bool selected) {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QColor text = palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    painter->setPen(selected ? text : palette.color(group, QPalette::Mid));
    painter->setBrush(selected ? Qt::NoBrush : palette.brush(group, QPalette::AlternateBase));
    painter->drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
    QFont bold = painter->font();
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(text);
    painter->drawText(rect, Qt::AlignCenter, status.left(1));
    painter->restore();
}

QString FileStatusBadge::description(const QString& status) {
    if (status == QLatin1String("A")) {
        return QStringLiteral("added");
    }
    if (status == QLatin1String("M")) {
        return QStringLiteral("modified");
    }
    if (status == QLatin1String("D")) {
        return QStringLiteral("deleted");
    }
    if (status == QLatin1String("R")) {
        return QStringLiteral("renamed");
    }
    if (status == QLatin1String("C")) {
        return QStringLiteral("copied");
    }
    return status;
}

namespace cardfiles {

int height(const QFont& font, const std::vector<ChangedFile>* files) {
    return 2 * blockPadding + static_cast<int>(lineCount(files)) * lineHeight(font);
}

QString lineCounts(const ChangedFile& file) {
    QStringList parts;
    if (file.linesAdded) {
        parts.append(QStringLiteral("+%1").arg(*file.linesAdded));
    }
    if (file.linesRemoved) {
        parts.append(QStringLiteral("−%1").arg(*file.linesRemoved));
    }
    return parts.join(QLatin1Char(' '));
}

void paint(QPainter* painter, const QRect& area, const QFont& font,
           const std::vector<ChangedFile>* files, const QPalette& palette,
           QPalette::ColorGroup group, bool selected) {
    painter->save();
    const QColor secondary =
        palette.color(group, selected ? QPalette::HighlightedText : QPalette::PlaceholderText);
    const QColor primary =
        palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    // A hairline sets the list apart from the card's own lines.
    painter->setPen(palette.color(group, selected ? QPalette::HighlightedText : QPalette::Mid));
    painter->drawLine(area.left(), area.top() + blockPadding / 2, area.right(),
                      area.top() + blockPadding / 2);

    const QFont small = cardfonts::secondary(font);
    const QFont mono = cardfonts::monospace(font);
    const int height = lineHeight(font);
    if (files == nullptr || files->empty()) {
        QFont italic = small;
        italic.setItalic(true);
        painter->setFont(italic);
        painter->setPen(secondary);
        painter->drawText(lineRect(area, height, 0), Qt::AlignVCenter | Qt::AlignLeft,
                          files == nullptr ? waitingText() : qtText(columntext::noChangesText));
        painter->restore();
        return;
    }
    const QFontMetrics smallMetrics(small);
    const QFontMetrics monoMetrics(mono);
    const int badge = FileStatusBadge::side(height);
    for (std::size_t line = 0; line < files->size(); ++line) {
        const ChangedFile& file = (*files)[line];
        const QRect row = lineRect(area, height, line);
        painter->setFont(small);
        FileStatusBadge::paint(
            painter, QRect(row.left(), row.top() + (row.height() - badge) / 2, badge, badge),
            QString::fromStdString(file.status), palette, group, selected);
        const QString counts = lineCounts(file);
        const int countsWidth = smallMetrics.horizontalAdvance(counts);
        painter->setPen(secondary);
        painter->drawText(row, Qt::AlignVCenter | Qt::AlignRight, counts);
        const int pathLeft = row.left() + badge + gap;
        const int pathWidth = std::max(0, row.right() + 1 - countsWidth - gap - pathLeft);
        painter->setFont(mono);
        painter->setPen(primary);
        painter->drawText(
            QRect(pathLeft, row.top(), pathWidth, row.height()), Qt::AlignVCenter | Qt::AlignLeft,
            monoMetrics.elidedText(QString::fromStdString(file.path), Qt::ElideMiddle, pathWidth));
    }
    painter->restore();
}

QString tooltipAt(const QRect& area, const QFont& font, const std::vector<ChangedFile>* files,
                  const QPoint& position) {
    if (files == nullptr || !area.contains(position)) {
        return {};
    }
    const int height = lineHeight(font);
    for (std::size_t line = 0; line < files->size(); ++line) {
        if (lineRect(area, height, line).contains(position)) {
            const ChangedFile& file = (*files)[line];
            QString text = QString::fromStdString(file.path) + QStringLiteral(" · ") +
                           FileStatusBadge::description(QString::fromStdString(file.status));
            const QString counts = lineCounts(file);
            return counts.isEmpty() ? text : text + QStringLiteral(" · ") + counts;
        }
    }
    return {};
}

}  // namespace cardfiles

}  // namespace vorda
