#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTimeZone>
#include <QVariantList>
#include <QVariantMap>

#include <gtest/gtest.h>

#include "app/start/RecentReposStore.h"
#include "app/start/StartTestSupport.h"
#include "app/start/WindowFramesStore.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::qpath;
using testing::TempDir;

QStringList paths(const QList<RecentRepo>& repos) {
    QStringList result;
    for (const RecentRepo& repo : repos) {
        result.append(repo.path);
    }
    return result;
}

class RecentReposStoreTest : public ::testing::Test {
  protected:
    TempDir folder_;
    QString file_ = qpath(folder_.path() / "settings.ini");
    QSettings settings_{file_, QSettings::IniFormat};
    RecentReposStore store_{settings_};
};

TEST_F(RecentReposStoreTest, AMissingKeyReadsEmpty) {
    EXPECT_TRUE(store_.all().isEmpty());
    EXPECT_EQ(store_.key(), QStringLiteral("com.kelmardev.vorda.recentRepos"));
    EXPECT_EQ(store_.maxEntries(), 10);
}

TEST_F(RecentReposStoreTest, RecordPutsTheNewestFirstWithTheTimeNow) {
    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    store_.record(QStringLiteral("/a"));
    store_.record(QStringLiteral("/b"));
    const auto all = store_.all();
    EXPECT_EQ(paths(all), (QStringList{"/b", "/a"}));
    EXPECT_GE(all.front().lastOpenedAt, before);
    EXPECT_LE(all.front().lastOpenedAt, QDateTime::currentDateTimeUtc());
}

TEST_F(RecentReposStoreTest, RecordingAKnownPathMovesItToTheFrontWithoutGrowing) {
    store_.record(QStringLiteral("/a"));
    store_.record(QStringLiteral("/b"));
    store_.record(QStringLiteral("/c"));
    store_.record(QStringLiteral("/a"));
    EXPECT_EQ(paths(store_.all()), (QStringList{"/a", "/c", "/b"}));
}

TEST_F(RecentReposStoreTest, ElevenPathsKeepTheLastTen) {
    for (int index = 1; index <= 11; ++index) {
        store_.record(QStringLiteral("/repo%1").arg(index));
    }
    const QStringList all = paths(store_.all());
    ASSERT_EQ(all.size(), 10);
    EXPECT_EQ(all.front(), QStringLiteral("/repo11"));
    EXPECT_EQ(all.back(), QStringLiteral("/repo2"));
    EXPECT_FALSE(all.contains(QStringLiteral("/repo1")));
}

TEST_F(RecentReposStoreTest, CorruptBytesReadEmptyAndTheNextWriteReplacesThem) {
    settings_.setValue(store_.key(), QByteArray("not json at all"));
    EXPECT_TRUE(store_.all().isEmpty());
    settings_.setValue(store_.key(), QByteArray(R"({"path":"/a"})"));
    EXPECT_TRUE(store_.all().isEmpty());
    // One undecodable entry spoils the whole list, as a decoder of the
    // whole array would.
    settings_.setValue(store_.key(),
                       QByteArray(R"([{"path":"/a","lastOpenedAt":"2024-01-01T00:00:00.000Z"},)"
                                  R"({"path":"/b","lastOpenedAt":"yesterday"}])"));
    EXPECT_TRUE(store_.all().isEmpty());
    settings_.setValue(store_.key(), 42);
    EXPECT_TRUE(store_.all().isEmpty());

    store_.record(QStringLiteral("/fresh"));
    EXPECT_EQ(paths(store_.all()), QStringList{"/fresh"});
}

TEST_F(RecentReposStoreTest, TheBytesAreAJsonArrayWithIsoDates) {
    store_.record(QStringLiteral("/a"));
    const QByteArray bytes = settings_.value(store_.key()).toByteArray();
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    ASSERT_TRUE(document.isArray());
    const QJsonObject entry = document.array().at(0).toObject();
    EXPECT_EQ(entry.value(QStringLiteral("path")).toString(), QStringLiteral("/a"));
    const QString date = entry.value(QStringLiteral("lastOpenedAt")).toString();
    EXPECT_TRUE(date.endsWith(QLatin1Char('Z'))) << date.toStdString();
    EXPECT_TRUE(QDateTime::fromString(date, Qt::ISODateWithMs).isValid());
}

TEST_F(RecentReposStoreTest, DatesOfTheMacBuildAreRead) {
    // Seconds since 2001-01-01T00:00:00Z.
    settings_.setValue(store_.key(), QByteArray(R"([{"path":"/a","lastOpenedAt":86400.5}])"));
    const auto all = store_.all();
    ASSERT_EQ(all.size(), 1);
    EXPECT_EQ(all.front().lastOpenedAt,
              QDateTime(QDate(2001, 1, 2), QTime(0, 0, 0, 500), QTimeZone::utc()));
}

TEST_F(RecentReposStoreTest, RemoveDropsEveryEntryWithThePath) {
    settings_.setValue(store_.key(),
                       QByteArray(R"([{"path":"/a","lastOpenedAt":"2024-01-02T00:00:00.000Z"},)"
                                  R"({"path":"/b","lastOpenedAt":"2024-01-01T12:00:00.000Z"},)"
                                  R"({"path":"/a","lastOpenedAt":"2024-01-01T00:00:00.000Z"}])"));
    store_.remove(QStringLiteral("/a"));
    EXPECT_EQ(paths(store_.all()), QStringList{"/b"});
}

TEST_F(RecentReposStoreTest, RemoveAllRemovesTheKey) {
    store_.record(QStringLiteral("/a"));
    store_.removeAll();
    EXPECT_FALSE(settings_.contains(store_.key()));
    EXPECT_TRUE(store_.all().isEmpty());
}

TEST_F(RecentReposStoreTest, TheListSurvivesInTheFile) {
    store_.record(QStringLiteral("/a"));
    store_.record(QStringLiteral("/b"));
    const RecentReposStore other(file_ + QString());
    EXPECT_EQ(paths(other.all()), (QStringList{"/b", "/a"}));
}

TEST_F(RecentReposStoreTest, AnotherKeyAndLimitAreHonoured) {
    RecentReposStore small(settings_, QStringLiteral("other"), 2);
    small.record(QStringLiteral("/a"));
    small.record(QStringLiteral("/b"));
    small.record(QStringLiteral("/c"));
    EXPECT_EQ(paths(small.all()), (QStringList{"/c", "/b"}));
    EXPECT_TRUE(store_.all().isEmpty());
}

class WindowFramesStoreTest : public ::testing::Test {
  protected:
    TempDir folder_;
    QSettings settings_{qpath(folder_.path() / "settings.ini"), QSettings::IniFormat};
    const QString key_ = QLatin1String(WindowFramesStore::defaultKey);
};

TEST_F(WindowFramesStoreTest, TheKeyIsTheSpecsOne) {
    EXPECT_EQ(key_, QStringLiteral("com.kelmardev.vorda.windowFrames"));
}

TEST_F(WindowFramesStoreTest, AFrameRoundTrips) {
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/a"), settings_));
    WindowFramesStore::save(QRectF(10, 20, 800, 600.5), QStringLiteral("/a"), settings_);
    WindowFramesStore::save(QRectF(1, 2, 3, 4), QStringLiteral("/b"), settings_);
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/a"), settings_),
              QRectF(10, 20, 800, 600.5));
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/b"), settings_), QRectF(1, 2, 3, 4));
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/c"), settings_));

    settings_.sync();
    QSettings reread(settings_.fileName(), QSettings::IniFormat);
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/a"), reread), QRectF(10, 20, 800, 600.5));
}

TEST_F(WindowFramesStoreTest, ThreeNumbersReadAsAbsent) {
    settings_.setValue(key_, QVariantMap{{QStringLiteral("/a"), QVariantList{1.0, 2.0, 3.0}},
                                         {QStringLiteral("/b"), QVariantList{1, 2, 3, 4}}});
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/a"), settings_));
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/b"), settings_), QRectF(1, 2, 3, 4));
}

TEST_F(WindowFramesStoreTest, AForeignEntryMakesEveryFrameAbsentAndSaveStartsAfresh) {
    settings_.setValue(key_, QVariantMap{{QStringLiteral("/a"), QVariantList{1.0, 2.0, 3.0, 4.0}},
                                         {QStringLiteral("/foreign"), QStringLiteral("hello")}});
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/a"), settings_));

    WindowFramesStore::save(QRectF(5, 6, 7, 8), QStringLiteral("/b"), settings_);
    const QVariantMap stored = settings_.value(key_).toMap();
    EXPECT_EQ(stored.keys(), QStringList{"/b"});
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/b"), settings_), QRectF(5, 6, 7, 8));
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/a"), settings_));
}

TEST_F(WindowFramesStoreTest, AListWithTextOrAValueThatIsNoMapReadsAsAbsent) {
    settings_.setValue(key_, QVariantMap{{QStringLiteral("/a"),
                                          QVariantList{1.0, 2.0, 3.0, QStringLiteral("4")}}});
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/a"), settings_));
    settings_.setValue(key_, QStringLiteral("not a map"));
    EXPECT_FALSE(WindowFramesStore::frame(QStringLiteral("/a"), settings_));
    WindowFramesStore::save(QRectF(1, 1, 2, 2), QStringLiteral("/a"), settings_);
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/a"), settings_), QRectF(1, 1, 2, 2));
}

}  // namespace
}  // namespace vorda
