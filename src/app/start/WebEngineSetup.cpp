#include "app/start/WebEngineSetup.h"

#include <QByteArray>
#include <QCoreApplication>

#include <unistd.h>

namespace vorda {

void prepareWebEngine() {
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    if (geteuid() != 0) {
        return;
    }
    QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    for (const char* flag : {"--no-sandbox", "--disable-gpu"}) {
        if (!flags.split(' ').contains(flag)) {
            flags += flags.isEmpty() ? QByteArray(flag) : ' ' + QByteArray(flag);
        }
    }
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags);
}

}  // namespace vorda
