#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// What stands in a logged line for an agent's key.
inline constexpr std::string_view redactedKey = "[redacted]";

// What stands for an unparsable line that may hold a key.
inline constexpr std::string_view unreadableWithheld = "[unreadable line withheld: it may hold a key]";

// Agent keys must never reach the API log (it is shown on screen and pushed
// to every application). Gives a compact copy of a tool call whose arguments
// carry a "key", with that value replaced; none when there is nothing to hide.
std::optional<std::string> redactedForLog(std::string_view line);

}  // namespace tallywick
