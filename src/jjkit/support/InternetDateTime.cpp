#include "jjkit/support/InternetDateTime.h"

#include <cctype>

namespace vorda {
namespace {

// Reads `width` decimal digits at `offset`.
std::optional<int> digits(std::string_view text, std::size_t offset, std::size_t width) {
    if (offset + width > text.size()) {
        return std::nullopt;
    }
    int value = 0;
    for (std::size_t index = offset; index < offset + width; ++index) {
        if (std::isdigit(static_cast<unsigned char>(text[index])) == 0) {
            return std::nullopt;
        }
        value = value * 10 + (text[index] - '0');
    }
    return value;
}

bool charAt(std::string_view text, std::size_t offset, char expected) {
    return offset < text.size() && text[offset] == expected;
}

}  // namespace

std::optional<std::chrono::sys_seconds> parseInternetDateTime(std::string_view text) {
    // YYYY-MM-DDTHH:MM:SS then Z or ±HH:MM
    const auto year = digits(text, 0, 4);
    const auto month = digits(text, 5, 2);
    const auto day = digits(text, 8, 2);
    const auto hour = digits(text, 11, 2);
    const auto minute = digits(text, 14, 2);
    const auto second = digits(text, 17, 2);
    if (!year || !month || !day || !hour || !minute || !second || !charAt(text, 4, '-') ||
        !charAt(text, 7, '-') || !(charAt(text, 10, 'T') || charAt(text, 10, 't')) ||
        !charAt(text, 13, ':') || !charAt(text, 16, ':')) {
        return std::nullopt;
    }
    if (*hour > 23 || *minute > 59 || *second > 59) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) {
        return std::nullopt;
    }
    std::chrono::seconds offset{0};
    const std::string_view zone = text.substr(19);
    if (zone == "Z" || zone == "z") {
        offset = std::chrono::seconds{0};
    } else if (zone.size() == 6 && (zone[0] == '+' || zone[0] == '-') && zone[3] == ':') {
        const auto offsetHours = digits(zone, 1, 2);
        const auto offsetMinutes = digits(zone, 4, 2);
        if (!offsetHours || !offsetMinutes || *offsetHours > 23 || *offsetMinutes > 59) {
            return std::nullopt;
        }
        offset = std::chrono::hours{*offsetHours} + std::chrono::minutes{*offsetMinutes};
        if (zone[0] == '-') {
            offset = -offset;
        }
    } else {
        return std::nullopt;
    }
    const std::chrono::sys_seconds local = std::chrono::sys_days(date) + std::chrono::hours{*hour} +
                                           std::chrono::minutes{*minute} +
                                           std::chrono::seconds{*second};
    return local - offset;
}

}  // namespace vorda
