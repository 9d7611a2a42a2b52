#include "app/links/LinkedLine.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

namespace vorda {

LinkedLine::LinkedLine(const QFont& font, const QString& text, const QRect& rect,
                       const std::vector<CommitLinkMatch>& links, int offset)
    : font_(font) {
    const QFontMetrics metrics(font);
    const QString shown = metrics.elidedText(text, Qt::ElideRight, rect.width());
    // An elided line keeps a prefix of the text and adds one "…".
    const auto visible = shown == text ? shown.size() : std::max<qsizetype>(shown.size() - 1, 0);
    const auto addRun = [&](qsizetype from, qsizetype to, int link) {
        if (to <= from) {
            return;
        }
        const int left = rect.left() + metrics.horizontalAdvance(shown.left(from));
        const int width = metrics.horizontalAdvance(shown.mid(from, to - from));
        runs_.push_back(
            {shown.mid(from, to - from), QRect(left, rect.top(), width, rect.height()), link});
    };
    qsizetype position = 0;
    for (std::size_t index = 0; index < links.size(); ++index) {
        const auto start = static_cast<qsizetype>(links[index].location) + offset;
        const auto end = std::min(start + static_cast<qsizetype>(links[index].length), visible);
        if (start < position || start >= visible) {
            continue;
        }
        addRun(position, start, -1);
        addRun(start, end, static_cast<int>(index));
        position = end;
    }
    addRun(position, shown.size(), -1);
}

void LinkedLine::paint(QPainter& painter, const QColor& textColor, const QColor& linkColor) const {
    QFont underlined = font_;
    underlined.setUnderline(true);
    for (const Run& run : runs_) {
        const bool isLink = run.link >= 0;
        painter.setFont(isLink ? underlined : font_);
        painter.setPen(isLink ? linkColor : textColor);
        painter.drawText(run.rect,
                         Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine | Qt::TextDontClip,
                         run.text);
    }
    painter.setFont(font_);
}

int LinkedLine::linkAt(const QPoint& position) const {
    for (const Run& run : runs_) {
        if (run.link >= 0 && run.rect.contains(position)) {
            return run.link;
        }
    }
    return -1;
}

}  // namespace vorda
