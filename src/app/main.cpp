// vorda: the desktop application. Opens the repositories named on the
// command line (or the last one used, or the launcher), one window each.
//
// Usage: vorda [--repo PATH | -R PATH | --repo=PATH | PATH…] [--screenshot=FILE]
//              [--size=WIDTHxHEIGHT] | --help | --version
//
// With --screenshot the first repository window is drawn, saved as a PNG at
// FILE once its board has loaded, and the application quits: this is how a
// machine without a display shows the board. --size sets the size of the
// repository windows (for looking at the board at several sizes).
#include <QApplication>
#include <QIcon>
#include <QMenuBar>
#include <QTimer>
#include <cstdio>
#include <iostream>

#include "app/start/ColorScheme.h"
#include "app/start/InformationOptions.h"
#include "app/start/VordaApplication.h"
#include "app/start/WebEngineSetup.h"
#include "app/window/RepoMenuCommands.h"
#include "app/window/RepoWindow.h"
#include "app/window/WindowScreenshot.h"
#include "jjkit/trace/Perf.h"

namespace {

QString optionValue(const QStringList& arguments, const QString& prefix) {
    for (const auto& argument : arguments) {
        if (argument.startsWith(prefix)) {
            return argument.mid(prefix.size());
        }
    }
    return {};
}

/// "1600x1000" as a size; an invalid size for anything else.
QSize windowSize(const QString& text) {
    const auto parts = text.split(QLatin1Char('x'));
    bool wide = false;
    bool high = false;
    const QSize size =
        parts.size() == 2 ? QSize(parts[0].toInt(&wide), parts[1].toInt(&high)) : QSize();
    return wide && high ? size : QSize();
}

}  // namespace

int main(int argc, char** argv) {
    // --help and --version need no display and must not reach a running
    // instance, so they are answered before the application exists.
    if (const auto status = vorda::information::answer({argv, argv + argc}, std::cout)) {
        return *status;
    }
    QApplication::setOrganizationName(QStringLiteral("vorda"));
    QApplication::setApplicationName(QStringLiteral("vorda"));
    QApplication::setDesktopFileName(QStringLiteral("vorda"));
    vorda::prepareWebEngine();
    const QApplication app(argc, argv);
    vorda::colorscheme::applyDesktopScheme();
    // The icon an installation puts in the desktop's icon theme.
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("vorda")));

    // A traced action ends once the UI has drawn what it caused: twice
    // through the event loop.
    vorda::Perf::setUIFlushScheduler(
        [](std::function<void()> work) { QTimer::singleShot(0, qApp, std::move(work)); });

    const QStringList arguments = QCoreApplication::arguments();
    const QString screenshot = optionValue(arguments, QStringLiteral("--screenshot="));
    const QSize size = windowSize(optionValue(arguments, QStringLiteral("--size=")));
    auto* menus = new vorda::RepoMenuCommands(qApp);
    bool screenshotTaken = false;
    vorda::VordaApplication vorda(
        [menus, screenshot, size, &screenshotTaken](const QString& path) -> QWidget* {
            auto* window = new vorda::RepoWindow(path, menus, {});
            if (size.isValid()) {
                window->resize(size);
            }
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
