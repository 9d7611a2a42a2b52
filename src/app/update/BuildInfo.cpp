#include "app/update/BuildInfo.h"

// Both come from the build: only this file is compiled with them, so a new
// feed address rebuilds one file.
#ifndef VORDA_APP_VERSION
#error "VORDA_APP_VERSION is set by src/app/update/CMakeLists.txt"
#endif
#ifndef VORDA_UPDATE_FEED_URL
#error "VORDA_UPDATE_FEED_URL is set by src/app/update/CMakeLists.txt"
#endif

namespace vorda::buildinfo {

QString applicationVersion() {
    return QStringLiteral(VORDA_APP_VERSION);
}

QString builtInFeedURL() {
    return QStringLiteral(VORDA_UPDATE_FEED_URL).trimmed();
}

}  // namespace vorda::buildinfo
