#include "feature/commands/RepoCommand.h"

#include "feature/commands/RepoCommandResult.h"

namespace vorda {

std::string_view RepoCommand::perfName() const {
    return std::visit([](const auto& command) { return command.caseName; }, value);
}

const std::string* RepoCommandResult::toastText() const {
    const auto* toast = std::get_if<Toast>(&value);
    return toast == nullptr ? nullptr : &toast->text;
}

SnapshotRef RepoCommandResult::refreshedSnapshot() const {
    const auto* refreshed = std::get_if<Refreshed>(&value);
    return refreshed == nullptr ? nullptr : refreshed->snapshot;
}

}  // namespace vorda
