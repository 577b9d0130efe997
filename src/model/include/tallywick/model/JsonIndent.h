// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// The same JSON laid out for a person to read: one member or element per
// line, two spaces per level, ": " after keys. Keys keep their order and
// strings and numbers their exact text, so what is shown is what was sent.
// None when `json` is not valid JSON (or nests deeper than the parser goes).
std::optional<std::string> indentJson(std::string_view json);

}  // namespace tallywick
