// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// An instant to the whole second, in UTC. The wire carries nothing finer.
using Date = std::chrono::sys_seconds;

// Reads an internet date-time ("2025-03-04T05:06:07Z"). Also accepted, because
// other writers produce them: a fraction of a second (dropped, never rounded up)
// and a numeric offset such as "+01:00" (converted to UTC). Rejected: lower-case
// "t" or "z", a missing zone, leap second 60, years outside 0000-9999.
std::optional<Date> parseDate(std::string_view text);

// The last date of our own form read, and its day: most dates of a snapshot
// share a day with the one before, or equal it (creation and update alike).
struct RecentDate {
    char text[20] = {};
    Date instant{};
    char day[11] = {};  // YYYY-MM-DDT
    long long daySeconds = 0;
    bool any = false;
};
// The same reading, remembering what it read: a date of the remembered day
// costs a compare and its time. One per reader, never shared between threads.
std::optional<Date> parseDate(std::string_view text, RecentDate& recent);

// Writes "YYYY-MM-DDTHH:MM:SSZ"; no text for instants outside years 0000-9999.
std::optional<std::string> formatDate(Date date);

}  // namespace tallywick
