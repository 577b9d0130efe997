// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include <tallywick/model/ClientInfo.h>
#include <tallywick/model/Date.h>
#include <tallywick/model/Hashing.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// One agent connection open at the host now.
struct LiveConnection {
    std::string id;
    std::optional<ClientInfo> clientInfo;
    std::optional<std::string> accountId;  // the account the host bound it to, if any
    bool authenticated;
    Date connectedAt;

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
