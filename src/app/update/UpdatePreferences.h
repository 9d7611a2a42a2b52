#pragma once

#include <QDateTime>
#include <QString>

namespace vorda {

/// The update check's preferences in the user's settings (`QSettings` with
/// the application's organisation and name):
///
/// - "vorda.updates.feedURL": the feed address the user entered; empty means
///   the built-in one.
/// - "vorda.updates.checkAutomatically": whether to check once a day; off
///   unless the user turns it on.
/// - "vorda.updates.lastCheck": when the last automatic check started.
struct UpdatePreferences {
    /// How long an automatic check stays fresh.
    static constexpr qint64 automaticInterval = 24 * 60 * 60;

    static QString feedURLOverride();
    static void setFeedURLOverride(const QString& url);
    /// The user's address if set, else the built-in one; empty if neither.
    static QString effectiveFeedURL();

    static bool checksAutomatically();
    static void setChecksAutomatically(bool on);

    /// Invalid when no automatic check has run yet.
    static QDateTime lastCheck();
    static void setLastCheck(const QDateTime& when);

    /// Whether an automatic check is due at `now`: the preference is on and
    /// the last one is more than a day old, never ran, or lies in the future
    /// (the clock was set back).
    static bool automaticCheckDue(const QDateTime& now);
};

}  // namespace vorda
