// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// What stands in a logged line for the value of a member named "key".
inline constexpr std::string_view redactedKey = "[redacted]";

// What stands for a line that is not one well-formed JSON object with
// unique member names: "[unreadable line of N bytes]".
std::string unreadableLine(std::size_t bytes);

// Agent keys must never reach the API log (it is shown on screen and pushed
// to every application). Only what can be read without doubt is logged: a
// single well-formed JSON object whose objects all have unique member names
// (compared after unescaping). Gives a compact copy with the value of every
// member named "key", at any depth, replaced; the unreadable-line text for
// anything else; none when the line can be logged as it is.
std::optional<std::string> redactedForLog(std::string_view line);

}  // namespace tallywick
