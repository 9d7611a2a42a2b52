#pragma once

class QMenu;
class QMenuBar;

namespace vorda {

class RepoWindowRegistry;

/// Puts the File menu at the front of `menuBar` (on Linux every window has
/// its own menu bar): "Open Repo…" (Ctrl+O), "Open Recent", a divider,
/// "Settings…" (Ctrl+,) and a divider when the registry has a settings
/// opener, "Close Window" (Ctrl+W, closes the menu bar's window) and "Quit" (Ctrl+Q).
/// Returns the menu, whose object name is "fileMenu", so that a caller can
/// add entries to it.
QMenu* installFileMenu(QMenuBar* menuBar, RepoWindowRegistry& registry);

}  // namespace vorda
