#include "app/window/BookmarkActionMenuItems.h"

#include <QAction>
#include <QKeySequence>
#include <QMenu>
#include <algorithm>

#include "app/window/BookmarkPushPresentation.h"

namespace vorda {
namespace {

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

// Adds an entry that performs `action` on the bookmark when it is enabled.
QAction* addEntry(QMenu* menu, const QString& title, BookmarkAction action,
                  const std::optional<Bookmark>& bookmark, const BookmarkActionHandler& perform,
                  bool enabled = true) {
    auto* entry = menu->addAction(title);
    const bool usable = bookmark.has_value() && perform && enabled;
    entry->setEnabled(usable);
    if (usable) {
        QObject::connect(
            entry, &QAction::triggered, entry,
            [perform, action = std::move(action), target = *bookmark] { perform(action, target); });
    }
    return entry;
}

bool contains(const std::vector<std::string>& list, const std::string& value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

void addTagsMenu(QMenu* menu, const RepoViewModel* viewModel,
                 const std::optional<Bookmark>& bookmark, const BookmarkActionHandler& perform) {
    auto* tags = menu->addMenu(QStringLiteral("Tags"));
    tags->setEnabled(bookmark.has_value() && perform);
    if (!viewModel || !bookmark) {
        addEntry(tags, QStringLiteral("Add Tag…"), {BookmarkAction::AddTag{}}, bookmark, perform);
        return;
    }
    std::vector<std::string> current;
    const auto& settings = viewModel->board().settingsByName();
    if (const auto found = settings.find(bookmark->name); found != settings.end()) {
        current = found->second.tags;
    }
    for (const auto& tag : viewModel->board().allTagsInUse()) {
        auto* entry = addEntry(tags, qt(tag), {BookmarkAction::ToggleTag{tag}}, bookmark, perform);
        entry->setCheckable(true);
        entry->setChecked(contains(current, tag));
    }
    if (!viewModel->board().allTagsInUse().empty()) {
        tags->addSeparator();
    }
    addEntry(tags, QStringLiteral("Add Tag…"), {BookmarkAction::AddTag{}}, bookmark, perform);
}

}  // namespace

void BookmarkActionMenuItems::fill(QMenu* menu, const RepoViewModel* viewModel,
                                   const std::optional<Bookmark>& bookmark,
                                   const BookmarkActionHandler& perform) {
    // Without a view model nothing about the bookmark can be judged.
    const std::optional<Bookmark> selected = viewModel ? bookmark : std::nullopt;

    if (selected && viewModel->board().isBookmarkBehindTrunk(*selected)) {
        addEntry(menu, QStringLiteral("Rebase Local Stack…"),
                 {BookmarkAction::ReparentToTrunk{false}}, selected, perform);
    }
    auto* rebaseOnto = addEntry(menu, QStringLiteral("Rebase Onto…"), {BookmarkAction::Rebase{}},
                                selected, perform);
    rebaseOnto->setShortcut(QKeySequence(Qt::CTRL | Qt::ALT | Qt::Key_R));
    // Shown as a hint; it acts only while this menu is open, so that copies
    // in context and toolbar menus never compete with the application menu.
    rebaseOnto->setShortcutContext(Qt::WidgetShortcut);
    // Squashing one commit would change nothing.
    addEntry(menu, QStringLiteral("Squash into Single Commit"), {BookmarkAction::SquashToSingle{}},
             selected, perform, selected && selected->commitIDs.size() >= 2);

    const bool pushing = selected && viewModel->activity().pushInFlight().count(selected->name) > 0;
    auto* push =
        addEntry(menu, qt(BookmarkPushPresentation::menuTitle(selected)), {BookmarkAction::Push{}},
                 selected, perform, !pushing && !BookmarkPushPresentation::isUpToDate(selected));
    push->setToolTip(qt(BookmarkPushPresentation::tooltip(selected)));

    const bool hasPR = selected && viewModel->board().prStatuses().count(selected->name) > 0;
    const bool github = viewModel && viewModel->board().githubAvailable();
    if (hasPR) {
        addEntry(menu, QStringLiteral("View Pull Request"), {BookmarkAction::ViewPR{}}, selected,
                 perform);
    } else if (github) {
        addEntry(menu, QStringLiteral("Create Pull Request…"), {BookmarkAction::CreatePR{}},
                 selected, perform);
    }
    addEntry(menu, QStringLiteral("Refresh PR Status"), {BookmarkAction::RefreshPR{}}, selected,
             perform, github);
    menu->addSeparator();

    const bool pinned = selected && viewModel->board().isPinned(selected->name);
    addEntry(menu, pinned ? QStringLiteral("Unpin from Board") : QStringLiteral("Pin to Board"),
             {BookmarkAction::TogglePinned{}}, selected, perform);
    // Only a column of its own can be hidden; a bookmark shown inside a
    // working-copy column has none.
    addEntry(menu, QStringLiteral("Hide Column"), {BookmarkAction::ToggleColumnVisibility{}},
             selected, perform,
             selected && viewModel->board().isBookmarkColumnVisible(selected->name));
    addTagsMenu(menu, viewModel, selected, perform);
    menu->addSeparator();

    addEntry(menu, QStringLiteral("Rename Bookmark"), {BookmarkAction::Rename{}}, selected,
             perform);
    addEntry(menu, QStringLiteral("Delete Bookmark"), {BookmarkAction::Delete{}}, selected, perform)
        ->setProperty("destructive", true);
    addEntry(menu, QStringLiteral("Abandon (Delete Commits)…"), {BookmarkAction::Abandon{}},
             selected, perform)
        ->setProperty("destructive", true);
}

void CommitActionMenuItems::fill(QMenu* menu, const std::optional<JJCommit>& commit,
                                 const CommitActionHandler& perform) {
    const auto add = [&](const QString& title, CommitAction action, bool applies = true) {
        auto* entry = menu->addAction(title);
        const bool usable = commit.has_value() && perform && applies;
        entry->setEnabled(usable);
        if (usable) {
            QObject::connect(entry, &QAction::triggered, entry,
                             [perform, action, target = *commit] { perform(action, target); });
        }
    };
    add(QStringLiteral("Describe Commit…"), CommitAction::describe);
    add(QStringLiteral("Split Commit…"), CommitAction::split);
    add(QStringLiteral("Review Conflicts…"), CommitAction::reviewConflicts,
        commit.has_value() && commit->conflict);
}

void discardMenuEntries(QMenu* menu) {
    const auto entries = menu->actions();
    for (auto* entry : entries) {
        menu->removeAction(entry);
        if (auto* submenu = entry->menu(); submenu && submenu->parent() == menu) {
            submenu->deleteLater();
        }
        if (entry->parent() == menu) {
            entry->deleteLater();
        }
    }
}

}  // namespace vorda
