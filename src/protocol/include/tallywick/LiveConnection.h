// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include <tallywick/ClientInfo.h>
#include <tallywick/Date.h>
#include <tallywick/Hashing.h>
#include <tallywick/WireCodable.h>

namespace tallywick {

// One agent connection open at the host now.
struct LiveConnection {
    std::string id;
    std::optional<ClientInfo> clientInfo;
    std::optional<std::string> accountId;  // the account the host bound it to, if any
    bool authenticated = false;
    Date connectedAt{};

    friend bool operator==(const LiveConnection&, const LiveConnection&) = default;
};

template <>
inline constexpr bool isWireCodable<LiveConnection> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::LiveConnection> {
    std::size_t operator()(const tallywick::LiveConnection& v) const {
        return tallywick::hashFields(v.id, v.clientInfo, v.accountId, v.authenticated, v.connectedAt);
    }
};
