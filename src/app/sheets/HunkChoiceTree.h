#pragma once

#include <QTreeWidget>
#include <string>
#include <vector>

#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/UnifiedDiffParser.h"

namespace vorda {

/// A diff's files with their hunks below them, each with a checkbox: the
/// choice of what goes where when a commit is split or hunks are carved out
/// of the working copy.
///
/// A file without textual hunks (binary, or a mode change) is chosen whole
/// through its own row, which says "(no textual hunks)" below it. A file
/// row with hunks shows whether all, some or none of them are checked, and
/// checking it checks them all.
///
/// With hunks hidden, the rows are files only: a file with some hunks
/// checked becomes fully checked, as one file cannot be split in that mode.
class HunkChoiceTree : public QTreeWidget {
    Q_OBJECT

  public:
    HunkChoiceTree(const UnifiedDiff& diff, bool checked, QWidget* parent);

    void setHunksShown(bool shown);

    /// The checked and unchecked choices: hunks, with a file without
    /// textual hunks counting as one; files when hunks are hidden.
    struct Counts {
        std::size_t checked = 0;
        std::size_t unchecked = 0;
    };
    Counts counts() const;
    /// The fully checked files.
    std::vector<std::string> checkedPaths() const;
    /// The helper's selection keeping the checked hunks. A file without
    /// textual hunks is named with nothing kept when it is unchecked; a
    /// checked one is left out, which keeps it whole.
    DiffEditorProtocol::HunkSelection checkedHunks() const;

  Q_SIGNALS:
    /// Any checkbox changed.
    void choiceChanged();

  private:
    bool hunksShown_ = true;
};

}  // namespace vorda
