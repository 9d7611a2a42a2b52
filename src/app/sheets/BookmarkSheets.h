#pragma once

#include <string>
#include <vector>

#include "app/sheets/SheetDialog.h"
#include "jjkit/model/RepoState.h"

class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QCheckBox;

namespace vorda {

class RepoViewModel;

/// Sends `renameBookmark`; once jj has renamed the bookmark its column
/// keeps its width under the new name. Every rename gesture goes through here.
void renameBookmark(RepoViewModel& viewModel, const std::string& name, const std::string& next);

/// "Rename NAME": the new name, filled with the old one. "Rename" sends
/// `renameBookmark`; it is enabled for a trimmed name that differs.
class RenameBookmarkSheet : public SheetDialog {
    Q_OBJECT

  public:
    RenameBookmarkSheet(RepoViewModel& viewModel, const std::string& name, QWidget* parent);
    QLineEdit* nameField() const { return name_; }

  private:
    QLineEdit* name_;
};

/// "Add tag to NAME": a tag name and the bookmark's current tags. "Add"
/// tags the bookmark with the trimmed text; a tag it has already is not
/// offered again.
class AddTagSheet : public SheetDialog {
    Q_OBJECT

  public:
    AddTagSheet(RepoViewModel& viewModel, const std::string& name,
                const std::vector<std::string>& currentTags, QWidget* parent);
    QLineEdit* tagField() const { return tag_; }

  private:
    QLineEdit* tag_;
};

/// "New PR from NAME": title, base, body and draft. "Create" sends
/// `createPullRequest`; it needs a title and a base.
class CreatePRSheet : public SheetDialog {
    Q_OBJECT

  public:
    CreatePRSheet(RepoViewModel& viewModel, const Bookmark& bookmark, QWidget* parent);

    /// The summary of the bookmark's tip commit, or the name when it has none.
    static std::string defaultPRTitle(const Bookmark& bookmark, const RepoState& state);

    QLineEdit* titleField() const { return title_; }
    QLineEdit* baseField() const { return base_; }
    QPlainTextEdit* bodyField() const { return body_; }
    QCheckBox* draftField() const { return draft_; }

  private:
    QLineEdit* title_;
    QLineEdit* base_;
    QPlainTextEdit* body_;
    QCheckBox* draft_;
};

/// "Name one-off branch": a bookmark name for a one-off stack, with the
/// tip's summary. "Create Bookmark" creates the bookmark at the tip's
/// commit; it needs a trimmed name no bookmark has.
class PromoteOneOffSheet : public SheetDialog {
    Q_OBJECT

  public:
    PromoteOneOffSheet(RepoViewModel& viewModel, const OrphanWIP& tip, QWidget* parent);
    QLineEdit* nameField() const { return name_; }

  private:
    QLineEdit* name_;
};

/// "Rebase NAME": the new parent (trunk, marked "current", or another
/// bookmark) and a preview of what moves. "Rebase" sends `rebaseBookmark`.
class RebaseBookmarkSheet : public SheetDialog {
    Q_OBJECT

  public:
    RebaseBookmarkSheet(RepoViewModel& viewModel, const Bookmark& bookmark, QWidget* parent);

    /// The bookmarks stacked directly on `name`, ascending.
    static std::vector<std::string> children(const std::string& name, const RepoState& state);

    QListWidget* parentList() const { return parents_; }

  private:
    QListWidget* parents_;
};

}  // namespace vorda
