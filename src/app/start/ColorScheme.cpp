#include "app/start/ColorScheme.h"

#include <QApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStyleFactory>

namespace vorda::colorscheme {

std::optional<Scheme> requested(const QString& override, const QString& gtkTheme,
                                const QString& gsettingsOutput) {
    const QString chosen = override.trimmed().toLower();
    if (chosen == QLatin1String("dark")) {
        return Scheme::dark;
    }
    if (chosen == QLatin1String("light")) {
        return Scheme::light;
    }
    if (gtkTheme.trimmed().endsWith(QLatin1String(":dark"), Qt::CaseInsensitive)) {
        return Scheme::dark;
    }
    const QString setting = gsettingsOutput.trimmed();
    if (setting.contains(QLatin1String("prefer-dark"))) {
        return Scheme::dark;
    }
    if (setting.contains(QLatin1String("prefer-light")) ||
        setting.contains(QLatin1String("default"))) {
        return Scheme::light;
    }
    return std::nullopt;
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

QPalette darkPalette() {
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1e, 0x1e, 0x21);
    const QColor text(0xe6, 0xe6, 0xe6);
    const QColor muted(0x8c, 0x8c, 0x92);
    const QColor highlight(0x35, 0x84, 0xe4);
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, muted);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x36, 0x36, 0x3a));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Light, QColor(0x4a, 0x4a, 0x50));
    palette.setColor(QPalette::Midlight, QColor(0x3e, 0x3e, 0x44));
    palette.setColor(QPalette::Mid, QColor(0x5a, 0x5a, 0x60));
    palette.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x78, 0xae, 0xf5));
    palette.setColor(QPalette::LinkVisited, QColor(0xb4, 0x96, 0xf0));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, muted);
    }
    return palette;
}

namespace {

/// GNOME's colour preference; empty elsewhere or when gsettings is slow or
/// missing.
QString gnomeSetting(const QProcessEnvironment& environment) {
    if (!environment.value(QStringLiteral("XDG_CURRENT_DESKTOP"))
             .contains(QLatin1String("GNOME"))) {
        return {};
    }
    QProcess gsettings;
    gsettings.start(QStringLiteral("gsettings"),
                    {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.interface"),
                     QStringLiteral("color-scheme")});
    if (!gsettings.waitForFinished(500)) {
        gsettings.kill();
        gsettings.waitForFinished(100);
        return {};
    }
    return QString::fromUtf8(gsettings.readAllStandardOutput());
}

}  // namespace

void applyDesktopScheme() {
    const auto environment = QProcessEnvironment::systemEnvironment();
    const auto scheme =
        requested(environment.value(QStringLiteral("VORDA_COLOR_SCHEME")),
                  environment.value(QStringLiteral("GTK_THEME")), gnomeSetting(environment));
    if (scheme != Scheme::dark || isDark(QApplication::palette())) {
        return;
    }
    // Fusion draws every control from the palette; other styles may keep
    // light pieces of their own.
    if (auto* fusion = QStyleFactory::create(QStringLiteral("Fusion"))) {
        QApplication::setStyle(fusion);
    }
    QApplication::setPalette(darkPalette());
}

}  // namespace vorda::colorscheme
