#pragma once

#include <optional>
#include <set>
#include <string>
#include <variant>

#include "app/sheets/FeatureRoutingChoices.h"
#include "app/sheets/RewriteSheetFrame.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"

class QComboBox;
class QListWidget;

namespace vorda {

class RepoViewModel;

/// "Move to Feature": finished work moves out of the environment into a
/// feature's history, inserted after an ancestor of its tip, into it before
/// the tip, or appended after the tip; with a composition to repair, the
/// routing runs as a coordinated sequence. Choose, preview, confirm: the
/// session plans, the sheet shows the plan and carries out exactly it.
class FeatureInsertionSheet : public RewriteSheetFrame {
    Q_OBJECT

  public:
    enum class Mode { insertAfter, insertInto, appendTo };

    /// Opens choosing with the view model's routing seeds.
    FeatureInsertionSheet(RepoViewModel& viewModel, QWidget* parent);

  private:
    using Plan = std::variant<std::monostate, FeatureInsertionPlan, FeatureAppendPlan,
                              CoordinatedFeatureRoutingPlan>;

    void showChoosing();
    void fillAnchors();
    void updatePreviewButton();
    void requestPlan();
    void showPreview();
    void addRoutingLines(const FeatureInsertionPlan& topology);
    void addCoordinatedLines(const CoordinatedFeatureRoutingPlan& plan);
    void confirmCoordinated(const CoordinatedFeatureRoutingPlan& plan);
    void execute();
    void showOutcome();
    /// The plan the view model holds for the chosen mode, if any.
    Plan plannedForChoice() const;

    RepoViewModel& viewModel_;
    FeatureRoutingChoices choices_;
    Mode mode_ = Mode::insertAfter;
    std::string feature_;
    std::string anchor_;
    std::string repair_;
    std::set<std::string> chosenWork_;
    Plan plan_;
    std::optional<std::string> planRefusal_;
    std::optional<std::string> executionRefusal_;
    QComboBox* anchorPicker_ = nullptr;
    QPushButton* previewButton_ = nullptr;
};

}  // namespace vorda
