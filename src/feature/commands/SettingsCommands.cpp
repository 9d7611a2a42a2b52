// Commands that change only the settings file: no subprocess runs, the cached
// snapshot is reprojected with the new settings.

#include "feature/commands/SessionCommands.h"

namespace vorda::commands {

BookmarkSettings storedOrDefaultSettings(RepoSession& session, const std::string& bookmark) {
    if (auto stored = session.settingsStore().settings(bookmark)) {
        return *stored;
    }
    return BookmarkSettings::defaultFor(
        session.currentOrigin(bookmark).value_or(BookmarkOrigin::local()));
}

RepoCommandResult changeBookmarkSettings(RepoSession& session, const std::string& bookmark,
                                         const std::function<void(BookmarkSettings&)>& change) {
    return RepoCommandResult::refreshed(session.producingFromCachedState([&] {
        auto settings = storedOrDefaultSettings(session, bookmark);
        change(settings);
        session.settingsStore().set(settings, bookmark);
    }));
}

RepoCommandResult performSetRoutingRulesForBookmark(RepoSession& session, const std::string& name,
                                                    const std::vector<FileRoutingRule>& rules) {
    return RepoCommandResult::refreshed(session.producingFromCachedState([&] {
        auto& store = session.settingsStore();
        std::vector<FileRoutingRule> kept;
        for (auto& rule : store.routingRules()) {
            if (rule.bookmarkName != name) {
                kept.push_back(std::move(rule));
            }
        }
        kept.insert(kept.end(), rules.begin(), rules.end());
        store.setRoutingRules(kept);
    }));
}

}  // namespace vorda::commands
