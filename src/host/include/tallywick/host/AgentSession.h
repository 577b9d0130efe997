// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <tallywick/core.h>

namespace tallywick {

// What the host knows about one bridge connection: who the agent says it is,
// which account it is bound to, and what it has subscribed to.
struct AgentSession {
    std::string id;  // the live connection's identifier
    Date connectedAt{};
    std::optional<ClientInfo> clientInfo{};
    std::vector<ClientInfoField> clientInfoFields{};  // further details from the handshake
    std::optional<std::string> accountId{};           // the bound account
    bool authenticated = false;                       // bound by sign-up or login
    bool initialized = false;                         // answered "initialize"
    std::string protocolVersion{};                    // the negotiated revision
    std::string logLevel = "info";
    std::set<std::string> subscriptions{};  // resource URIs

    LiveConnection live() const {
        return {.id = id,
                .clientInfo = clientInfo,
                .accountId = accountId,
                .authenticated = authenticated,
                .connectedAt = connectedAt};
    }

    friend bool operator==(const AgentSession&, const AgentSession&) = default;
};

}  // namespace tallywick
