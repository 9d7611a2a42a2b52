#pragma once

#include <QPalette>
#include <QString>
#include <optional>

/// Light or dark, as the desktop prefers it.
///
/// Qt on Linux takes its palette from the platform theme, and not every
/// theme tells Qt about a dark desktop. Where Qt's palette is light but the
/// desktop asks for dark, the application switches to a dark palette of
/// its own, so cards, chips and lanes (all drawn from the palette) follow.
namespace vorda::colorscheme {

enum class Scheme { light, dark };

/// What the environment asks for, absent when it says nothing:
/// VORDA_COLOR_SCHEME ("dark" or "light") first, then a GTK_THEME ending in
/// ":dark", then the GNOME setting as `gsettings_output` gives it
/// ("'prefer-dark'").
std::optional<Scheme> requested(const QString& override, const QString& gtkTheme,
                                const QString& gsettingsOutput);

/// Whether `palette` is already a dark one.
bool isDark(const QPalette& palette);

/// The dark palette used when the platform gives none.
QPalette darkPalette();

/// Reads the environment (and, on GNOME, asks gsettings briefly) and sets
/// the application's palette when the desktop wants dark and Qt's is
/// light. Call once, before the first window.
void applyDesktopScheme();

}  // namespace vorda::colorscheme
