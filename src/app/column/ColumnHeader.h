#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "app/column/BookmarkColumnInput.h"

class QCheckBox;
class QLabel;
class QMenu;
class QPushButton;
class QToolButton;

namespace vorda {

class ColumnDiffButton;
class InlineRenameField;

/// The head of a lane column: the inclusion toggle, the title (renamed in
/// place by a double-click on a real bookmark), the pull request badge, the
/// close control, the diff and file list buttons, the working copies menu
/// and the rebase action of a lane behind trunk. Every control shows the
/// input's facts; a gesture is only reported, and the control keeps showing
/// the input until a new one comes. The file list button alone is the
/// column's own state, which the column reads back through `fileListsToggled`.
class ColumnHeader : public QWidget {
    Q_OBJECT

  public:
    explicit ColumnHeader(QWidget* parent = nullptr);

    void setInput(const BookmarkColumnInput& input);
    /// Starts the rename of the title, when the lane is a real bookmark.
    void beginRename();
    /// Presses or releases the file list button, as the user would.
    void setFileListsShown(bool shown);

  Q_SIGNALS:
    void inclusionToggled(bool included);
    void workspaceInclusionRequested(const std::string& workspace, bool included);
    void viewPRRequested();
    /// "Rebase Local Stack…" on a bookmark or one-off lane.
    void rebaseLocalStackRequested();
    /// "Rebase Local Stacks…" on a working-copy lane.
    void rebaseLocalStacksRequested();
    /// The diff button was pressed.
    void diffToggleRequested();
    /// The file list button now shows, or hides, each card's files.
    void fileListsToggled(bool shown);
    /// The close control was pressed.
    void closeRequested();
    /// The title was renamed in place to `newName` (trimmed, non-empty and
    /// new).
    void renameRequested(const QString& newName);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void updateInclusionToggle(const BookmarkColumnInput& input);
    void updateWorkspacesMenu(const BookmarkColumnInput& input);
    void updateRebaseButton(const BookmarkColumnInput& input);
    void updateTools(const BookmarkColumnInput& input);

    QCheckBox* inclusionToggle_;
    QLabel* title_;
    InlineRenameField* renameField_;
    QToolButton* prBadge_;
    QToolButton* closeButton_;
    QWidget* toolRow_;
    ColumnDiffButton* diffButton_;
    QToolButton* fileListsButton_;
    QWidget* actionRow_;
    QToolButton* workingCopiesButton_;
    QMenu* workingCopiesMenu_;
    QPushButton* rebaseButton_;
    bool isChecked_ = false;
    bool isWorkingCopyLane_ = false;
    bool offersRename_ = false;
    std::string menuBookmark_;
    std::vector<WorkspaceBookmarkPlacement> menuPlacements_;
};

}  // namespace vorda
