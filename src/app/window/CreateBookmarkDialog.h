#pragma once

#include <QDialog>
#include <QPointer>
#include <optional>
#include <string>

#include "feature/commands/RepoCommand.h"
#include "jjkit/diff/UnifiedDiffParser.h"
#include "jjkit/model/RepoState.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

namespace vorda {

class HunkChoiceTree;
class RepoViewModel;

/// "New bookmark": a name, where the bookmark starts, and whether the
/// selected workspace takes it in at once. "Create" sends `createBookmark`
/// and closes; "Cancel" closes without sending.
///
/// The starting point is the current working copy by default, which labels
/// @ and moves nothing. "Tip of parent" starts at the "PARENT BOOKMARK"
/// (trunk or another bookmark); a typed revision starts anywhere else. A
/// carve takes the checked hunks of the working copy's changes into a new
/// commit under @ that the bookmark labels; it is offered once those
/// changes are read, and only when there are some.
///
/// The rules live in static functions over plain fields, so they can be
/// checked without showing the dialog:
///
///     CreateBookmarkDialog::Fields fields;
///     fields.name = " feat/x ";
///     auto input = CreateBookmarkDialog::buildInput(fields);
///     // input.name == "feat/x", starting at the working copy
class CreateBookmarkDialog : public QDialog {
    Q_OBJECT

  public:
    enum class StartingPoint { workingCopy, tipOfParent, specificRevision, workingCopyCarveHunks };

    /// What the user has entered, as it stands in the fields.
    struct Fields {
        std::string name;
        StartingPoint startingPoint = StartingPoint::workingCopy;
        /// The parent bookmark; absent for trunk.
        std::optional<std::string> parentBookmark;
        std::string revision;
        /// The hunks that go into the bookmark, for a carve.
        DiffEditorProtocol::HunkSelection carve;
        bool enableAfterCreating = false;
        bool trackUpstream = false;
    };

    explicit CreateBookmarkDialog(RepoViewModel* viewModel, QWidget* parent = nullptr);

    /// The input `createBookmark` carries for `fields`: the trimmed name, the
    /// parent as a revision jj reads literally (absent for trunk), and the
    /// starting point; a carve runs through the diff helper at `helperPath`.
    static CreateBookmarkInput buildInput(const Fields& fields, const std::string& helperPath = {});
    /// Why the trimmed `name` cannot be created, shown under the field;
    /// absent when it can, and for an empty name, which only disables.
    static std::optional<std::string> nameProblem(const std::string& name, const RepoState* state);
    /// Where a push of the new bookmark goes: "Track upstream origin/NAME",
    /// "<name>" while the name is empty.
    static std::string trackUpstreamLabel(const std::string& name);
    /// Whether "Create" may be pressed for `name`.
    static bool canCreate(const std::string& name, const RepoState* state);
    /// The carve's count line: "N into bookmark · M stay in @".
    static std::string carveCounts(std::size_t into, std::size_t stay);
    /// The explanation under the starting point choice.
    static std::string startingPointDetail(StartingPoint startingPoint,
                                           const std::optional<std::string>& parentBookmark);

    Fields fields() const;
    /// Preselects a parent bookmark; an unknown name leaves trunk.
    void setParentBookmark(const std::optional<std::string>& name);

    QLineEdit* nameField() const { return name_; }
    QLabel* nameErrorLabel() const { return nameError_; }
    QComboBox* parentField() const { return parent_; }
    QRadioButton* workingCopyChoice() const { return workingCopy_; }
    QRadioButton* tipOfParentChoice() const { return tipOfParent_; }
    QRadioButton* revisionChoice() const { return specificRevision_; }
    QLineEdit* revisionField() const { return revision_; }
    QRadioButton* carveChoice() const { return carve_; }
    /// The working copy's files and hunks, once read; null before.
    HunkChoiceTree* carveHunks() const { return carveHunks_; }
    QLabel* carveCountsLabel() const { return carveCounts_; }
    QLabel* detailLabel() const { return detail_; }
    QCheckBox* enableAfterCreatingField() const { return enableAfterCreating_; }
    QCheckBox* trackUpstreamField() const { return trackUpstream_; }
    QPushButton* createButton() const { return create_; }

    /// Sends the command when the fields allow it, then closes.
    void accept() override;

  private:
    void updateState();
    /// Offers the carve over the working copy's changes, or says why not.
    void showWorkingCopyDiff(const std::optional<UnifiedDiff>& diff);

    QPointer<RepoViewModel> viewModel_;
    QLineEdit* name_ = nullptr;
    QLabel* nameError_ = nullptr;
    QCheckBox* trackUpstream_ = nullptr;
    QComboBox* parent_ = nullptr;
    QButtonGroup* startingPoints_ = nullptr;
    QRadioButton* workingCopy_ = nullptr;
    QRadioButton* tipOfParent_ = nullptr;
    QRadioButton* specificRevision_ = nullptr;
    QLineEdit* revision_ = nullptr;
    QRadioButton* carve_ = nullptr;
    QWidget* carveArea_ = nullptr;
    HunkChoiceTree* carveHunks_ = nullptr;
    QLabel* carveCounts_ = nullptr;
    QLabel* detail_ = nullptr;
    QCheckBox* enableAfterCreating_ = nullptr;
    QPushButton* create_ = nullptr;
};

}  // namespace vorda
