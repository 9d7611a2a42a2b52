#include "feature/lanes/DateBucketing.h"

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>

#include <langinfo.h>

namespace vorda {
namespace {

using std::chrono::microseconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using Date = DateBucketing::Date;

// ---------------------------------------------------------------------------
// Timestamp parsing

// Reads a timestamp front to back; every step either consumes what it expects
// or reports failure and leaves the position alone.
class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    std::optional<int> digits(std::size_t width) {
        if (position_ + width > text_.size()) {
            return std::nullopt;
        }
        int value = 0;
        for (std::size_t index = position_; index < position_ + width; ++index) {
            if (!isDigit(text_[index])) {
                return std::nullopt;
            }
            value = value * 10 + (text_[index] - '0');
        }
        position_ += width;
        return value;
    }

    // Consumes the next character if it is one of `accepted`.
    std::optional<char> oneOf(std::string_view accepted) {
        if (position_ < text_.size() && accepted.find(text_[position_]) != std::string_view::npos) {
            return text_[position_++];
        }
        return std::nullopt;
    }

    bool literal(char expected) { return oneOf(std::string_view(&expected, 1)).has_value(); }

    // A run of at least one digit, as a fraction of a second, to the
    // microsecond; further digits are read and dropped.
    std::optional<microseconds> fraction() {
        std::int64_t micros = 0;
        std::int64_t scale = 100000;
        const std::size_t start = position_;
        while (position_ < text_.size() && isDigit(text_[position_])) {
            micros += (text_[position_] - '0') * scale;
            scale /= 10;
            ++position_;
        }
        if (position_ == start) {
            return std::nullopt;
        }
        return microseconds{micros};
    }

    bool atEnd() const { return position_ == text_.size(); }

  private:
    static bool isDigit(char character) {
        return std::isdigit(static_cast<unsigned char>(character)) != 0;
    }

    std::string_view text_;
    std::size_t position_ = 0;
};

// "YYYY-MM-DD" + one of `separators` + "HH:MM:SS", as a UTC instant before
// the offset is applied. Absent for impossible dates and times.
std::optional<sys_seconds> scanDateTime(Scanner& scanner, std::string_view separators) {
    const auto year = scanner.digits(4);
    if (!year || !scanner.literal('-')) {
        return std::nullopt;
    }
    const auto month = scanner.digits(2);
    if (!month || !scanner.literal('-')) {
        return std::nullopt;
    }
    const auto day = scanner.digits(2);
    if (!day || !scanner.oneOf(separators)) {
        return std::nullopt;
    }
    const auto hour = scanner.digits(2);
    if (!hour || !scanner.literal(':')) {
        return std::nullopt;
    }
    const auto minute = scanner.digits(2);
    if (!minute || !scanner.literal(':')) {
        return std::nullopt;
    }
    const auto second = scanner.digits(2);
    if (!second || *hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{*year},
                                           std::chrono::month{static_cast<unsigned>(*month)},
                                           std::chrono::day{static_cast<unsigned>(*day)}};
    if (!date.ok()) {
        return std::nullopt;
    }
    return sys_days{date} + std::chrono::hours{*hour} + std::chrono::minutes{*minute} +
           std::chrono::seconds{*second};
}

// A zone offset: "Z", or a sign, "HH:MM" and, when `allowSeconds`, ":SS".
// The offset is what local time is ahead of UTC.
std::optional<std::chrono::seconds> scanOffset(Scanner& scanner, std::string_view zulu,
                                               bool allowSeconds) {
    if (scanner.oneOf(zulu)) {
        return std::chrono::seconds{0};
    }
    const auto sign = scanner.oneOf("+-");
    if (!sign) {
        return std::nullopt;
    }
    const auto hours = scanner.digits(2);
    if (!hours || !scanner.literal(':')) {
        return std::nullopt;
    }
    const auto minutes = scanner.digits(2);
    if (!minutes || *hours > 23 || *minutes > 59) {
        return std::nullopt;
    }
    std::chrono::seconds offset = std::chrono::hours{*hours} + std::chrono::minutes{*minutes};
    if (allowSeconds && scanner.literal(':')) {
        const auto seconds = scanner.digits(2);
        if (!seconds || *seconds > 59) {
            return std::nullopt;
        }
        offset += std::chrono::seconds{*seconds};
    }
    return *sign == '-' ? -offset : offset;
}

// RFC 3339 internet date-time, with or without fractional seconds.
std::optional<Date> parseInternetDateTime(std::string_view text) {
    Scanner scanner(text);
    const auto local = scanDateTime(scanner, "Tt");
    if (!local) {
        return std::nullopt;
    }
    microseconds fraction{0};
    if (scanner.literal('.')) {
        const auto digits = scanner.fraction();
        if (!digits) {
            return std::nullopt;
        }
        fraction = *digits;
    }
    const auto offset = scanOffset(scanner, "Zz", false);
    if (!offset || !scanner.atEnd()) {
        return std::nullopt;
    }
    return Date{*local - *offset} + fraction;
}

// The fixed form "yyyy-MM-dd'T'HH:mm:ssXXXXX": whole seconds, and an offset
// that may carry seconds.
std::optional<Date> parseFixedFormat(std::string_view text) {
    Scanner scanner(text);
    const auto local = scanDateTime(scanner, "T");
    if (!local) {
        return std::nullopt;
    }
    const auto offset = scanOffset(scanner, "Z", true);
    if (!offset || !scanner.atEnd()) {
        return std::nullopt;
    }
    return Date{*local - *offset};
}

// ---------------------------------------------------------------------------
// Local calendar

// An instant as the local calendar sees it.
struct LocalMoment {
    std::tm fields{};
    sys_days civilDay;
    /// Wall-clock time since local midnight, sub-second part included.
    microseconds timeOfDay{0};
};

std::optional<LocalMoment> localMoment(Date date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const std::time_t time = seconds.time_since_epoch().count();
    LocalMoment moment;
    if (localtime_r(&time, &moment.fields) == nullptr) {
        return std::nullopt;
    }
    const auto& fields = moment.fields;
    moment.civilDay = sys_days{std::chrono::year{fields.tm_year + 1900} /
                               std::chrono::month{static_cast<unsigned>(fields.tm_mon + 1)} /
                               std::chrono::day{static_cast<unsigned>(fields.tm_mday)}};
    moment.timeOfDay = std::chrono::hours{fields.tm_hour} + std::chrono::minutes{fields.tm_min} +
                       std::chrono::seconds{fields.tm_sec} + (date - seconds);
    return moment;
}

// Local midnight at the start of `fields`' day, or of its month's first day.
std::optional<Date> startOfDay(std::tm fields, bool firstOfMonth = false) {
    fields.tm_hour = 0;
    fields.tm_min = 0;
    fields.tm_sec = 0;
    fields.tm_isdst = -1;
    if (firstOfMonth) {
        fields.tm_mday = 1;
    }
    const std::time_t time = std::mktime(&fields);
    if (time == static_cast<std::time_t>(-1)) {
        return std::nullopt;
    }
    return Date{std::chrono::seconds{time}};
}

// Whole days from `from` to `to`, negative when `to` comes first.
std::int64_t wholeDays(const LocalMoment& from, const LocalMoment& to) {
    auto days = (to.civilDay - from.civilDay).count();
    if (days > 0 && to.timeOfDay < from.timeOfDay) {
        --days;
    } else if (days < 0 && to.timeOfDay > from.timeOfDay) {
        ++days;
    }
    return days;
}

// The C library's month names for the current locale, read on first use.
const std::array<std::string, 12>& monthNames() {
    static const std::array<std::string, 12> names = [] {
        constexpr std::array<nl_item, 12> items{MON_1, MON_2, MON_3, MON_4,  MON_5,  MON_6,
                                                MON_7, MON_8, MON_9, MON_10, MON_11, MON_12};
        std::array<std::string, 12> read;
        for (std::size_t index = 0; index < items.size(); ++index) {
            read.at(index) = nl_langinfo(items.at(index));
        }
        return read;
    }();
    return names;
}

std::string monthTitle(const std::tm& fields) {
    const auto month = fields.tm_mon >= 0 && fields.tm_mon < 12
                           ? static_cast<std::size_t>(fields.tm_mon)
                           : std::size_t{0};
    return monthNames().at(month) + " " + std::to_string(fields.tm_year + 1900);
}

}  // namespace

Date DateBucketing::now() {
    return std::chrono::floor<microseconds>(std::chrono::system_clock::now());
}

std::optional<Date> DateBucketing::parseTimestamp(std::string_view text) {
    if (auto date = parseInternetDateTime(text)) {
        return date;
    }
    return parseFixedFormat(text);
}

DateBucket DateBucketing::bucket(Date date, Date relativeTo) {
    const auto moment = localMoment(date);
    const auto reference = localMoment(relativeTo);
    if (!moment || !reference) {
        // Beyond what the calendar can place: no day count, so zero days.
        return {"0 days ago", date};
    }
    const Date dayStart = startOfDay(moment->fields).value_or(date);
    if (moment->civilDay == reference->civilDay) {
        return {"Today", dayStart};
    }
    if (moment->civilDay == reference->civilDay - std::chrono::days{1}) {
        return {"Yesterday", dayStart};
    }
    const auto days = std::abs(wholeDays(*moment, *reference));
    if (days == 1) {
        return {"Yesterday", dayStart};
    }
    if (days < 15) {
        return {std::to_string(days) + " days ago", dayStart};
    }
    const auto weeks = days / 7;
    if (weeks > 8) {
        return {monthTitle(moment->fields), startOfDay(moment->fields, true).value_or(dayStart)};
    }
    if (weeks >= 2) {
        return {std::to_string(weeks) + " weeks ago", dayStart};
    }
    // Fifteen whole days already make two whole weeks, so this is only the
    // last resort of the tiers.
    return {"Last week", dayStart};
}

}  // namespace vorda
