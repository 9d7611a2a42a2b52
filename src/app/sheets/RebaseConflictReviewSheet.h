#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/sheets/SheetDialog.h"
#include "jjkit/diff/ConflictReview.h"

class QLabel;
class QListWidget;
class QPlainTextEdit;
class QPushButton;

namespace vorda {

class RepoViewModel;

/// "Review Conflicts": a read-only look at conflicted changes, one at a
/// time. It lists the change's conflicted files; the chosen one's content,
/// conflict markers and all, shows beside the list, and "Change Diff" shows
/// the change's patch instead. "Previous" and "Next" step through the
/// changes; "Done" closes. Nothing in the repository moves.
class RebaseConflictReviewSheet : public SheetDialog {
    Q_OBJECT

  public:
    /// Reviews `changeIDs` (full change IDs) in order, starting at `start`.
    RebaseConflictReviewSheet(RepoViewModel& viewModel, std::vector<std::string> changeIDs,
                              std::size_t start, QWidget* parent);

    QLabel* positionLabel() const { return position_; }
    QLabel* filesHeading() const { return filesHeading_; }
    /// The conflicted files, then "Change Diff".
    QListWidget* fileList() const { return files_; }
    QLabel* contentHeading() const { return contentHeading_; }
    QPlainTextEdit* content() const { return content_; }
    QPushButton* previousButton() const { return previous_; }
    QPushButton* nextButton() const { return next_; }
    /// The change on screen, once read.
    const std::optional<RebaseConflictReview>& review() const { return review_; }

  private:
    void load(std::size_t index);
    void showReview(const std::optional<RebaseConflictReview>& review, const std::string& error);
    void showChosen();

    RepoViewModel& viewModel_;
    std::vector<std::string> changeIDs_;
    std::size_t index_ = 0;
    std::optional<RebaseConflictReview> review_;
    QLabel* position_;
    QLabel* commit_;
    QLabel* filesHeading_;
    QListWidget* files_;
    QLabel* contentHeading_;
    QPlainTextEdit* content_;
    QPushButton* previous_;
    QPushButton* next_;
};

}  // namespace vorda
