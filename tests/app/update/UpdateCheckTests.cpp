#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QSettings>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <optional>

#include <gtest/gtest.h>

#include "MenuText.h"
#include "app/sheets/SheetDialog.h"
#include "app/update/BuildInfo.h"
#include "app/update/HelpMenu.h"
#include "app/update/UpdateController.h"
#include "app/update/UpdatePreferences.h"
#include "app/update/UpdateSettingsPage.h"

namespace vorda {
namespace {

const QByteArray newerFeed = R"({"releases": [
  {"version": "1.1.0", "notes": "Old.", "url": "https://example.org/vorda/1.1.0"},
  {"version": "1.3.0", "notes": "Faster board.\nNew Help menu.", "url": "https://example.org/vorda/1.3.0"},
  {"version": "1.4.0-beta.1", "notes": "Unfinished.", "url": "https://example.org/vorda/beta"}]})";
const QByteArray sameFeed = R"({"releases": [{"version": "1.2.0", "url": "https://example.org/v"},
  {"version": "1.3.0-rc.1", "url": "https://example.org/rc"}]})";

// An HTTP server on the loopback address: one canned response per
// connection, then it closes; it counts the requests.
struct FeedServer {
    QTcpServer server;
    QByteArray response;
    int requests = 0;

    FeedServer() {
        server.listen(QHostAddress::LocalHost, 0);
        QObject::connect(&server, &QTcpServer::newConnection, &server, [this] {
            QTcpSocket* socket = server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                if (socket->readAll().contains("\r\n\r\n")) {  // requests are small
                    ++requests;
                    socket->write(response);
                    socket->disconnectFromHost();
                }
            });
        });
    }
    void answer(const QByteArray& status, const QByteArray& body) {
        response = "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
                   "\r\nConnection: close\r\n\r\n" + body;
    }
    QString url() const {
        return QStringLiteral("http://127.0.0.1:%1/feed.json").arg(server.serverPort());
    }
};

// The visible update dialog among the top-level widgets, and what it says.
SheetDialog* shownDialog() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<SheetDialog*>(widget); dialog && dialog->isVisible()) {
            return dialog;
        }
    }
    return nullptr;
}
QString dialogText(const QWidget& dialog) {
    QStringList parts{dialog.windowTitle()};
    for (const auto* label : dialog.findChildren<QLabel*>()) {
        parts << label->text();
    }
    for (const auto* notes : dialog.findChildren<QPlainTextEdit*>()) {
        parts << notes->toPlainText();
    }
    for (const auto* button : dialog.findChildren<QPushButton*>()) {
        parts << (button->isVisible() ? "[" + button->text() + "]" : QString());
    }
    parts.removeAll(QString());
    return parts.join(QLatin1Char('\n'));
}

class UpdateCheckTest : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const char* key : {"feedURL", "checkAutomatically", "lastCheck"}) {
            QSettings().remove(QStringLiteral("vorda.updates.") + QLatin1String(key));
        }
    }
    void TearDown() override { SetUp(); }
    template <typename T>
    T* pageChild(const char* name) {
        return page_.findChild<T*>(QLatin1String(name));
    }

    FeedServer server_;
    std::vector<QUrl> opened_;
    UpdateController updates_{{"1.2.0", [this](const QUrl& page) {
                                   opened_.push_back(page);
                               }}};
    UpdateSettingsPage page_{updates_};
};

TEST_F(UpdateCheckTest, CheckForUpdatesTellsWhatTheFeedSays) {
    QTcpServer closed;  // a port with nothing listening
    closed.listen(QHostAddress::LocalHost, 0);
    const QString closedURL = QStringLiteral("http://127.0.0.1:%1/").arg(closed.serverPort());
    closed.close();
    const struct {
        const char* name;
        QByteArray status, body;
        QString address;
        QStringList shows;
    } cases[] = {
        {"newer",
         "200 OK",
         newerFeed,
         server_.url(),
         {"Vorda 1.3.0 is available", "You have version 1.2.0.", "Faster board.\nNew Help menu.",
          "[Later]", "[Open Download Page]"}},
        {"same",
         "200 OK",
         sameFeed,
         server_.url(),
         {"You're up to date\nVorda 1.2.0 is the newest version.\n[OK]"}},
        {"malformed",
         "200 OK",
         R"({"releases": [)",
         server_.url(),
         {"Could not check for updates\nThe update feed is not valid JSON."}},
        {"missing",
         "404 Not Found",
         "gone",
         server_.url(),
         {"The update feed answered with HTTP status 404 (Not Found)."}},
        {"unreachable", "", "", closedURL, {"Could not reach the update feed: Connection refused"}},
        {"unset",
         "",
         "",
         "",
         {"No update feed is set. Enter its address under Settings \u203a Updates."}},
    };
    QMenuBar bar;
    const QMenu* help = installHelpMenu(&bar, updates_);
    EXPECT_EQ(apptest::menuLines(*help),
              (std::vector<std::string>{"About Vorda", "-", "Check for Updates..."}));
    QAction* check = apptest::findEntry(*help, QStringLiteral("Check for Updates..."));
    auto* checkNow = pageChild<QPushButton>("checkNow");
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        if (each.address.isEmpty() && !buildinfo::builtInFeedURL().isEmpty()) {
            continue;  // this build names a feed of its own; never fetch it here
        }
        server_.answer(each.status, each.body);
        pageChild<QLineEdit>("feedURL")->setText(each.address);
        if (std::string_view(each.name) == "same") {
            QTest::mouseClick(checkNow, Qt::LeftButton);
        } else {
            check->trigger();
        }
        EXPECT_EQ(std::pair(check->isEnabled(), checkNow->isEnabled()),
                  std::pair(each.address.isEmpty(), each.address.isEmpty()));
        ASSERT_TRUE(QTest::qWaitFor([] { return shownDialog() != nullptr; }, 10000));
        const QPointer<SheetDialog> dialog = shownDialog();
        EXPECT_TRUE(check->isEnabled() && checkNow->isEnabled());
        const QString text = dialogText(*dialog);
        for (const QString& expected : each.shows) {
            EXPECT_TRUE(text.contains(expected)) << text.toStdString();
        }
        EXPECT_FALSE(text.contains(QStringLiteral("Unfinished.")));  // pre-releases stay out
        if (std::string_view(each.name) == "newer") {
            dialog->resize(560, 420);
            const QString folder = QStringLiteral(VORDA_TEST_OUTPUT_DIR "/screenshots");
            QDir().mkpath(folder);
            EXPECT_TRUE(dialog->grab().save(folder + "/update-available.png", "PNG"));
            for (auto* button : dialog->findChildren<QPushButton*>()) {
                if (button->text() == QStringLiteral("Open Download Page")) {
                    QTest::mouseClick(button, Qt::LeftButton);
                }
            }
            EXPECT_EQ(opened_, std::vector<QUrl>{QUrl("https://example.org/vorda/1.3.0")});
        }
        delete dialog.data();
    }
    EXPECT_EQ(server_.requests, 4);
    EXPECT_EQ(opened_.size(), 1U);
}

TEST_F(UpdateCheckTest, AutomaticCheckRunsOnceADayOnlyWhenTurnedOnAndSpeaksOnlyOfNews) {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const struct {
        const char* name;
        bool on;
        std::optional<int> hoursSinceLast;
        QByteArray feed;
        int fetches;
    } cases[] = {
        {"off unless turned on", false, std::nullopt, newerFeed, 0},
        {"never ran: due, and tells of the news", true, std::nullopt, newerFeed, 1},
        {"stale: due, quiet when up to date", true, 25, sameFeed, 1},
        {"fresh", true, 1, newerFeed, 0},
    };
    EXPECT_FALSE(pageChild<QCheckBox>("checkAutomatically")->isChecked());
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        pageChild<QCheckBox>("checkAutomatically")->setChecked(each.on);
        pageChild<QLineEdit>("feedURL")->setText(server_.url());
        const QDateTime before =
            each.hoursSinceLast ? now.addSecs(-3600LL * *each.hoursSinceLast) : QDateTime();
        UpdatePreferences::setLastCheck(before);
        server_.answer("200 OK", each.feed);
        const int fetchedBefore = server_.requests;

        EXPECT_EQ(updates_.checkIfDue(now), each.fetches == 1);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !updates_.isChecking(); }, 10000));
        QApplication::processEvents();
        EXPECT_EQ(server_.requests - fetchedBefore, each.fetches);
        EXPECT_EQ(UpdatePreferences::lastCheck(), each.fetches == 1 ? now : before);
        SheetDialog* dialog = shownDialog();
        EXPECT_EQ(dialog != nullptr, each.fetches == 1 && each.feed == newerFeed);
        delete dialog;
    }
}

}  // namespace
}  // namespace vorda
