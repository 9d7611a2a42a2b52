#include "feature/lanes/DateBucketing.h"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/ScopedEnvironment.h"

namespace vorda {

void PrintTo(const DateBucket& bucket, std::ostream* out) {
    *out << bucket.title << " from " << bucket.sortKey.time_since_epoch().count() << "us";
}

namespace {

using namespace std::chrono_literals;
using Date = DateBucketing::Date;

Date utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    return Date{std::chrono::sys_days{std::chrono::year{year} / std::chrono::month{month} /
                                      std::chrono::day{day}} +
                std::chrono::hours{hour} + std::chrono::minutes{minute}};
}

// Runs `body` in one time zone, whatever the machine's, and puts TZ back.
template <typename Body>
void inZone(const std::string& zone, Body body) {
    {
        const testing::ScopedEnvironment tz("TZ");
        tz.set(zone);
        tzset();
        body();
    }
    tzset();
}

TEST(DateBucketingParse, ReadsInternetDateTimesAndTheFixedFormOnly) {
    const std::vector<std::pair<std::string, Date>> cases{
        {"2024-03-20T12:00:00Z", utc(2024, 3, 20, 12)},
        {"2024-03-20T12:00:00+01:00", utc(2024, 3, 20, 11)},
        {"2024-03-20T12:00:00.123+01:00", utc(2024, 3, 20, 11) + 123ms},
        {"2024-03-20T12:00:00.5-02:30", utc(2024, 3, 20, 14, 30) + 500ms},
        {"2024-03-20t12:00:00.000001z", utc(2024, 3, 20, 12) + 1us},
        // Digits beyond the microsecond are dropped, not rounded.
        {"2024-03-20T12:00:00.1234569Z", utc(2024, 3, 20, 12) + 123456us},
        {"2024-02-29T23:59:59+00:00", utc(2024, 3, 1) - 1s},
        {"2024-01-01T00:30:00+01:00", utc(2023, 12, 31, 23, 30)},
        // The fixed form takes offsets with seconds.
        {"2024-03-20T12:00:00+01:00:30", utc(2024, 3, 20, 10, 59) + 30s},
        {"2024-03-20T12:00:00-00:00:30", utc(2024, 3, 20, 12) + 30s},
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(DateBucketing::parseTimestamp(text), expected) << text;
    }
    // No zone, a blank for T, no seconds, a dot without digits, offsets
    // without colon or minutes or beyond 23 hours, trailing or leading text,
    // impossible dates and times, one-digit fields, and a fraction together
    // with offset seconds.
    for (const auto* text :
         {"", "yesterday", "2024-03-20", "2024-03-20T12:00:00", "2024-03-20 12:00:00Z",
          "2024-03-20 12:00:00.000 +01:00", "2024-03-20T12:00Z", "2024-03-20T12:00:00.Z",
          "2024-03-20T12:00:00+0100", "2024-03-20T12:00:00+01", "2024-03-20T12:00:00+24:00",
          "2024-03-20T12:00:00Zjunk", " 2024-03-20T12:00:00Z", "2024-13-01T00:00:00Z",
          "2023-02-29T00:00:00Z", "2024-03-20T24:00:00Z", "2024-03-20T12:60:00Z",
          "2024-3-20T12:00:00Z", "2024-03-20T12:00:00.5+01:00:30"}) {
        EXPECT_EQ(DateBucketing::parseTimestamp(text), std::nullopt) << text;
    }
}

/// A date, the date it is seen from, and its bucket.
using BucketCase = std::tuple<Date, Date, DateBucket>;

void expectBuckets(const std::string& zone, const std::vector<BucketCase>& cases) {
    inZone(zone, [&cases] {
        for (const auto& [date, relativeTo, expected] : cases) {
            EXPECT_EQ(DateBucketing::bucket(date, relativeTo), expected)
                << ::testing::PrintToString(date) << " from "
                << ::testing::PrintToString(relativeTo);
        }
    });
}

TEST(DateBucketing, TiersOfWholeLocalCalendarDaysThenWeeksThenMonths) {
    const Date now = utc(2024, 3, 20, 12);  // a Wednesday, noon
    const std::vector<BucketCase> inUTC{
        {utc(2024, 3, 20), now, {"Today", utc(2024, 3, 20)}},
        {utc(2024, 3, 20, 23, 59), now, {"Today", utc(2024, 3, 20)}},
        {utc(2024, 3, 19, 23, 59), now, {"Yesterday", utc(2024, 3, 19)}},
        {utc(2024, 3, 19), now, {"Yesterday", utc(2024, 3, 19)}},
        // Two calendar days back but not yet two whole days: one day.
        {utc(2024, 3, 18, 12, 1), now, {"Yesterday", utc(2024, 3, 18)}},
        {utc(2024, 3, 18, 12), now, {"2 days ago", utc(2024, 3, 18)}},
        {utc(2024, 3, 6, 12, 1), now, {"13 days ago", utc(2024, 3, 6)}},
        {utc(2024, 3, 6, 12), now, {"14 days ago", utc(2024, 3, 6)}},
        // Fifteen days start the week tier; 62 days are still eight weeks.
        {utc(2024, 3, 5, 12), now, {"2 weeks ago", utc(2024, 3, 5)}},
        {utc(2024, 2, 29, 12), now, {"2 weeks ago", utc(2024, 2, 29)}},
        {utc(2024, 2, 28, 12), now, {"3 weeks ago", utc(2024, 2, 28)}},
        {utc(2024, 1, 18, 12), now, {"8 weeks ago", utc(2024, 1, 18)}},
        // From 63 days (nine weeks) on, the month.
        {utc(2024, 1, 17, 12), now, {"January 2024", utc(2024, 1, 1)}},
        {utc(2023, 12, 31, 23, 59), now, {"December 2023", utc(2023, 12, 1)}},
        // Dates ahead count by their distance.
        {utc(2024, 3, 23, 12), now, {"3 days ago", utc(2024, 3, 23)}},
        {utc(2024, 4, 4, 12), now, {"2 weeks ago", utc(2024, 4, 4)}},
        {utc(2024, 8, 1), now, {"August 2024", utc(2024, 8, 1)}},
        // Half past midnight in Berlin is still yesterday here.
        {utc(2024, 3, 31, 22, 10), utc(2024, 4, 1, 6), {"Yesterday", utc(2024, 3, 31)}},
    };
    expectBuckets("UTC", inUTC);
    // In Berlin days are local, and daylight saving changes neither shorten
    // nor stretch them.
    if (!std::filesystem::exists("/usr/share/zoneinfo/Europe/Berlin")) {
        GTEST_SKIP() << "no zoneinfo for Europe/Berlin";
    }
    expectBuckets(
        "Europe/Berlin",
        {
            // 00:10 on 1 April in Berlin, still 31 March in UTC.
            {utc(2024, 3, 31, 22, 10), utc(2024, 4, 1, 6), {"Today", utc(2024, 3, 31, 22)}},
            // 00:30 on 1 July in Berlin is a July date, and July starts at 22:00 UTC.
            {utc(2024, 6, 30, 22, 30), utc(2024, 10, 20, 10), {"July 2024", utc(2024, 6, 30, 22)}},
            {utc(2024, 1, 15, 10), utc(2024, 10, 20, 10), {"January 2024", utc(2023, 12, 31, 23)}},
            // Noon to noon across the spring change is 47 hours, yet two days.
            {utc(2024, 3, 30, 11), utc(2024, 4, 1, 10), {"2 days ago", utc(2024, 3, 29, 23)}},
            // 12:30 to 12:00 two days later across the autumn change is 48.5
            // hours, yet not two whole days.
            {utc(2024, 10, 26, 10, 30),
             utc(2024, 10, 28, 11),
             {"Yesterday", utc(2024, 10, 25, 22)}},
            // The short day itself still starts at its local midnight.
            {utc(2024, 3, 30, 23, 30), utc(2024, 4, 1, 10), {"Yesterday", utc(2024, 3, 30, 23)}},
        });
}

TEST(DateBucketing, GroupsNewestFirstWithUnreadableTimestampsLast) {
    // Name and timestamp.
    const std::vector<std::pair<std::string, std::string>> entries{
        {"garbage", "not a date"},
        {"old", "2023-11-02T12:00:00Z"},
        {"four-weeks-b", "2024-02-20T12:00:00Z"},
        {"today-late", "2024-03-20T08:30:00Z"},
        {"yesterday", "2024-03-19T10:00:00Z"},
        {"empty", ""},
        {"four-weeks-a", "2024-02-21T12:00:00Z"},
        {"old-later", "2023-11-28T12:00:00.250Z"},
        // Earlier than "today-late" in time, but later as text.
        {"today-early", "2024-03-20T09:00:00+01:00"}};
    const auto timestamp = [](const auto& entry) {
        return entry.second;
    };
    const Date now = utc(2024, 3, 20, 12);
    std::vector<std::pair<DateBucket, std::vector<std::string>>> summary;
    inZone("UTC", [&] {
        for (const auto& [bucket, members] : DateBucketing::grouped(entries, timestamp, now)) {
            auto& names = summary.emplace_back(bucket, std::vector<std::string>{}).second;
            for (const auto& entry : members) {
                names.push_back(entry.first);
            }
        }
    });
    // Two days under one title stay two groups.
    EXPECT_EQ(summary, (decltype(summary){
                           {{"Today", utc(2024, 3, 20)}, {"today-early", "today-late"}},
                           {{"Yesterday", utc(2024, 3, 19)}, {"yesterday"}},
                           {{"4 weeks ago", utc(2024, 2, 21)}, {"four-weeks-a"}},
                           {{"4 weeks ago", utc(2024, 2, 20)}, {"four-weeks-b"}},
                           {{"November 2023", utc(2023, 11, 1)}, {"old-later", "old"}},
                           {{"Older", DateBucketing::distantPast}, {"garbage", "empty"}},
                       }));
    EXPECT_TRUE(DateBucketing::grouped(decltype(entries){}, timestamp, now).empty());
}

}  // namespace
}  // namespace vorda
