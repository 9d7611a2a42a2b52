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
    // 2024-03-04 12:00 less 49 days is 2024-01-15 12:00; -3h is a clock ahead of ours.
    const std::pair<std::chrono::seconds, const char*> cases[] = {
        {0s, "just now"},          {59s, "just now"},         {-3h, "just now"},
        {60s, "1 min ago"},        {5min + 59s, "5 min ago"}, {59min, "59 min ago"},
        {1h, "1 h ago"},           {23h + 59min, "23 h ago"}, {24h, "1 day ago"},
        {47h, "1 day ago"},        {48h, "2 days ago"},       {13 * 24h, "13 days ago"},
        {14 * 24h, "2 weeks ago"}, {34 * 24h, "4 weeks ago"}, {49 * 24h, "Jan 15, 2024"}};
    for (const auto& [distance, text] : cases) {
        EXPECT_EQ(relativeTimeText(testNow() - distance, testNow()).toStdString(), text)
            << distance.count();
    }
    EXPECT_EQ(absoluteTimeText(testNow() - 90min).toStdString(), "2024-03-04 10:30");
}

TEST(CommitCardText, SummaryAuthorAndTimeWithTheirFallbacks) {
    const UtcZone zone;
    const std::pair<const char*, const char*> summaries[] = {
        {"Add login\n\nLonger body", "Add login"},
        {"  Trimmed\t\n", "Trimmed"},
        {"", "(no description set)"},
        {" \nbody only below", "(no description set)"}};
    for (const auto& [description, summary] : summaries) {
        EXPECT_EQ(cardtext::summary(makeCommit(1, description)).toStdString(), summary);
    }

    JJCommit commit = makeCommit(3, "x");
    EXPECT_EQ(cardtext::cardTooltip(commit).toStdString(),
              "Change " + commit.changeID + " · commit " + commit.commitID);
    EXPECT_EQ(cardtext::authorLabel(commit.author), QStringLiteral("Ada Lovelace"));
    EXPECT_EQ(cardtext::authorTooltip(commit.author),
              QStringLiteral("Ada Lovelace <ada@example.com>"));
    commit.author.name.clear();
    EXPECT_EQ(cardtext::authorLabel(commit.author), QStringLiteral("Unknown author"));
    EXPECT_EQ(cardtext::authorTooltip(commit.author), QStringLiteral("Author unavailable"));

    EXPECT_EQ(cardtext::timestampTooltip(commit.committer),
              QStringLiteral("Committed 2024-03-04 10:00"));
    EXPECT_EQ(cardtext::relativeTimestamp(commit.committer, testNow()), QStringLiteral("2 h ago"));
    // A time jj printed that cannot be read is shown as it came.
    commit.committer.timestamp = "yesterday-ish";
    EXPECT_EQ(cardtext::timestampTooltip(commit.committer),
              QStringLiteral("Committed yesterday-ish"));
    EXPECT_EQ(cardtext::relativeTimestamp(commit.committer, testNow()),
              QStringLiteral("yesterday-ish"));
}

}  // namespace
}  // namespace vorda
