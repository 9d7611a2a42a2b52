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

/// The head of a lane column: the inclusion toggle, the title, the pull
/// request badge, the working copies menu and the rebase action of a lane
/// behind trunk. Every control shows the input's facts; a gesture is only
/// reported, and the control keeps showing the input until a new one comes.
class ColumnHeader : public QWidget {
    Q_OBJECT

  public:
    explicit ColumnHeader(QWidget* parent = nullptr);

    void setInput(const BookmarkColumnInput& input);

  Q_SIGNALS:
    void inclusionToggled(bool included);
    void workspaceInclusionRequested(const std::string& workspace, bool included);
    void viewPRRequested();
    /// "Rebase Local Stack…" on a bookmark or one-off lane.
    void rebaseLocalStackRequested();
    /// "Rebase Local Stacks…" on a working-copy lane.
    void rebaseLocalStacksRequested();

  private:
    void updateInclusionToggle(const BookmarkColumnInput& input);
    void updateWorkspacesMenu(const BookmarkColumnInput& input);
    void updateRebaseButton(const BookmarkColumnInput& input);

    QCheckBox* inclusionToggle_;
    QLabel* title_;
    QToolButton* prBadge_;
    QWidget* actionRow_;
    QToolButton* workingCopiesButton_;
    QMenu* workingCopiesMenu_;
    QPushButton* rebaseButton_;
    bool isChecked_ = false;
    bool isWorkingCopyLane_ = false;
    std::string menuBookmark_;
    std::vector<WorkspaceBookmarkPlacement> menuPlacements_;
};

}  // namespace vorda
