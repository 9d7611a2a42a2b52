// vorda: the desktop application. Opens the repositories named on the
// command line (or the last one used, or the launcher), one window each.
//
// Usage: vorda [--repo PATH | -R PATH | --repo=PATH | PATH…] [--screenshot=FILE]
//
// With --screenshot the first repository window is drawn, saved as a PNG at
// FILE once its board has loaded, and the application quits: this is how a
// machine without a display shows the board.
#include <QApplication>
#include <QMenuBar>
#include <QTimer>
#include <cstdio>

#include "app/start/VordaApplication.h"
#include "app/window/RepoMenuCommands.h"
#include "app/window/RepoWindow.h"
#include "app/window/WindowScreenshot.h"
#include "jjkit/trace/Perf.h"

namespace {

QString screenshotPath(const QStringList& arguments) {
    const QString prefix = QStringLiteral("--screenshot=");
    for (const auto& argument : arguments) {
        if (argument.startsWith(prefix)) {
            return argument.mid(prefix.size());
        }
    }
    return {};
}

}  // namespace

int main(int argc, char** argv) {
    QApplication::setOrganizationName(QStringLiteral("vorda"));
    QApplication::setApplicationName(QStringLiteral("vorda"));
    QApplication::setDesktopFileName(QStringLiteral("vorda"));
    const QApplication app(argc, argv);

    // A traced action ends once the UI has drawn what it caused: twice
    // through the event loop.
    vorda::Perf::setUIFlushScheduler(
        [](std::function<void()> work) { QTimer::singleShot(0, qApp, std::move(work)); });

    const QStringList arguments = QCoreApplication::arguments();
    const QString screenshot = screenshotPath(arguments);
    auto* menus = new vorda::RepoMenuCommands(qApp);
    bool screenshotTaken = false;
    vorda::VordaApplication vorda(
        [menus, screenshot, &screenshotTaken](const QString& path) -> QWidget* {
            auto* window = new vorda::RepoWindow(path, menus, {});
            if (!screenshot.isEmpty() && !screenshotTaken) {
                screenshotTaken = true;
                vorda::saveScreenshotWhenLoaded(window, screenshot, [screenshot](bool saved) {
                    std::fprintf(
                        stderr, saved ? "vorda: board saved to %s\n" : "vorda: could not save %s\n",
                        screenshot.toLocal8Bit().constData());
                    QCoreApplication::exit(saved ? 0 : 1);
                });
            }
            return window;
        },
        [menus](QMenuBar* menuBar) { menus->installMenus(menuBar); });
    if (screenshot.isEmpty() && vorda.forwardToRunningInstance(arguments)) {
        return 0;
    }
    vorda.start(arguments);
    return QApplication::exec();
}
