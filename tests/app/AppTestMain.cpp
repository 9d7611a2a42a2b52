#include <QApplication>
#include <QByteArray>
#include <QCoreApplication>

#include <gtest/gtest.h>

#include "app/start/WebEngineSetup.h"
#include "support/TestEnvironment.h"

// The application's tests need one QApplication per process. The isolated
// environment comes first: it moves HOME, so the application's settings land
// in the test's own folder.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    vorda::testing::installIsolatedEnvironment();
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", QByteArray("offscreen"));
    }
    qunsetenv("XDG_CONFIG_HOME");
    QCoreApplication::setOrganizationName(QStringLiteral("vorda-tests"));
    QCoreApplication::setApplicationName(QStringLiteral("vorda-tests"));
    vorda::prepareWebEngine();
    const QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
