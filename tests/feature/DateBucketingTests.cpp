#include "feature/lanes/DateBucketing.h"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/ScopedEnvironment.h"

namespace vorda {
namespace {

using namespace std::chrono_literals;
using Date = DateBucketing::Date;
using testing::ScopedEnvironment;

Date utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
    return Date{std::chrono::sys_days{std::chrono::year{year} / std::chrono::month{month} /
                                      std::chrono::day{day}} +
                std::chrono::hours{hour} + std::chrono::minutes{minute}};
}

// Runs a test in one time zone, whatever the machine's, and puts TZ back.
class ScopedTimeZone {
  public:
    explicit ScopedTimeZone(const std::string& zone) {
        saved_.emplace("TZ");
        saved_->set(zone);
        tzset();
    }
    ~ScopedTimeZone() {
        saved_.reset();
        tzset();
    }
    ScopedTimeZone(const ScopedTimeZone&) = delete;
    ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

  private:
    std::optional<ScopedEnvironment> saved_;
};

bool zoneInstalled(const std::string& zone) {
    return std::filesystem::exists("/usr/share/zoneinfo/" + zone);
}

// ---------------------------------------------------------------------------
// Parsing

TEST(DateBucketingParse, ReadsInternetDateTimesWithOrWithoutFraction) {
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
    };
    for (const auto& [text, expected] : cases) {
        EXPECT_EQ(DateBucketing::parseTimestamp(text), expected) << text;
    }
}

TEST(DateBucketingParse, FixedFormatAcceptsOffsetsWithSeconds) {
    EXPECT_EQ(DateBucketing::parseTimestamp("2024-03-20T12:00:00+01:00:30"),
              utc(2024, 3, 20, 10, 59) + 30s);
    EXPECT_EQ(DateBucketing::parseTimestamp("2024-03-20T12:00:00-00:00:30"),
              utc(2024, 3, 20, 12) + 30s);
    // Neither form has both a fraction and offset seconds.
    EXPECT_EQ(DateBucketing::parseTimestamp("2024-03-20T12:00:00.5+01:00:30"), std::nullopt);
}

TEST(DateBucketingParse, RejectsEverythingElse) {
    const std::vector<std::string> invalid{
        "",
        "yesterday",
        "2024-03-20",
        "2024-03-20T12:00:00",   // no zone
        "2024-03-20 12:00:00Z",  // blank for T
        "2024-03-20 12:00:00.000 +01:00",
        "2024-03-20T12:00Z",          // no seconds
        "2024-03-20T12:00:00.Z",      // dot with no digits
        "2024-03-20T12:00:00+0100",   // offset without colon
        "2024-03-20T12:00:00+01",     // offset without minutes
        "2024-03-20T12:00:00Zjunk",   // trailing text
        " 2024-03-20T12:00:00Z",      // leading blank
        "2024-13-01T00:00:00Z",       // month 13
        "2023-02-29T00:00:00Z",       // not a leap year
        "2024-03-20T24:00:00Z",       // hour 24
        "2024-03-20T12:60:00Z",       // minute 60
        "2024-03-20T12:00:00+24:00",  // offset hours
        "2024-3-20T12:00:00Z",        // one-digit month
    };
    for (const auto& text : invalid) {
        EXPECT_EQ(DateBucketing::parseTimestamp(text), std::nullopt) << text;
    }
}

// ---------------------------------------------------------------------------
// Buckets in UTC

class DateBucketingUTC : public ::testing::Test {
  protected:
    ScopedTimeZone zone_{"UTC"};
    // A Wednesday, noon.
    const Date reference_ = utc(2024, 3, 20, 12);

    DateBucket bucket(Date date) const { return DateBucketing::bucket(date, reference_); }
};

TEST_F(DateBucketingUTC, TodayAndYesterdayFollowCalendarDays) {
    EXPECT_EQ(bucket(utc(2024, 3, 20)), (DateBucket{"Today", utc(2024, 3, 20)}));
    EXPECT_EQ(bucket(utc(2024, 3, 20, 23, 59)), (DateBucket{"Today", utc(2024, 3, 20)}));
    EXPECT_EQ(bucket(utc(2024, 3, 19, 23, 59)), (DateBucket{"Yesterday", utc(2024, 3, 19)}));
    EXPECT_EQ(bucket(utc(2024, 3, 19)), (DateBucket{"Yesterday", utc(2024, 3, 19)}));
}

TEST_F(DateBucketingUTC, CountsWholeDaysOfWallClockTime) {
    // Two calendar days back but not yet two whole days: one day.
    EXPECT_EQ(bucket(utc(2024, 3, 18, 12, 1)), (DateBucket{"Yesterday", utc(2024, 3, 18)}));
    EXPECT_EQ(bucket(utc(2024, 3, 18, 12)), (DateBucket{"2 days ago", utc(2024, 3, 18)}));
    EXPECT_EQ(bucket(utc(2024, 3, 18, 11)), (DateBucket{"2 days ago", utc(2024, 3, 18)}));
    EXPECT_EQ(bucket(utc(2024, 3, 6, 12, 1)), (DateBucket{"13 days ago", utc(2024, 3, 6)}));
    EXPECT_EQ(bucket(utc(2024, 3, 6, 12)), (DateBucket{"14 days ago", utc(2024, 3, 6)}));
}

TEST_F(DateBucketingUTC, FifteenDaysStartTheWeekTier) {
    EXPECT_EQ(bucket(utc(2024, 3, 5, 12)), (DateBucket{"2 weeks ago", utc(2024, 3, 5)}));
    EXPECT_EQ(bucket(utc(2024, 2, 29, 12)), (DateBucket{"2 weeks ago", utc(2024, 2, 29)}));
    EXPECT_EQ(bucket(utc(2024, 2, 28, 12)), (DateBucket{"3 weeks ago", utc(2024, 2, 28)}));
    // 62 days are still eight whole weeks.
    EXPECT_EQ(bucket(utc(2024, 1, 18, 12)), (DateBucket{"8 weeks ago", utc(2024, 1, 18)}));
}

TEST_F(DateBucketingUTC, BeyondEightWeeksGroupsByMonth) {
    // 63 days: nine weeks.
    EXPECT_EQ(bucket(utc(2024, 1, 17, 12)), (DateBucket{"January 2024", utc(2024, 1, 1)}));
    // 70 days.
    EXPECT_EQ(bucket(utc(2024, 1, 10, 12)), (DateBucket{"January 2024", utc(2024, 1, 1)}));
    EXPECT_EQ(bucket(utc(2023, 12, 31, 23, 59)), (DateBucket{"December 2023", utc(2023, 12, 1)}));
    EXPECT_EQ(bucket(utc(2021, 6, 15)), (DateBucket{"June 2021", utc(2021, 6, 1)}));
}

TEST_F(DateBucketingUTC, DatesAheadCountByTheirDistance) {
    EXPECT_EQ(bucket(utc(2024, 3, 23, 12)), (DateBucket{"3 days ago", utc(2024, 3, 23)}));
    EXPECT_EQ(bucket(utc(2024, 4, 4, 12)), (DateBucket{"2 weeks ago", utc(2024, 4, 4)}));
    EXPECT_EQ(bucket(utc(2024, 8, 1)), (DateBucket{"August 2024", utc(2024, 8, 1)}));
}

// ---------------------------------------------------------------------------
// Buckets in a zone with daylight saving time

class DateBucketingBerlin : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!zoneInstalled("Europe/Berlin")) {
            GTEST_SKIP() << "no zoneinfo for Europe/Berlin";
        }
        zone_.emplace("Europe/Berlin");
    }
    void TearDown() override { zone_.reset(); }

    std::optional<ScopedTimeZone> zone_;
};

TEST_F(DateBucketingBerlin, DaysAreLocalDays) {
    // 00:10 on 1 April in Berlin, still 31 March in UTC.
    const Date justAfterMidnight = utc(2024, 3, 31, 22, 10);
    const Date morning = utc(2024, 4, 1, 6);
    EXPECT_EQ(DateBucketing::bucket(justAfterMidnight, morning),
              (DateBucket{"Today", utc(2024, 3, 31, 22)}));
    // 00:30 on 1 July in Berlin is a July date, and July starts at 22:00 UTC.
    EXPECT_EQ(DateBucketing::bucket(utc(2024, 6, 30, 22, 30), utc(2024, 10, 20, 10)),
              (DateBucket{"July 2024", utc(2024, 6, 30, 22)}));
    EXPECT_EQ(DateBucketing::bucket(utc(2024, 1, 15, 10), utc(2024, 10, 20, 10)),
              (DateBucket{"January 2024", utc(2023, 12, 31, 23)}));

    ScopedTimeZone inUTC("UTC");
    EXPECT_EQ(DateBucketing::bucket(justAfterMidnight, morning),
              (DateBucket{"Yesterday", utc(2024, 3, 31)}));
}

TEST_F(DateBucketingBerlin, DaylightSavingChangesNeitherShortenNorStretchDays) {
    // Noon to noon across the spring change is 47 hours, yet two days.
    EXPECT_EQ(DateBucketing::bucket(utc(2024, 3, 30, 11), utc(2024, 4, 1, 10)),
              (DateBucket{"2 days ago", utc(2024, 3, 29, 23)}));
    // 12:30 to 12:00 two days later across the autumn change is 48.5 hours,
    // yet not two whole days.
    EXPECT_EQ(DateBucketing::bucket(utc(2024, 10, 26, 10, 30), utc(2024, 10, 28, 11)),
              (DateBucket{"Yesterday", utc(2024, 10, 25, 22)}));
    // The short day itself still starts at its local midnight.
    EXPECT_EQ(DateBucketing::bucket(utc(2024, 3, 30, 23, 30), utc(2024, 4, 1, 10)),
              (DateBucket{"Yesterday", utc(2024, 3, 30, 23)}));
}

// ---------------------------------------------------------------------------
// Grouping

struct Entry {
    std::string name;
    std::string timestamp;
    bool operator==(const Entry&) const = default;
};

std::vector<std::pair<std::string, std::vector<std::string>>> summarize(
    const std::vector<std::pair<DateBucket, std::vector<Entry>>>& groups) {
    std::vector<std::pair<std::string, std::vector<std::string>>> summary;
    summary.reserve(groups.size());
    for (const auto& [bucket, entries] : groups) {
        std::vector<std::string> names;
        names.reserve(entries.size());
        for (const auto& entry : entries) {
            names.push_back(entry.name);
        }
        summary.emplace_back(bucket.title, names);
    }
    return summary;
}

TEST_F(DateBucketingUTC, GroupsNewestFirstWithUnreadableTimestampsLast) {
    const std::vector<Entry> entries{
        {"garbage", "not a date"},
        {"old", "2023-11-02T12:00:00Z"},
        {"four-weeks-b", "2024-02-20T12:00:00Z"},
        {"today-late", "2024-03-20T08:30:00Z"},
        {"yesterday", "2024-03-19T10:00:00Z"},
        {"empty", ""},
        {"four-weeks-a", "2024-02-21T12:00:00Z"},
        {"old-later", "2023-11-28T12:00:00.250Z"},
        // Earlier than "today-late" in time, but later as text.
        {"today-early", "2024-03-20T09:00:00+01:00"},
    };
    const auto groups = DateBucketing::grouped(
        entries, [](const Entry& entry) { return entry.timestamp; }, reference_);

    using Summary = std::vector<std::pair<std::string, std::vector<std::string>>>;
    EXPECT_EQ(summarize(groups), (Summary{
                                     {"Today", {"today-early", "today-late"}},
                                     {"Yesterday", {"yesterday"}},
                                     {"4 weeks ago", {"four-weeks-a"}},
                                     {"4 weeks ago", {"four-weeks-b"}},
                                     {"November 2023", {"old-later", "old"}},
                                     {"Older", {"garbage", "empty"}},
                                 }));
    ASSERT_EQ(groups.size(), 6U);
    EXPECT_EQ(groups[2].first.sortKey, utc(2024, 2, 21));
    EXPECT_EQ(groups[3].first.sortKey, utc(2024, 2, 20));
    EXPECT_EQ(groups[4].first.sortKey, utc(2023, 11, 1));
    EXPECT_EQ(groups[5].first, (DateBucket{"Older", DateBucketing::distantPast}));
}

TEST_F(DateBucketingUTC, GroupingNothingGivesNothing) {
    const auto groups = DateBucketing::grouped(
        std::vector<Entry>{}, [](const Entry& entry) { return entry.timestamp; }, reference_);
    EXPECT_TRUE(groups.empty());
}

}  // namespace
}  // namespace vorda
