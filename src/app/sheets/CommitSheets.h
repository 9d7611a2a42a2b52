#pragma once

#include <string>
#include <vector>

#include "app/sheets/HunkChoiceTree.h"
#include "app/sheets/SheetDialog.h"
#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/UnifiedDiffParser.h"
#include "jjkit/records/JJCommit.h"

class QCheckBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace vorda {

class RepoViewModel;

/// "Describe SHORT-ID": the commit's description to edit. An immutable
/// commit is marked "Immutable — overriding" and the command carries
/// `ignoreImmutable`. "Save" sends `describeCommit`.
class DescribeCommitSheet : public SheetDialog {
    Q_OBJECT

  public:
    DescribeCommitSheet(RepoViewModel& viewModel, const JJCommit& commit, QWidget* parent);
    QPlainTextEdit* descriptionField() const { return description_; }

  private:
    QPlainTextEdit* description_;
};

/// "Split SHORT-ID": what stays in the commit; the rest moves to a new commit
/// that takes its place. By files (checked files stay, `splitCommit`) or,
/// with "Split by hunks", by hunks (checked hunks stay,
/// `splitCommitByHunks`). "Split" needs something that stays and something
/// that moves.
class SplitCommitSheet : public SheetDialog {
    Q_OBJECT

  public:
    SplitCommitSheet(RepoViewModel& viewModel, const JJCommit& commit, const UnifiedDiff& diff,
                     QWidget* parent);

    QCheckBox* byHunksToggle() const { return byHunks_; }
    /// Files with their hunks; all checked at first.
    HunkChoiceTree* choices() const { return choices_; }
    QLabel* explanation() const { return explanation_; }
    QLabel* counts() const { return counts_; }

  private:
    void update();

    QCheckBox* byHunks_;
    QLabel* explanation_;
    HunkChoiceTree* choices_;
    QLabel* counts_;
};

/// "Resolve conflicts": the working copy's conflicted files, each with
/// "Open merge tool", which sends `resolveFile` (jj runs the configured
/// merge editor). "Done" closes.
class ConflictResolveSheet : public SheetDialog {
    Q_OBJECT

  public:
    /// `lines` as jj lists conflicts: a path as seen from this process's
    /// folder, then jj's description of the conflict.
    ConflictResolveSheet(RepoViewModel& viewModel, const std::vector<std::string>& lines,
                         QWidget* parent);

    /// The path in the repository of one line of jj's conflict list:
    /// the description column ("2-sided conflict…") cut off, and the path
    /// made relative to `repoRoot` from the folder it was printed for.
    static std::string conflictedPath(const std::string& line, const std::string& repoRoot,
                                      const std::string& currentFolder);
    /// The "Open merge tool" button of each file, in list order.
    const std::vector<QPushButton*>& openButtons() const { return openButtons_; }

  private:
    std::vector<QPushButton*> openButtons_;
};

}  // namespace vorda
