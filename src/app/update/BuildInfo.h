#pragma once

#include <QString>

/// What the build fixed: the version of this program and the address of the
/// release feed it reads (`-DVORDA_UPDATE_FEED_URL=...` at configure time).
namespace vorda::buildinfo {

/// The project's version, e.g. "0.1.0".
QString applicationVersion();

/// The release feed's built-in address; empty when the build set none.
QString builtInFeedURL();

}  // namespace vorda::buildinfo
