#include "app/window/ActivityStatusContent.h"

#include <utility>

#include "app/viewmodel/BoardModel.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace {

std::optional<ActivityStatusContent> errorContent(const ActivityModel& activity) {
    const std::pair<const OptionalText&, ActivityErrorField> fields[] = {
        {activity.mutationError(), ActivityErrorField::mutation},
        {activity.fetchError(), ActivityErrorField::fetch},
        {activity.pushError(), ActivityErrorField::push},
        {activity.undoError(), ActivityErrorField::undo},
    };
    for (const auto& [value, field] : fields) {
        if (!value) {
            continue;
        }
        ActivityStatusContent content;
        content.kind = ActivityStatusContent::Kind::error;
        content.text = errorHeadline(*value);
        content.tooltip = *value;
        content.button = "Dismiss";
        content.errorField = field;
        return content;
    }
    return std::nullopt;
}

ActivityStatusContent fetchingContent(const ActivityModel& viewModel,
                                      std::chrono::system_clock::time_point now) {
    ActivityStatusContent content;
    content.kind = ActivityStatusContent::Kind::fetching;
    content.text = "Fetching…";
    if (const auto& started = viewModel.fetchStartedAt()) {
        // A clock that stepped back must not show a negative count.
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - *started);
        content.text += " " + std::to_string(seconds.count() < 0 ? 0 : seconds.count()) + "s";
    }
    content.tooltip = viewModel.fetchStatus().value_or("jj git fetch running");
    return content;
}

ActivityStatusContent idleContent(const BoardModel& viewModel) {
    ActivityStatusContent content;
    if (viewModel.repoState() == nullptr) {
        return content;
    }
    content.kind = ActivityStatusContent::Kind::idle;
    content.text = "jj ok";
    if (const auto* commit = viewModel.workingCopyCommit()) {
        content.detail = "@ " + commit->shortChangeID();
    }
    const auto conflicts = viewModel.conflictedFiles().size();
    if (conflicts > 0) {
        content.button = std::to_string(conflicts) + " conflicts";
        content.buttonTooltip = "The working copy has conflicts — click to resolve";
    }
    return content;
}

}  // namespace

std::string errorHeadline(const std::string& message) {
    // A failed jj call reads "jj ARGS… failed (N): " and then jj's own text,
    // whose "Error: …" line says what went wrong.
    if (const auto at = message.find("Error: "); at != std::string::npos) {
        return text::firstNonBlankLine(std::string_view(message).substr(at));
    }
    return text::firstNonBlankLine(message);
}

ActivityStatusContent activityStatusContent(const ActivityModel& viewModel, const BoardModel& board,
                                            std::chrono::system_clock::time_point now) {
    if (auto error = errorContent(viewModel)) {
        return std::move(*error);
    }
    if (viewModel.fetchInFlight()) {
        return fetchingContent(viewModel, now);
    }
    ActivityStatusContent content;
    if (const auto& pushing = viewModel.pushInFlight(); !pushing.empty()) {
        // A set iterates in ascending order: the names come sorted.
        content.kind = ActivityStatusContent::Kind::pushing;
        content.text = "Pushing " + text::join({pushing.begin(), pushing.end()}, ", ");
        return content;
    }
    if (viewModel.undoInFlight()) {
        content.kind = ActivityStatusContent::Kind::undoing;
        content.text = "Undoing…";
        return content;
    }
    if (viewModel.isMutating()) {
        content.kind = ActivityStatusContent::Kind::mutating;
        content.text = viewModel.mutationLabel().value_or("Working…");
        return content;
    }
    if (const auto& toast = viewModel.toastMessage()) {
        content.kind = ActivityStatusContent::Kind::toast;
        content.text = *toast;
        return content;
    }
    if (const auto& workspace = board.selectedWorkspaceName();
        workspace && board.workspaceIsBehindTrunk(*workspace)) {
        content.kind = ActivityStatusContent::Kind::attention;
        content.text = "Local stacks have an older base";
        content.button = "Rebase Local Stacks…";
        content.buttonTooltip =
            "Preview rebasing local stacks onto current trunk. Immutable dependencies stay in "
            "place; no new composition parents are added.";
        return content;
    }
    return idleContent(board);
}

}  // namespace vorda
