#pragma once

#include <QObject>
#include <QPoint>
#include <string>

class QModelIndex;

namespace vorda {

class CommitCardDelegate;
class CommitListView;
class InlineRenameField;

/// The context menu of another bookmark's chip beside a card: "Rename
/// Bookmark", edited in place over the chip, and "Delete Bookmark", both
/// only for real bookmarks. The lane asks first; a press anywhere else on
/// the card is the card's own menu.
class InlineTipMenu : public QObject {
    Q_OBJECT

  public:
    InlineTipMenu(CommitListView* list, CommitCardDelegate* delegate, QObject* parent);

    /// Shows the menu when a real bookmark's chip is under `globalPosition`
    /// on the card at `index`; answers whether it did.
    bool showAt(const QPoint& globalPosition, const QModelIndex& index);
    /// Starts the rename of `name`'s chip on the card at `index`.
    void beginRename(const QModelIndex& index, const std::string& name);
    InlineRenameField* renameField() const { return field_; }

  Q_SIGNALS:
    void renameRequested(const std::string& oldName, const std::string& newName);
    void deleteRequested(const std::string& name);

  private:
    CommitListView* list_;
    CommitCardDelegate* delegate_;
    InlineRenameField* field_;
};

}  // namespace vorda
