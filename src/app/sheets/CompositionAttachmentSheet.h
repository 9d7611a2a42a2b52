#pragma once

#include <optional>
#include <string>

#include "app/sheets/RewriteSheetFrame.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/OperationRecord.h"

class QComboBox;
class QPushButton;

namespace vorda {

class RepoViewModel;

/// "Attach Feature to Composition": the user picks a loaded merge and a
/// feature bookmark, the session plans adding the feature as the merge's new
/// last parent, the preview shows the exact parents and command, and
/// confirming carries out exactly that plan. A refused plan keeps the choice
/// on screen with its reason; a preview the repository has moved away from
/// is refused by the session and the sheet offers a fresh one. The outcome
/// stays until the sheet closes.
class CompositionAttachmentSheet : public RewriteSheetFrame {
    Q_OBJECT

  public:
    CompositionAttachmentSheet(RepoViewModel& viewModel, QWidget* parent);

  private:
    void showChoosing();
    void fillPickers();
    void updatePreviewButton();
    void requestPlan();
    void showPreview();
    void confirm();
    void execute();
    void showOutcome(const OperationRecord<CompositionAttachmentPlan>& record);

    RepoViewModel& viewModel_;
    /// The chosen merge's change ID and feature bookmark; empty until chosen.
    std::string compositionChangeID_;
    std::string bookmark_;
    std::optional<CompositionAttachmentPlan> plan_;
    /// Why the last plan was refused; shown while choosing.
    std::optional<std::string> planRefusal_;
    /// Why carrying out the preview was refused; shown with the preview.
    std::optional<std::string> executionRefusal_;
    QComboBox* compositionPicker_ = nullptr;
    QComboBox* featurePicker_ = nullptr;
    QPushButton* previewButton_ = nullptr;
};

}  // namespace vorda
