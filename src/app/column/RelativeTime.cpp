#include "app/column/RelativeTime.h"

#include <QDateTime>

namespace vorda {

namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr days twoWeeks{14};
constexpr days fiveWeeks{35};

QDateTime localDateTime(std::chrono::sys_seconds date) {
    return QDateTime::fromSecsSinceEpoch(date.time_since_epoch().count()).toLocalTime();
}

}  // namespace

QString relativeTimeText(std::chrono::sys_seconds date, std::chrono::sys_seconds now) {
    const seconds elapsed = now - date;
    if (elapsed < minutes{1}) {
        return QStringLiteral("just now");
    }
    if (elapsed < hours{1}) {
        return QStringLiteral("%1 min ago").arg(std::chrono::floor<minutes>(elapsed).count());
    }
    if (elapsed < days{1}) {
        return QStringLiteral("%1 h ago").arg(std::chrono::floor<hours>(elapsed).count());
    }
    if (elapsed < twoWeeks) {
        const auto count = std::chrono::floor<days>(elapsed).count();
        return count == 1 ? QStringLiteral("1 day ago") : QStringLiteral("%1 days ago").arg(count);
    }
    if (elapsed < fiveWeeks) {
        return QStringLiteral("%1 weeks ago").arg(std::chrono::floor<days>(elapsed).count() / 7);
    }
    // QDate::toString with a format uses the C locale, so month names read
    // the same everywhere.
    return localDateTime(date).date().toString(QStringLiteral("MMM d, yyyy"));
}

QString absoluteTimeText(std::chrono::sys_seconds date) {
    return localDateTime(date).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

std::chrono::sys_seconds currentTime() {
    return std::chrono::floor<seconds>(std::chrono::system_clock::now());
}

}  // namespace vorda
