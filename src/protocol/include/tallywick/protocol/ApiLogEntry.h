// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include <tallywick/model/Date.h>
#include <tallywick/model/Hashing.h>
#include <tallywick/model/WireCodable.h>
#include <tallywick/protocol/Direction.h>

namespace tallywick {

// One agent message as the host logged it.
struct ApiLogEntry {
    std::string id;
    std::string connectionId;
    std::optional<std::string> accountId;
    std::optional<std::string> clientLabel;
    Direction direction;
    std::optional<std::string> method;
    std::string payload;
    Date timestamp;

    friend bool operator==(const ApiLogEntry&, const ApiLogEntry&) = default;
};

template <>
inline constexpr bool isWireCodable<ApiLogEntry> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::ApiLogEntry> {
    std::size_t operator()(const tallywick::ApiLogEntry& v) const {
        return tallywick::hashFields(v.id, v.connectionId, v.accountId, v.clientLabel, v.direction, v.method,
                                     v.payload, v.timestamp);
    }
};
