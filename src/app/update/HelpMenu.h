#pragma once

class QMenu;
class QMenuBar;

namespace vorda {

class UpdateController;

/// Appends the "Help" menu to `menuBar`: "About Vorda", a separator and
/// the controller's "Check for Updates...". Every window's menu bar gets
/// one, so the entry is reachable from the launcher and from each
/// repository window alike.
QMenu* installHelpMenu(QMenuBar* menuBar, UpdateController& updates);

}  // namespace vorda
