#pragma once

#include <optional>
#include <set>
#include <string>

#include "app/sheets/LocalStackChoices.h"
#include "app/sheets/RewriteSheetFrame.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationRecord.h"

class QPushButton;
class QTreeWidget;

namespace vorda {

class RepoViewModel;

/// "Rebase Local Stacks": the user chooses stacks, the session plans their
/// rebase onto trunk, the preview shows what moves, and confirming carries
/// out exactly that plan. A refused plan keeps the choice on screen with its
/// reason; a preview the repository has moved away from is refused by the
/// session and the sheet offers a fresh one. The outcome stays until the
/// sheet closes.
class LocalStackUpdateSheet : public RewriteSheetFrame {
    Q_OBJECT

  public:
    /// Opens choosing, with the view model's seeds preselected.
    LocalStackUpdateSheet(RepoViewModel& viewModel, QWidget* parent);

  private:
    void showChoosing();
    void showPreview();
    void showOutcome(const LocalStackUpdateReceipt& receipt);
    void fillChoiceTree();
    void filterChoices(const QString& text);
    void setAllVisibleChosen(bool chosen);
    void updateChooseButton();
    void requestPlan();
    void confirm();
    void execute();

    RepoViewModel& viewModel_;
    LocalStackChoices choices_;
    std::set<std::string> chosen_;
    std::optional<LocalStackUpdatePlan> plan_;
    /// Why the last plan was refused; shown while choosing.
    std::optional<std::string> planRefusal_;
    /// Why carrying out the preview was refused; shown with the preview.
    std::optional<std::string> executionRefusal_;
    QTreeWidget* tree_ = nullptr;
    QPushButton* chooseButton_ = nullptr;
};

}  // namespace vorda
