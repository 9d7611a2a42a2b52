#pragma once

#include "jjkit/records/JJCommit.h"

class QWidget;

namespace vorda {

class RepoViewModel;

/// Opening the commit sheets from any gesture (a menu entry, a card's
/// context menu): the same sheet, opened the same way, wherever it starts.
namespace commitsheets {

/// Opens "Describe SHORT-ID" for `commit` on `parent`.
void openDescribe(RepoViewModel& viewModel, const JJCommit& commit, QWidget* parent);

/// Reads the commit's diff, then opens "Split SHORT-ID" on `parent`: the
/// sheet lists the commit's files and hunks. Nothing opens when the read
/// fails or `parent` is gone by then.
void openSplit(RepoViewModel& viewModel, const JJCommit& commit, QWidget* parent);

}  // namespace commitsheets

}  // namespace vorda
