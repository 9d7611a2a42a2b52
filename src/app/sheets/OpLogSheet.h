#pragma once

#include <QPointer>

#include "app/sheets/SheetDialog.h"

class QVBoxLayout;

namespace vorda {

class OperationLogModel;
class RepoViewModel;

/// "Operation log": the receipts of every planned rewrite, newest first in
/// seven sections, the lines of what could not be read, and jj's recent
/// operations, each of which the repository can be restored to. It shows
/// what the view model's operation log holds and follows it as it changes.
class OpLogSheet : public SheetDialog {
    Q_OBJECT

  public:
    /// `log` is `viewModel`'s operation log.
    OpLogSheet(RepoViewModel* viewModel, OperationLogModel& log, QWidget* parent);

  private:
    void rebuild();
    void confirmRestore(std::size_t index);

    QPointer<RepoViewModel> viewModel_;
    QPointer<OperationLogModel> log_;
    QVBoxLayout* rows_;
};

}  // namespace vorda
