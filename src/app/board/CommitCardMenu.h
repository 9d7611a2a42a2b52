#pragma once

#include <QPoint>
#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "app/viewmodel/ViewModelTypes.h"
#include "jjkit/records/JJCommit.h"

class QWidget;

namespace vorda {

class RepoViewModel;

/// The context menu of a commit card. Its entries follow what the commit
/// allows: "Describe…" ("Describe… (override immutable)" on an immutable
/// commit), "Split…" on a commit that changes something, and "Abandon
/// Commit" on a mutable one. Describing and splitting open their sheets;
/// abandoning asks first, since it drops the commit's edits.
namespace commitcardmenu {

/// The entries `commit` offers, in menu order.
std::vector<std::string> entries(const JJCommit& commit);

/// The question asked before `commit` is abandoned; confirming sends
/// `abandonOneOff` with its change ID.
ConfirmationRequest abandonConfirmation(const JJCommit& commit);

/// An entry a lane adds before the commit's own, for what the commit is in
/// that lane.
struct LaneEntry {
    QString title;
    std::function<void()> action;
};

/// Shows the menu at `globalPosition`, `laneEntries` first, and carries out
/// the chosen entry; the sheets open on `parent`.
void show(RepoViewModel& viewModel, const JJCommit& commit, const QPoint& globalPosition,
          QWidget* parent, const std::vector<LaneEntry>& laneEntries = {});

}  // namespace commitcardmenu

}  // namespace vorda
