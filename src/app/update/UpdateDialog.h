#pragma once

#include <QString>
#include <functional>

#include "jjkit/update/ReleaseFeed.h"

class QUrl;
class QWidget;

namespace vorda {

class SheetDialog;

/// Opens a release's download page, normally in the user's browser.
using PageOpener = std::function<void(const QUrl& page)>;

/// The dialog that tells what an update check found, window-modal on
/// `parent` (which may be null) and deleted when closed:
///
/// - up to date: "You're up to date" and "Vorda 1.2.0 is the newest version.";
/// - a newer release: its version, its notes in a scrolling box, "Later" and
///   "Open Download Page", which hands the release's address to `openPage`;
/// - a failure: "Could not check for updates" and the reason.
///
/// Nothing is downloaded or installed from here.
SheetDialog* makeUpdateDialog(const UpdateCheckResult& result, const QString& currentVersion,
                              PageOpener openPage, QWidget* parent);

}  // namespace vorda
