#pragma once

#include <algorithm>
#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

/// One group heading of a dated list ("Today", "3 days ago", "March 2024")
/// and the date it sorts by. Two buckets are the same group only when both
/// title and sort key match, so two days under one title stay apart.
struct DateBucket {
    /// An instant, kept to the microsecond, which covers every year a
    /// timestamp can spell.
    using Date = std::chrono::sys_time<std::chrono::microseconds>;

    std::string title;
    Date sortKey;

    bool operator==(const DateBucket&) const = default;
};

/// Puts dated things (operations, commits) into the groups a list shows them
/// in, judged on the local calendar (the process's time zone, as TZ gives it).
///
/// Days are whole calendar days between the two local wall-clock times: the
/// difference of their local dates, less one while the later one's time of
/// day has not reached the earlier one's (so a DST change shortens no day).
/// Weeks are whole weeks of those days (days / 7, towards zero).
struct DateBucketing {
    using Date = DateBucket::Date;

    /// The sort key of the "Older" group of unreadable timestamps; below
    /// every real date.
    static constexpr Date distantPast = Date::min();

    static Date now();

    /// An RFC 3339 date-time with optional fractional seconds, else the fixed
    /// form "yyyy-MM-dd'T'HH:mm:ss" with an offset of "Z", "+HH:MM" or
    /// "+HH:MM:SS". Absent for anything else, impossible dates included.
    static std::optional<Date> parseTimestamp(std::string_view text);

    /// The group of `date` seen from `relativeTo`: "Today", "Yesterday",
    /// "N days ago" below 15 days, "N weeks ago" up to 8 weeks, else the
    /// local month and year ("March 2024"). Distances count either way.
    static DateBucket bucket(Date date, Date relativeTo = now());

    /// The items grouped by the bucket of `timestamp(item)` (a text), newest
    /// group first, each group's items by timestamp text, descending.
    /// Unreadable timestamps go to an "Older" group at the end. Meant for the
    /// user interface thread, like everything that reads the local calendar.
    template <typename Item, typename TimestampOf>
    static std::vector<std::pair<DateBucket, std::vector<Item>>> grouped(
        const std::vector<Item>& items, TimestampOf timestamp, Date relativeTo = now()) {
        // Keyed by (sort key, title): equal buckets meet in one entry.
        std::map<std::pair<Date, std::string>, std::vector<Item>> groups;
        for (const auto& item : items) {
            const std::string text(timestamp(item));
            const auto date = parseTimestamp(text);
            DateBucket group = date ? bucket(*date, relativeTo) : olderBucket();
            groups[{group.sortKey, std::move(group.title)}].push_back(item);
        }
        std::vector<std::pair<DateBucket, std::vector<Item>>> result;
        result.reserve(groups.size());
        // Newest first; the map's ascending order walked backwards.
        for (auto group = groups.rbegin(); group != groups.rend(); ++group) {
            auto members = std::move(group->second);
            std::stable_sort(
                members.begin(), members.end(), [&timestamp](const Item& left, const Item& right) {
                    return std::string(timestamp(left)) > std::string(timestamp(right));
                });
            result.emplace_back(DateBucket{group->first.second, group->first.first},
                                std::move(members));
        }
        return result;
    }

  private:
    static DateBucket olderBucket() { return {"Older", distantPast}; }
};

}  // namespace vorda
