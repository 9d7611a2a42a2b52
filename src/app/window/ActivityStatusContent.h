#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace vorda {

class RepoViewModel;

/// The error field an error status shows, so that "Dismiss" clears exactly
/// that one and leaves the others for the next look.
enum class ActivityErrorField { mutation, fetch, push, undo };

/// What the toolbar's activity area shows at one moment: one line, an
/// optional secondary text, and at most one button. The status view renders
/// this and nothing else, so the choice can be tested without a widget.
struct ActivityStatusContent {
    enum class Kind { error, fetching, pushing, undoing, mutating, toast, attention, idle };

    Kind kind = Kind::idle;
    std::string text;
    /// Shown beside `text`; the working-copy change when idle.
    std::string detail;
    std::string tooltip;
    /// The button's label; absent when there is no button.
    std::optional<std::string> button;
    std::string buttonTooltip;
    /// For `error`, the field the "Dismiss" button clears.
    std::optional<ActivityErrorField> errorField;

    bool operator==(const ActivityStatusContent&) const = default;
};

/// The first of these that holds: an error, a fetch (with its seconds since
/// start, as of `now`), pushes, an undo, another running command, the toast,
/// a workspace standing on an older trunk, and otherwise "jj ok" with the
/// working-copy change and its conflicts.
ActivityStatusContent activityStatusContent(const RepoViewModel& viewModel,
                                            std::chrono::system_clock::time_point now);

}  // namespace vorda
