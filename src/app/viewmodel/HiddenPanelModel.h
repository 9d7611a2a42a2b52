#pragma once

#include <QObject>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "app/viewmodel/ObservableField.h"
#include "app/viewmodel/ViewModelTypes.h"

namespace vorda {

/// A row of the hidden bookmarks panel that the keyboard cursor can stand
/// on: a hidden item, by name, or one commit of the item that is open.
struct HiddenPanelRow {
    struct Bookmark {
        std::string name;
        bool operator==(const Bookmark&) const = default;
    };
    struct Commit {
        std::string bookmark;
        std::string commitID;
        std::string changeID;
        bool operator==(const Commit&) const = default;
    };
    std::variant<Bookmark, Commit> value;

    static HiddenPanelRow bookmark(std::string name) { return {Bookmark{std::move(name)}}; }
    static HiddenPanelRow commit(std::string bookmark, std::string commitID, std::string changeID) {
        return {Commit{std::move(bookmark), std::move(commitID), std::move(changeID)}};
    }

    /// "bookmark(feat)" or "commit(feat, <commit>, <change>)", the IDs cut
    /// to 12 characters, as the panel's log writes it.
    std::string logText() const;

    bool operator==(const HiddenPanelRow&) const = default;
};

using OptionalHiddenPanelRow = std::optional<HiddenPanelRow>;

/// The hidden bookmarks panel's own state: which item is open, the inline
/// rename and its draft, the search text and the keyboard cursor. It lives
/// with the view model, so that it outlives the panel's widget, which the
/// board makes and drops as hidden items come and go. The panel's steps are
/// written to the diagnostic log behind "[hidden-panel] ".
class HiddenPanelModel : public QObject {
    Q_OBJECT

  public:
    explicit HiddenPanelModel(QObject* parent = nullptr) : QObject(parent) {}

    /// Closes `name` if it is the open item, otherwise opens it instead of
    /// the one open before.
    void toggleHiddenPanelExpanded(const std::string& name);
    /// Starts renaming `name` inline, its draft the name itself.
    void beginHiddenPanelRename(const std::string& name);
    void cancelHiddenPanelRename();
    /// Ends the rename. Answers the old and the new name when the trimmed
    /// draft is a real change; an empty or unchanged draft is a no-op.
    std::optional<std::pair<std::string, std::string>> finishHiddenPanelRename();

    const OptionalHiddenPanelRow& hiddenPanelCursor() const { return hiddenPanelCursor_; }
    /// Moves the cursor (absent: no cursor) and logs where it went.
    void setHiddenPanelCursor(OptionalHiddenPanelRow row);

  Q_SIGNALS:
    void changed();

  private:
    VORDA_FIELD(OptionalText, hiddenPanelExpanded, setHiddenPanelExpanded);
    VORDA_FIELD(OptionalText, hiddenPanelRenaming, setHiddenPanelRenaming);
    VORDA_FIELD(std::string, hiddenPanelRenameDraft, setHiddenPanelRenameDraft);
    VORDA_FIELD(std::string, hiddenPanelSearch, setHiddenPanelSearch);

    OptionalHiddenPanelRow hiddenPanelCursor_;
};

}  // namespace vorda
