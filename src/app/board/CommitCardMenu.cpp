#include "app/board/CommitCardMenu.h"

#include <QMenu>
#include <cstdint>

#include "app/column/CommitCardText.h"
#include "app/sheets/CommitSheetLaunch.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda::commitcardmenu {

namespace {

constexpr const char* describeLabel = "Describe…";
constexpr const char* describeImmutableLabel = "Describe… (override immutable)";
constexpr const char* splitLabel = "Split…";
constexpr const char* abandonLabel = "Abandon Commit";

bool offersSplit(const JJCommit& commit) {
    // An empty commit has nothing to divide.
    return !commit.empty;
}

bool offersAbandon(const JJCommit& commit) {
    // The abandon does not override protection; an immutable commit stays.
    return !commit.immutable;
}

}  // namespace

std::vector<std::string> entries(const JJCommit& commit) {
    std::vector<std::string> labels{commit.immutable ? describeImmutableLabel : describeLabel};
    if (offersSplit(commit)) {
        labels.emplace_back(splitLabel);
    }
    if (offersAbandon(commit)) {
        labels.emplace_back(abandonLabel);
    }
    return labels;
}

ConfirmationRequest abandonConfirmation(const JJCommit& commit) {
    static std::uint64_t next = 0;
    return ConfirmationRequest{
        "abandon-commit-" + std::to_string(++next),
        "Abandon change " + commit.shortChangeID() + "?",
        "“" + cardtext::summary(commit).toStdString() +
            "” and its edits are dropped; commits on top of it move onto its parent. Undo brings "
            "it back.",
        RepoCommand::AbandonOneOff{commit.changeID}};
}

void show(RepoViewModel& viewModel, const JJCommit& commit, const QPoint& globalPosition,
          QWidget* parent, const std::vector<LaneEntry>& laneEntries) {
    QMenu menu(parent);
    for (const auto& [title, action] : laneEntries) {
        QObject::connect(menu.addAction(title), &QAction::triggered, parent, action);
    }
    if (!laneEntries.empty()) {
        menu.addSeparator();
    }
    for (const auto& label : entries(commit)) {
        QAction* entry = menu.addAction(QString::fromStdString(label));
        if (label == abandonLabel) {
            menu.insertSeparator(entry);
            QObject::connect(entry, &QAction::triggered, parent, [&viewModel, commit] {
                viewModel.sheets().setConfirmationRequest(abandonConfirmation(commit));
            });
        } else if (label == splitLabel) {
            QObject::connect(entry, &QAction::triggered, parent, [&viewModel, commit, parent] {
                commitsheets::openSplit(viewModel, commit, parent);
            });
        } else {
            QObject::connect(entry, &QAction::triggered, parent, [&viewModel, commit, parent] {
                commitsheets::openDescribe(viewModel, commit, parent);
            });
        }
    }
    menu.exec(globalPosition);
}

}  // namespace vorda::commitcardmenu
