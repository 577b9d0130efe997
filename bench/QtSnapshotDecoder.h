// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>

#include <tallywick/core.h>

namespace tallywick::bench {

// The comparison point: a control response read with Qt's QJsonDocument into
// our own records, as strictly as Qt lets one: exact JSON types, required keys
// present and not null, exactly one case key, integers kept exact over the
// whole 64-bit range, dates with a zone. What Qt cannot see once it has
// parsed is not checked: it keeps the last of duplicate keys, and it stores
// 1.0 or 1e3 as the integers 1 and 1000.
std::optional<ControlResponse> decodeWithQt(std::string_view text);

}  // namespace tallywick::bench
