#pragma once

#include <QString>
#include <QStringList>

class QWidget;
class QWindow;

namespace vorda::launchlog {

/// Writes "[launcher] " and `text` as one line to the process-wide diagnostic
/// log (standard error unless a test captures it).
void write(const QString& text);

/// How a window is named in the log lines: its class, its address and, when
/// it has one, its object name, e.g. `LauncherWindow(0x55d0c3a0, launcher)`.
/// "nil" for no window.
QString describe(const QWidget* window);
QString describe(const QWindow* window);

/// `true` or `false`, as the log lines print a flag.
QString flag(bool value);

/// A list as the log lines print it: `["a", "b"]`.
QString list(const QStringList& items);

}  // namespace vorda::launchlog
