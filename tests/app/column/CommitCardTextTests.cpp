#include "app/column/CommitCardText.h"

#include <ctime>
#include <optional>

#include <gtest/gtest.h>

#include "ColumnTestData.h"
#include "app/column/RelativeTime.h"
#include "support/ScopedEnvironment.h"

namespace vorda {
namespace {

using namespace std::chrono_literals;
using columntest::makeCommit;
using columntest::testNow;

// Pins the local time zone for a test and puts the old one back.
class UtcZone {
  public:
    UtcZone() {
        saved_.emplace("TZ");
        saved_->set("UTC");
        tzset();
    }
    ~UtcZone() {
        saved_.reset();
        tzset();
    }
    UtcZone(const UtcZone&) = delete;
    UtcZone& operator=(const UtcZone&) = delete;

  private:
    std::optional<testing::ScopedEnvironment> saved_;
};

TEST(RelativeTime, ShortWordsByDistanceThenTheDate) {
    const UtcZone zone;
    const auto now = testNow();
    const auto ago = [&](std::chrono::seconds distance) {
        return relativeTimeText(now - distance, now).toStdString();
    };
    EXPECT_EQ(ago(0s), "just now");
    EXPECT_EQ(ago(59s), "just now");
    EXPECT_EQ(ago(-3h), "just now");  // a clock ahead of ours
    EXPECT_EQ(ago(60s), "1 min ago");
    EXPECT_EQ(ago(5min + 59s), "5 min ago");
    EXPECT_EQ(ago(59min), "59 min ago");
    EXPECT_EQ(ago(1h), "1 h ago");
    EXPECT_EQ(ago(23h + 59min), "23 h ago");
    EXPECT_EQ(ago(24h), "1 day ago");
    EXPECT_EQ(ago(47h), "1 day ago");
    EXPECT_EQ(ago(48h), "2 days ago");
    EXPECT_EQ(ago(13 * 24h), "13 days ago");
    EXPECT_EQ(ago(14 * 24h), "2 weeks ago");
    EXPECT_EQ(ago(34 * 24h), "4 weeks ago");
    // 2024-03-04 12:00 less 49 days is 2024-01-15 12:00.
    EXPECT_EQ(ago(49 * 24h), "Jan 15, 2024");
    EXPECT_EQ(absoluteTimeText(now - 90min).toStdString(), "2024-03-04 10:30");
}

TEST(CommitCardText, SummaryFallsBackWhenTheFirstLineIsEmpty) {
    EXPECT_EQ(cardtext::summary(makeCommit(1, "Add login\n\nLonger body")),
              QStringLiteral("Add login"));
    EXPECT_EQ(cardtext::summary(makeCommit(1, "  Trimmed\t\n")), QStringLiteral("Trimmed"));
    EXPECT_EQ(cardtext::summary(makeCommit(1, "")), QStringLiteral("(no description set)"));
    EXPECT_EQ(cardtext::summary(makeCommit(1, " \nbody only below")),
              QStringLiteral("(no description set)"));
}

TEST(CommitCardText, TooltipsNameChangeAuthorAndTime) {
    const UtcZone zone;
    JJCommit commit = makeCommit(3, "x");
    EXPECT_EQ(cardtext::cardTooltip(commit),
              QStringLiteral("Change ") + QString::fromStdString(commit.changeID) +
                  QStringLiteral(" · commit ") + QString::fromStdString(commit.commitID));

    EXPECT_EQ(cardtext::authorLabel(commit.author), QStringLiteral("Ada Lovelace"));
    EXPECT_EQ(cardtext::authorTooltip(commit.author),
              QStringLiteral("Ada Lovelace <ada@example.com>"));
    commit.author.name.clear();
    EXPECT_EQ(cardtext::authorLabel(commit.author), QStringLiteral("Unknown author"));
    EXPECT_EQ(cardtext::authorTooltip(commit.author), QStringLiteral("Author unavailable"));

    EXPECT_EQ(cardtext::timestampTooltip(commit.committer),
              QStringLiteral("Committed 2024-03-04 10:00"));
    EXPECT_EQ(cardtext::relativeTimestamp(commit.committer, testNow()), QStringLiteral("2 h ago"));

    commit.committer.timestamp = "yesterday-ish";
    EXPECT_EQ(cardtext::timestampTooltip(commit.committer),
              QStringLiteral("Committed yesterday-ish"));
    EXPECT_EQ(cardtext::relativeTimestamp(commit.committer, testNow()),
              QStringLiteral("yesterday-ish"));
}

}  // namespace
}  // namespace vorda
