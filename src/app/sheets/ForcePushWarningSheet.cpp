#include "app/sheets/ForcePushWarningSheet.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/viewmodel/CommandPresentation.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

ForcePushWarningSheet::ForcePushWarningSheet(RepoViewModel& viewModel,
                                             const ForcePushRequest& request,
                                             const std::optional<GitHubPR>& pr, QWidget* parent)
    : SheetDialog(QString::fromStdString("Force push " + request.bookmark.name),
                  QStringLiteral("Force Push"), parent) {
    setObjectName(QStringLiteral("force-push-sheet"));
    addParagraph(QString::fromStdString(primaryMessage(request.syncState)))
        ->setObjectName(QStringLiteral("force-push-message"));
    if (const auto line = pullRequestMessage(pr); !line.empty()) {
        addParagraph(QString::fromStdString(line))->setObjectName(QStringLiteral("force-push-pr"));
    }
    confirmButton()->setObjectName(QStringLiteral("force-push-confirm"));
    makeDestructive();
    setOnConfirm([model = QPointer<RepoViewModel>(&viewModel), bookmark = request.bookmark] {
        if (model) {
            model->send(RepoCommand::PerformPush{bookmark});
        }
    });
}

std::string ForcePushWarningSheet::primaryMessage(const RemoteSyncState& state) {
    if (const auto* behind = std::get_if<RemoteSyncState::Behind>(&state.value)) {
        return "Remote is " + countedWord(static_cast<std::size_t>(behind->commits), "commit") +
               " ahead of local. Force pushing will rewind the remote.";
    }
    if (const auto* diverged = std::get_if<RemoteSyncState::Diverged>(&state.value)) {
        const auto ahead = static_cast<std::size_t>(diverged->ahead);
        const auto behind = static_cast<std::size_t>(diverged->behind);
        return "Remote and local have diverged: " + countedWord(ahead, "commit") + " ahead, " +
               countedWord(behind, "commit") + " behind. Force pushing will overwrite the " +
               countedWord(behind, "remote commit") + " with your local version.";
    }
    return "This push will rewrite remote history.";
}

std::string ForcePushWarningSheet::pullRequestMessage(const std::optional<GitHubPR>& pr) {
    if (!pr || pr->state != GitHubPR::State::open) {
        return {};
    }
    const std::string number = "PR #" + std::to_string(pr->number);
    if (pr->reviewCommentCount > 0) {
        return number + " has " +
               countedWord(static_cast<std::size_t>(pr->reviewCommentCount), "review comment") +
               ".";
    }
    return number + " tracking this bookmark will have its review state reset.";
}

}  // namespace vorda
