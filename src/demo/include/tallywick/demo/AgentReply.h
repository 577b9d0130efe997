// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// What the demo reads of one line from a bridge: a reply to one of its
// requests or a notification the host pushed. Anything else is `readable` false.
struct AgentReply {
    bool readable = false;
    std::optional<std::int64_t> id;  // our ids are whole numbers; none for a notification
    std::string method;              // of a notification
    std::string uri;                 // params.uri of a notification
    bool hasResult = false;          // a result object, as every success carries
    std::optional<std::int64_t> errorCode;
    std::string errorMessage;   // of a JSON-RPC error, or of a tool's failure
    bool toolFailed = false;    // a tool's result with isError
    std::string toolErrorCode;  // e.g. "notSignedIn"
    std::string accountId;
    std::string displayName;
    std::optional<std::int64_t> balance;
    std::optional<std::size_t> entryCount;
    std::string nextBefore;
    std::string protocolVersion;  // of the handshake's answer

    friend bool operator==(const AgentReply&, const AgentReply&) = default;

    static AgentReply of(std::string_view line);
};

}  // namespace tallywick
