// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include <tallywick/model/Hashing.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// What an agent's client says about itself in its handshake.
struct ClientInfo {
    std::string name;
    std::optional<std::string> version;
    std::optional<std::string> title;

    // The title when there is one (even an empty one), else the name.
    const std::string& displayLabel() const { return title ? *title : name; }

    friend bool operator==(const ClientInfo&, const ClientInfo&) = default;
};

template <>
inline constexpr bool isWireCodable<ClientInfo> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::ClientInfo> {
    std::size_t operator()(const tallywick::ClientInfo& v) const {
        return tallywick::hashFields(v.name, v.version, v.title);
    }
};
