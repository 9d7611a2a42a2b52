// Commands that change only the settings file: no subprocess runs, the cached
// snapshot is reprojected with the new settings.

#include "feature/commands/SessionCommands.h"

namespace vorda::commands {

namespace {

BookmarkSettings storedOrDefault(RepoSession& session, const std::string& bookmark,
                                 std::optional<BookmarkSettings> stored) {
    if (stored) {
        return std::move(*stored);
    }
    return BookmarkSettings::defaultFor(
        session.currentOrigin(bookmark).value_or(BookmarkOrigin::local()));
}

}  // namespace

BookmarkSettings storedOrDefaultSettings(RepoSession& session, const std::string& bookmark) {
    return storedOrDefault(session, bookmark, session.settingsStore().settings(bookmark));
}

RepoCommandResult changeBookmarkSettings(RepoSession& session, const std::string& bookmark,
                                         const std::function<void(BookmarkSettings&)>& change) {
    return RepoCommandResult::refreshed(session.producingFromCachedState([&] {
        session.settingsStore().update(bookmark, [&](std::optional<BookmarkSettings> stored) {
            auto settings = storedOrDefault(session, bookmark, std::move(stored));
            change(settings);
            return settings;
        });
    }));
}

RepoCommandResult performSetRoutingRulesForBookmark(RepoSession& session, const std::string& name,
                                                    const std::vector<FileRoutingRule>& rules) {
    return RepoCommandResult::refreshed(session.producingFromCachedState([&] {
        session.settingsStore().updateRoutingRules([&](std::vector<FileRoutingRule> kept) {
            std::erase_if(kept,
                          [&](const FileRoutingRule& rule) { return rule.bookmarkName == name; });
            kept.insert(kept.end(), rules.begin(), rules.end());
            return kept;
        });
    }));
}

}  // namespace vorda::commands
