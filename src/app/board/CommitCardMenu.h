#pragma once

#include <QPoint>
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

/// Shows the menu at `globalPosition` and carries out the chosen entry;
/// the sheets open on `parent`.
void show(RepoViewModel& viewModel, const JJCommit& commit, const QPoint& globalPosition,
          QWidget* parent);

}  // namespace commitcardmenu

}  // namespace vorda
