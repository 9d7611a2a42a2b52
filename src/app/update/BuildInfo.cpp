#include "app/update/BuildInfo.h"

#include "VordaVersion.h"

// The address comes from the build: only this file is compiled with it, so
// a new feed address rebuilds one file.
#ifndef VORDA_UPDATE_FEED_URL
#error "VORDA_UPDATE_FEED_URL is set by src/app/update/CMakeLists.txt"
#endif

namespace vorda::buildinfo {

QString applicationVersion() {
    return QString::fromLatin1(programVersion);
}

QString builtInFeedURL() {
    return QStringLiteral(VORDA_UPDATE_FEED_URL).trimmed();
}

}  // namespace vorda::buildinfo
