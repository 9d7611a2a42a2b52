#include "feature/pullrequests/PullRequestRefresh.h"

#include <chrono>
#include <functional>
#include <future>
#include <optional>
#include <system_error>
#include <variant>
#include <vector>

#include "jjkit/support/DiagnosticLog.h"

namespace vorda {
namespace {

/// What GitHub said about one branch, and the tip it was asked for.
struct Answer {
    std::string branch;
    std::string tipCommitID;
    std::optional<GitHubPR> pr;
};

void logFailure(const std::string& what, const std::string& branch, const std::string& reason) {
    DiagnosticLog::writeLine("[pr-refresh] " + what + " " + branch + ": " + reason);
}

std::string tipOf(const Bookmark& bookmark) {
    return bookmark.commitIDs.empty() ? std::string() : bookmark.commitIDs.front();
}

std::vector<const Bookmark*> candidatesOf(const RepoState& state,
                                          const std::set<std::string>& forceBranches,
                                          const std::set<std::string>& limitTo) {
    std::vector<const Bookmark*> candidates;
    for (const auto& [name, bookmark] : state.bookmarks) {
        if (std::holds_alternative<RemoteSyncState::Untracked>(bookmark.remoteSyncState.value)) {
            continue;
        }
        if (limitTo.empty() || limitTo.contains(name) || forceBranches.contains(name)) {
            candidates.push_back(&bookmark);
        }
    }
    return candidates;
}

/// The cache's rows; a cache that cannot be read counts as empty, so that
/// every candidate is asked about.
std::map<std::string, PRCacheStore::Entry> cachedRows(PRCacheStore& cache) {
    try {
        return cache.all();
    } catch (const std::exception& error) {
        logFailure("cannot read cache for", "all branches", error.what());
        return {};
    }
}

/// The candidates to ask GitHub about; the cached pull requests of the others
/// go into `result`.
std::vector<const Bookmark*> planQuestions(const std::vector<const Bookmark*>& candidates,
                                           PRCacheStore* cache, bool force,
                                           const std::set<std::string>& forceBranches,
                                           PullRequestsByBookmark& result) {
    if (cache == nullptr) {
        return candidates;
    }
    const auto rows = cachedRows(*cache);
    std::vector<const Bookmark*> questions;
    for (const Bookmark* bookmark : candidates) {
        if (bookmark->commitIDs.empty() || force || forceBranches.contains(bookmark->name)) {
            questions.push_back(bookmark);
            continue;
        }
        const auto row = rows.find(bookmark->name);
        if (row == rows.end() || row->second.tipCommitID != bookmark->commitIDs.front()) {
            questions.push_back(bookmark);
            continue;
        }
        if (row->second.pr) {
            result.insert_or_assign(bookmark->name, *row->second.pr);
        }
    }
    return questions;
}

/// Asks about one branch; absent when gh could not answer.
std::optional<Answer> ask(const GitHubClient& client, const std::string& branch,
                          const std::string& tip) {
    try {
        return Answer{branch, tip, client.prForBranch(branch)};
    } catch (const std::exception& error) {
        logFailure("cannot ask about", branch, error.what());
    } catch (...) {
        logFailure("cannot ask about", branch, "unknown error");
    }
    return std::nullopt;
}

/// Asks about every branch at once, each question on its own thread, and
/// waits for all of them.
std::vector<Answer> askAll(const GitHubClient& client,
                           const std::vector<const Bookmark*>& questions) {
    std::vector<std::future<std::optional<Answer>>> pending;
    std::vector<Answer> answers;
    pending.reserve(questions.size());
    for (const Bookmark* bookmark : questions) {
        try {
            pending.push_back(std::async(std::launch::async, ask, std::cref(client), bookmark->name,
                                         tipOf(*bookmark)));
        } catch (const std::system_error&) {
            // No thread to be had: ask on this one instead.
            if (auto answer = ask(client, bookmark->name, tipOf(*bookmark))) {
                answers.push_back(std::move(*answer));
            }
        }
    }
    for (auto& future : pending) {
        if (auto answer = future.get()) {
            answers.push_back(std::move(*answer));
        }
    }
    return answers;
}

void storeAnswers(PRCacheStore& cache, const std::vector<Answer>& answers,
                  std::chrono::system_clock::time_point fetchedAt) {
    for (const auto& answer : answers) {
        try {
            cache.set(PRCacheStore::Entry{answer.tipCommitID, answer.pr, fetchedAt}, answer.branch);
        } catch (const std::exception& error) {
            logFailure("cannot cache", answer.branch, error.what());
        }
    }
}

/// Keeps each answered bookmark's `cachedPRNumber` in step with its answer.
void rememberNumbers(const RepoState& state, BookmarkSettingsStore& settingsStore,
                     const std::vector<Answer>& answers) {
    const auto stored = settingsStore.all();
    for (const auto& answer : answers) {
        std::optional<std::int64_t> number;
        if (answer.pr) {
            number = answer.pr->number;
        }
        const auto existing = stored.find(answer.branch);
        if (existing != stored.end() && existing->second.cachedPRNumber == number) {
            continue;
        }
        if (existing == stored.end() && !number) {
            continue;
        }
        BookmarkSettings settings =
            existing != stored.end()
                ? existing->second
                : BookmarkSettings::defaultFor(state.bookmarks.at(answer.branch).origin);
        settings.cachedPRNumber = number;
        try {
            settingsStore.set(settings, answer.branch);
        } catch (const std::exception& error) {
            logFailure("cannot save settings of", answer.branch, error.what());
        }
    }
}

}  // namespace

PullRequestsByBookmark refreshPullRequestStatuses(
    const RepoState& state, GitHubClient& client, PRCacheStore* cache,
    BookmarkSettingsStore& settingsStore, bool force, const std::set<std::string>& forceBranches,
    const std::set<std::string>& limitTo,
    const std::function<void(const PullRequestsByBookmark&)>& cachedBlock) {
    const auto candidates = candidatesOf(state, forceBranches, limitTo);
    PullRequestsByBookmark result;
    const auto questions = planQuestions(candidates, cache, force, forceBranches, result);

    if (cachedBlock) {
        try {
            cachedBlock(result);
        } catch (const std::exception& error) {
            logFailure("cached badges were refused for", "the board", error.what());
        }
    }

    const auto fetchedAt = std::chrono::system_clock::now();
    const auto answers = askAll(client, questions);

    for (const auto& answer : answers) {
        if (answer.pr) {
            result.insert_or_assign(answer.branch, *answer.pr);
        }
    }
    if (cache != nullptr) {
        storeAnswers(*cache, answers, fetchedAt);
    }
    rememberNumbers(state, settingsStore, answers);
    return result;
}

}  // namespace vorda
