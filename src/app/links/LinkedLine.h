#pragma once

#include <QColor>
#include <QFont>
#include <QRect>
#include <QString>
#include <vector>

#include "jjkit/links/CommitLinkEngine.h"

class QPainter;

namespace vorda {

/// One line of text drawn with some of its ranges as links, cut with "…"
/// at the right when it does not fit: the geometry that painting and
/// pointing share.
///
/// `links` are ranges of `text` in UTF-16 units; `offset` shifts them (the
/// line may start with words of its own before the linked text).
class LinkedLine {
  public:
    struct Run {
        QString text;
        QRect rect;
        /// Index into the links, or -1 for plain text.
        int link = -1;
    };

    LinkedLine(const QFont& font, const QString& text, const QRect& rect,
               const std::vector<CommitLinkMatch>& links, int offset = 0);

    /// Draws the runs; links in `linkColor`, underlined.
    void paint(QPainter& painter, const QColor& textColor, const QColor& linkColor) const;

    /// The link under `position`, or -1.
    int linkAt(const QPoint& position) const;

    const std::vector<Run>& runs() const { return runs_; }

  private:
    QFont font_;
    std::vector<Run> runs_;
};

}  // namespace vorda
