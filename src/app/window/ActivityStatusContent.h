#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "app/viewmodel/ActivityModel.h"

namespace vorda {

class BoardModel;

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
/// working-copy change and its conflicts (nothing while no repository is
/// loaded). An error shows jj's own error line; its whole text is the
/// tooltip.
ActivityStatusContent activityStatusContent(const ActivityModel& activity, const BoardModel& board,
                                            std::chrono::system_clock::time_point now);

/// The line of a failure's text worth showing in one line: jj's own
/// "Error: …" line where there is one, else the first line.
std::string errorHeadline(const std::string& message);

}  // namespace vorda
