// SPDX-License-Identifier: MIT
#include <tallywick/model/Date.h>

#include <array>
#include <cstring>

namespace tallywick {
namespace {

// Reads exactly `width` ASCII digits at `pos`.
bool digits(std::string_view text, std::size_t pos, std::size_t width, int& out) {
    if (pos + width > text.size()) return false;
    int value = 0;
    for (std::size_t i = pos; i < pos + width; ++i) {
        const char c = text[i];
        if (c < '0' || c > '9') return false;
        value = value * 10 + (c - '0');
    }
    out = value;
    return true;
}

// Days since 1970-01-01 of a valid civil date (the proleptic Gregorian
// calendar's usual era arithmetic); every snapshot entry carries two dates,
// so this stays plain integer work.
long long daysFromCivil(int year, unsigned month, unsigned day) {
    year -= month <= 2;
    const int era = (year >= 0 ? year : year - 399) / 400;
    const unsigned yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return static_cast<long long>(era) * 146097 + static_cast<long long>(dayOfEra) - 719468;
}

bool validDay(int year, int month, int day) {
    static constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12 || day < 1) return false;
    const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
    return day <= lengths[month - 1] + (month == 2 && leap ? 1 : 0);
}

}  // namespace

namespace {

std::optional<Date> parseAnyDate(std::string_view text);

std::optional<Date> parseOwnForm(std::string_view text, RecentDate& recent) {
    if (recent.any && std::memcmp(text.data(), recent.text, 20) == 0) return recent.instant;
    int hour, minute, second;
    if (!recent.any || std::memcmp(text.data(), recent.day, 11) != 0 || !digits(text, 11, 2, hour) ||
        text[13] != ':' || !digits(text, 14, 2, minute) || text[16] != ':' || !digits(text, 17, 2, second) ||
        hour > 23 || minute > 59 || second > 59) {
        auto parsed = parseAnyDate(text);
        if (!parsed) return parsed;
        const auto days = std::chrono::floor<std::chrono::days>(*parsed);
        std::memcpy(recent.day, text.data(), 11);
        recent.daySeconds = std::chrono::duration_cast<std::chrono::seconds>(days.time_since_epoch()).count();
        std::memcpy(recent.text, text.data(), 20);
        recent.instant = *parsed;
        recent.any = true;
        return parsed;
    }
    const Date instant{std::chrono::seconds{recent.daySeconds + hour * 3600LL + minute * 60LL + second}};
    std::memcpy(recent.text, text.data(), 20);
    recent.instant = instant;
    return instant;
}

}  // namespace

std::optional<Date> parseDate(std::string_view text, RecentDate& recent) {
    if (text.size() == 20 && text[19] == 'Z') return parseOwnForm(text, recent);
    return parseAnyDate(text);
}

std::optional<Date> parseDate(std::string_view text) {
    return parseAnyDate(text);
}

namespace {

std::optional<Date> parseAnyDate(std::string_view text) {
    // YYYY-MM-DDTHH:MM:SS, then an optional fraction, then Z or +HH:MM / -HH:MM.
    int year, month, day, hour, minute, second;
    if (text.size() < 20 || !digits(text, 0, 4, year) || text[4] != '-' || !digits(text, 5, 2, month) ||
        text[7] != '-' || !digits(text, 8, 2, day) || text[10] != 'T' || !digits(text, 11, 2, hour) ||
        text[13] != ':' || !digits(text, 14, 2, minute) || text[16] != ':' || !digits(text, 17, 2, second)) {
        return std::nullopt;
    }
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;

    std::size_t pos = 19;
    if (text[pos] == '.') {
        const std::size_t start = ++pos;
        while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') ++pos;
        if (pos == start) return std::nullopt;
    }
    int offsetSeconds = 0;
    if (pos < text.size() && text[pos] == 'Z') {
        ++pos;
    } else if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) {
        int offsetHour, offsetMinute;
        if (!digits(text, pos + 1, 2, offsetHour) || pos + 3 >= text.size() || text[pos + 3] != ':' ||
            !digits(text, pos + 4, 2, offsetMinute) || offsetHour > 23 || offsetMinute > 59) {
            return std::nullopt;
        }
        offsetSeconds = (offsetHour * 3600 + offsetMinute * 60) * (text[pos] == '-' ? -1 : 1);
        pos += 6;
    } else {
        return std::nullopt;
    }
    if (pos != text.size()) return std::nullopt;

    if (!validDay(year, month, day)) return std::nullopt;
    const long long seconds =
        daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day)) * 86400LL +
        hour * 3600LL + minute * 60LL + second - offsetSeconds;
    const Date instant{std::chrono::seconds{seconds}};
    // An offset can carry the instant out of the years we can write back;
    // a date that reads must always write.
    constexpr Date earliest{std::chrono::sys_days{std::chrono::year{0} / 1 / 1}};
    constexpr Date latest{std::chrono::sys_days{std::chrono::year{10000} / 1 / 1} - std::chrono::seconds{1}};
    if (instant < earliest || instant > latest) return std::nullopt;
    return instant;
}

}  // namespace

std::optional<std::string> formatDate(Date date) {
    const auto days = std::chrono::floor<std::chrono::days>(date);
    const std::chrono::year_month_day ymd{days};
    const int year = static_cast<int>(ymd.year());
    if (!ymd.ok() || year < 0 || year > 9999) return std::nullopt;
    const std::chrono::hh_mm_ss time{date - days};

    std::array<char, 20> out{};
    auto put = [&out](std::size_t pos, unsigned value, std::size_t width) {
        for (std::size_t i = width; i-- > 0;) {
            out[pos + i] = static_cast<char>('0' + value % 10);
            value /= 10;
        }
    };
    put(0, static_cast<unsigned>(year), 4);
    out[4] = '-';
    put(5, static_cast<unsigned>(ymd.month()), 2);
    out[7] = '-';
    put(8, static_cast<unsigned>(ymd.day()), 2);
    out[10] = 'T';
    put(11, static_cast<unsigned>(time.hours().count()), 2);
    out[13] = ':';
    put(14, static_cast<unsigned>(time.minutes().count()), 2);
    out[16] = ':';
    put(17, static_cast<unsigned>(time.seconds().count()), 2);
    out[19] = 'Z';
    return std::string(out.data(), out.size());
}

}  // namespace tallywick
