#pragma once

#include <QFont>
#include <QPalette>
#include <QPoint>
#include <QRect>
#include <QString>
#include <vector>

#include "jjkit/records/JJCommit.h"

class QPainter;

namespace vorda {

/// The one-letter status of a changed file ("A", "M", "D", "R", "C") in a
/// small framed box, as the file lists of the cards show it.
struct FileStatusBadge {
    /// The badge's side for a line of `lineHeight`.
    static int side(int lineHeight);
    static void paint(QPainter* painter, const QRect& rect, const QString& status,
                      const QPalette& palette, QPalette::ColorGroup group, bool selected);
    /// "added", "modified", "deleted", "renamed", "copied"; the status as
    /// jj printed it otherwise.
    static QString description(const QString& status);
};

/// The changed files listed under a commit card: one line per file with its
/// status badge, its path and its line counts, "no changes" for a commit
/// that changes nothing, and one waiting line while the list loads (`files`
/// null). The delegate gives the block its place; these functions size,
/// paint and explain it.
namespace cardfiles {

/// The height of the block for `files` under a card drawn in `font`.
int height(const QFont& font, const std::vector<ChangedFile>* files);

void paint(QPainter* painter, const QRect& area, const QFont& font,
           const std::vector<ChangedFile>* files, const QPalette& palette,
           QPalette::ColorGroup group, bool selected);

/// "+12 −3"; either part left out when jj gave no count.
QString lineCounts(const ChangedFile& file);

/// The tooltip of the file line under `position`: the path, the status in
/// words and the counts. Empty outside the lines.
QString tooltipAt(const QRect& area, const QFont& font, const std::vector<ChangedFile>* files,
                  const QPoint& position);

}  // namespace cardfiles

}  // namespace vorda
