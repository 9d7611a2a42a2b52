#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTimeZone>
#include <QVariantList>
#include <QVariantMap>
#include <QWidget>

#include <gtest/gtest.h>

#include "app/start/RecentReposStore.h"
#include "app/start/StartTestSupport.h"
#include "app/start/WindowFrameSaver.h"
#include "app/start/WindowFramesStore.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::qpath;
using testing::settleEvents;

QStringList paths(const QList<RecentRepo>& repos) {
    QStringList result;
    for (const RecentRepo& repo : repos) {
        result.append(repo.path);
    }
    return result;
}

class PreferencesTest : public ::testing::Test {
  protected:
    std::optional<QRectF> stored() { return WindowFramesStore::frame(path_, settings_); }

    testing::TempDir folder_;
    QString file_ = qpath(folder_.path() / "settings.ini");
    QSettings settings_{file_, QSettings::IniFormat};
    RecentReposStore store_{settings_};
    const QString path_ = QStringLiteral("/home/me/repo");
};

TEST_F(PreferencesTest, RecentReposKeepTheNewestFirstAndReadOthersButNothingDamaged) {
    EXPECT_TRUE(store_.all().isEmpty());
    EXPECT_EQ(store_.key(), QStringLiteral("com.kelmardev.vorda.recentRepos"));

    const QDateTime before = QDateTime::currentDateTimeUtc().addMSecs(-1);
    for (int index = 1; index <= 11; ++index) {
        store_.record(QStringLiteral("/repo%1").arg(index));
    }
    store_.record(QStringLiteral("/repo3"));  // a known path moves to the front
    const QStringList expected = {"/repo3", "/repo11", "/repo10", "/repo9", "/repo8",
                                  "/repo7", "/repo6",  "/repo5",  "/repo4", "/repo2"};
    EXPECT_EQ(paths(store_.all()), expected);
    EXPECT_GE(store_.all().front().lastOpenedAt, before);
    EXPECT_LE(store_.all().front().lastOpenedAt, QDateTime::currentDateTimeUtc());
    EXPECT_EQ(paths(RecentReposStore(file_ + QString()).all()), expected);  // in the file

    // The bytes: a JSON array with ISO dates.
    const QByteArray bytes = settings_.value(store_.key()).toByteArray();
    const QJsonObject entry = QJsonDocument::fromJson(bytes).array().at(0).toObject();
    EXPECT_EQ(entry.value(QStringLiteral("path")).toString(), QStringLiteral("/repo3"));
    const QString date = entry.value(QStringLiteral("lastOpenedAt")).toString();
    EXPECT_TRUE(date.endsWith('Z') && QDateTime::fromString(date, Qt::ISODateWithMs).isValid())
        << date.toStdString();

    store_.remove(QStringLiteral("/repo11"));
    EXPECT_EQ(paths(store_.all()).mid(0, 2), (QStringList{"/repo3", "/repo10"}));
    store_.removeAll();
    EXPECT_FALSE(settings_.contains(store_.key()));
    EXPECT_TRUE(store_.all().isEmpty());

    RecentReposStore small(settings_, QStringLiteral("other"), 2);
    for (const char* path : {"/a", "/b", "/c"}) {
        small.record(QString::fromLatin1(path));
    }
    EXPECT_EQ(paths(small.all()), (QStringList{"/c", "/b"}));
    EXPECT_TRUE(store_.all().isEmpty());

    // Seconds since 2001-01-01T00:00:00Z, as the Mac build writes them.
    settings_.setValue(store_.key(), QByteArray(R"([{"path":"/a","lastOpenedAt":86400.5}])"));
    ASSERT_EQ(store_.all().size(), 1);
    EXPECT_EQ(store_.all().front().lastOpenedAt,
              QDateTime(QDate(2001, 1, 2), QTime(0, 0, 0, 500), QTimeZone::utc()));
    // A path listed twice is removed twice.
    settings_.setValue(store_.key(),
                       QByteArray(R"([{"path":"/a","lastOpenedAt":"2024-01-02T00:00:00.000Z"},)"
                                  R"({"path":"/b","lastOpenedAt":"2024-01-01T12:00:00.000Z"},)"
                                  R"({"path":"/a","lastOpenedAt":"2024-01-01T00:00:00.000Z"}])"));
    store_.remove(QStringLiteral("/a"));
    EXPECT_EQ(paths(store_.all()), QStringList{"/b"});

    // One undecodable entry spoils the whole list, as a decoder of the whole
    // array would.
    for (const QVariant& damaged :
         {QVariant(QByteArray("not json at all")), QVariant(QByteArray(R"({"path":"/a"})")),
          QVariant(QByteArray(R"([{"path":"/a","lastOpenedAt":"2024-01-01T00:00:00.000Z"},)"
                              R"({"path":"/b","lastOpenedAt":"yesterday"}])")),
          QVariant(42)}) {
        settings_.setValue(store_.key(), damaged);
        EXPECT_TRUE(store_.all().isEmpty()) << damaged.toString().toStdString();
    }
    store_.record(QStringLiteral("/fresh"));
    EXPECT_EQ(paths(store_.all()), QStringList{"/fresh"});
}

TEST_F(PreferencesTest, WindowFramesAndTheirSaverRoundTripAndDamageReadsAsAbsent) {
    const QString key = QLatin1String(WindowFramesStore::defaultKey);
    EXPECT_EQ(key, QStringLiteral("com.kelmardev.vorda.windowFrames"));
    const auto frame = [&](const char* path) {
        return WindowFramesStore::frame(QString::fromLatin1(path), settings_);
    };
    EXPECT_FALSE(frame("/a"));
    WindowFramesStore::save(QRectF(10, 20, 800, 600.5), QStringLiteral("/a"), settings_);
    WindowFramesStore::save(QRectF(1, 2, 3, 4), QStringLiteral("/b"), settings_);
    EXPECT_EQ(std::tuple(frame("/a"), frame("/b"), frame("/c")),
              std::tuple(QRectF(10, 20, 800, 600.5), QRectF(1, 2, 3, 4), std::nullopt));
    settings_.sync();
    QSettings reread(settings_.fileName(), QSettings::IniFormat);
    EXPECT_EQ(WindowFramesStore::frame(QStringLiteral("/a"), reread), QRectF(10, 20, 800, 600.5));

    // Three numbers read as absent; whole numbers do not. Text among the
    // numbers, or no map at all, reads as absent.
    settings_.setValue(
        key, QVariantMap{{"/a", QVariantList{1.0, 2.0, 3.0}}, {"/b", QVariantList{1, 2, 3, 4}}});
    EXPECT_EQ(std::tuple(frame("/a"), frame("/b")), std::tuple(std::nullopt, QRectF(1, 2, 3, 4)));
    for (const QVariant& damaged :
         {QVariant(QVariantMap{{"/b", QVariantList{1.0, 2.0, 3.0, QStringLiteral("4")}}}),
          QVariant(QStringLiteral("not a map"))}) {
        settings_.setValue(key, damaged);
        EXPECT_FALSE(frame("/b"));
    }

    // A foreign entry makes every frame absent, and a save starts afresh.
    settings_.setValue(key, QVariantMap{{"/a", QVariantList{1.0, 2.0, 3.0, 4.0}},
                                        {"/foreign", QStringLiteral("hello")}});
    EXPECT_FALSE(frame("/a"));
    WindowFramesStore::save(QRectF(5, 6, 7, 8), QStringLiteral("/b"), settings_);
    EXPECT_EQ(settings_.value(key).toMap().keys(), QStringList{"/b"});
    EXPECT_EQ(std::tuple(frame("/a"), frame("/b")), std::tuple(std::nullopt, QRectF(5, 6, 7, 8)));

    WindowFramesStore::save(QRectF(40, 50, 420, 310), path_, settings_);
    QWidget window;
    window.resize(200, 100);
    WindowFrameSaver saver(path_, settings_);
    saver.attach(&window);
    EXPECT_FALSE(saver.isRestored());
    window.show();
    settleEvents();
    EXPECT_TRUE(saver.isRestored());
    EXPECT_EQ(window.geometry(), QRect(40, 50, 420, 310));

    // Later moves and resizes are saved; showing again restores nothing.
    window.setGeometry(100, 110, 300, 200);
    settleEvents();
    EXPECT_EQ(stored(), QRectF(window.geometry()));
    window.hide();
    window.show();
    settleEvents();
    EXPECT_EQ(window.geometry(), QRect(100, 110, 300, 200));

    // Attaching the same window again does nothing. Another window, already
    // showing, is restored on the event loop, and its moves before that are
    // not saved.
    saver.attach(&window);
    EXPECT_TRUE(saver.isRestored());
    QWidget other;
    other.setGeometry(10, 10, 300, 200);
    other.show();
    settleEvents();
    saver.attach(&other);
    EXPECT_EQ(saver.window(), &other);
    other.move(20, 20);
    other.resize(320, 220);
    EXPECT_FALSE(saver.isRestored());
    EXPECT_EQ(stored(), QRectF(100, 110, 300, 200));
    settleEvents();
    EXPECT_TRUE(saver.isRestored());
    EXPECT_EQ(other.geometry(), QRect(100, 110, 300, 200));
    other.move(90, 100);
    settleEvents();
    EXPECT_NE(other.geometry(), QRect(100, 110, 300, 200));
    EXPECT_EQ(stored()->toRect(), other.geometry());
}

}  // namespace
}  // namespace vorda
