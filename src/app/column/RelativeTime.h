#pragma once

#include <QString>
#include <chrono>

namespace vorda {

/// How long ago `date` was, seen from `now`, in the short words of a card:
/// "just now" under a minute (and for a date ahead of `now`, as a clock
/// skew between machines gives), "5 min ago" under an hour, "3 h ago" under a
/// day, "1 day ago" / "6 days ago" under two weeks, "3 weeks ago" under five
/// weeks, and beyond that the local date ("Mar 4, 2024").
QString relativeTimeText(std::chrono::sys_seconds date, std::chrono::sys_seconds now);

/// The local date and time to the minute, "2024-03-04 14:05".
QString absoluteTimeText(std::chrono::sys_seconds date);

/// The current time, to the second; the default clock of the cards.
std::chrono::sys_seconds currentTime();

}  // namespace vorda
