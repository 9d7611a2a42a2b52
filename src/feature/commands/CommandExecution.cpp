// The entry of every command: one gate turn per shared repository, measured.

#include "feature/commands/SessionCommands.h"
#include "jjkit/repo/JJRepoDetector.h"
#include "jjkit/repo/RepositoryCommandGate.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/trace/Perf.h"

namespace vorda {

RepoCommandResult RepoSession::execute(const RepoCommand& command, const std::stop_token& stop) {
    // Keyed by the shared store, so two workspaces of one repository take
    // turns while other repositories run freely; the store's lock makes other
    // processes take turns too.
    const auto key = JJRepoDetector::sharedRepositoryPath(repoRoot_);
    return RepositoryCommandGate::shared().withMutationAccess(key, stop, [&] {
        const auto label = "session.execute(" + std::string(command.perfName()) + ")";
        return Perf::measure(label, PerfCategory::session,
                             [&] { return commands::dispatch(*this, command); });
    });
}

namespace commands {

RepoCommandResult refreshed(RepoSession& session) {
    auto snapshot = session.readSnapshot();
    session.yieldSnapshot(snapshot);
    return RepoCommandResult::refreshed(std::move(snapshot));
}

RepoCommandResult toastRefresh(RepoSession& session, std::string text) {
    session.yieldSnapshot(session.readSnapshot());
    return RepoCommandResult::toast(std::move(text));
}

RepoCommandResult completed(RepoSession& session, RepoCommandResult result) {
    try {
        session.yieldSnapshot(session.readSnapshot());
    } catch (const std::exception& error) {
        DiagnosticLog::writeLine("[Vorda:error] refresh after a completed rewrite failed: " +
                                 std::string(error.what()));
    }
    return result;
}

std::string counted(std::size_t count, std::string_view singular, std::string_view plural) {
    return std::to_string(count) + " " + std::string(count == 1 ? singular : plural);
}

}  // namespace commands
}  // namespace vorda
