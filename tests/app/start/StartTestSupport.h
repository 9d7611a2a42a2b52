#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QSettings>
#include <QString>
#include <QWidget>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/launcher/LauncherWindowController.h"
#include "app/start/RecentReposStore.h"
#include "app/start/RepoWindowRegistry.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace vorda::testing {

/// Runs what the event loop has queued, deferred deletions included (a
/// window closed with `Qt::WA_DeleteOnClose` goes away here).
inline void settleEvents() {
    for (int round = 0; round < 3; ++round) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
}

inline QString qpath(const std::filesystem::path& path) {
    return QString::fromStdString(path.string());
}

/// Settings in a private INI file, and the recent list and launcher
/// controller on them.
struct StartEnvironment {
    TempDir folder{"vorda-start-test"};
    QSettings settings{qpath(folder.path() / "settings.ini"), QSettings::IniFormat};
    RecentReposStore recents{settings};
    LauncherWindowController launcher;

    /// A folder that exists, under the private folder.
    QString makeFolder(const std::string& name) const {
        std::filesystem::create_directories(folder.path() / name);
        return qpath(folder.path() / name);
    }
};

/// A window factory that makes plain widgets and remembers which paths it
/// was asked for.
struct RecordingFactory {
    std::shared_ptr<std::vector<QString>> requests = std::make_shared<std::vector<QString>>();

    RepoWindowRegistry::WindowFactory factory() const {
        return [requests = requests](const QString& path) {
            requests->push_back(path);
            auto* window = new QWidget;
            window->setObjectName(QStringLiteral("repoWindow"));
            window->resize(400, 300);
            return window;
        };
    }
};

/// Checks that `log` holds each of `lines`.
inline void expectLogged(const LogCapture& log, std::initializer_list<std::string> lines) {
    for (const std::string& line : lines) {
        EXPECT_TRUE(log.contains(line)) << line << "\nin\n" << log.text();
    }
}

/// The environment with a recording registry on it.
class RegistryTest : public ::testing::Test {
  protected:
    StartEnvironment env_;
    RecordingFactory factory_;
    RepoWindowRegistry registry_{factory_.factory(), env_.recents, env_.launcher, env_.settings};
};

}  // namespace vorda::testing
