// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <tallywick/model/ClientInfo.h>
#include <tallywick/model/ClientInfoField.h>
#include <tallywick/model/Date.h>
#include <tallywick/model/IdentityMode.h>

namespace tallywick {

// One agent's account as the host reports it. Build with designated
// initialisers naming every field (absent client information included), or
// with {} for an empty one.
struct Account {
    std::string id;
    std::string displayName;
    IdentityMode identityMode;
    std::optional<ClientInfo> clientInfo;
    // Absent and present-but-empty are different values.
    std::optional<std::vector<ClientInfoField>> clientInfoFields;
    std::int64_t balance;
    Date createdAt;
    bool isConnected;

    friend bool operator==(const Account&, const Account&) = default;
};

template <>
inline constexpr bool isWireCodable<Account> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::Account> {
    std::size_t operator()(const tallywick::Account& v) const {
        return tallywick::hashFields(v.id, v.displayName, v.identityMode, v.clientInfo, v.clientInfoFields,
                                     v.balance, v.createdAt, v.isConnected);
    }
};
