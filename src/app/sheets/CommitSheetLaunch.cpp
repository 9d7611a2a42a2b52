#include "app/sheets/CommitSheetLaunch.h"

#include <QPointer>
#include <QWidget>
#include <optional>

#include "app/sheets/CommitSheets.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda::commitsheets {

void openDescribe(RepoViewModel& viewModel, const JJCommit& commit, QWidget* parent) {
    (new DescribeCommitSheet(viewModel, commit, parent))->open();
}

void openSplit(RepoViewModel& viewModel, const JJCommit& commit, QWidget* parent) {
    viewModel.loadCommitDiff(commit.changeID, [&viewModel, guard = QPointer<QWidget>(parent),
                                               commit](const std::optional<UnifiedDiff>& diff) {
        auto* window = guard.data();
        if (window == nullptr || !diff) {
            return;
        }
        (new SplitCommitSheet(viewModel, commit, *diff, window))->open();
    });
}

}  // namespace vorda::commitsheets
