// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tallywick {

// What the bridge itself needs to know of an agent's JSON-RPC line, and the
// error lines it writes in the host's place.
struct AgentLine {
    static constexpr int kHostNotRunning = -31000;
    static constexpr int kParseError = -32700;
    static constexpr int kInvalidRequest = -32600;
    static constexpr int kInternalError = -32603;

    // The id, as compact JSON, when the line is a request (an object with a
    // string "method" and an "id"); none for notifications, responses and
    // anything that is not JSON.
    static std::optional<std::string> requestId(std::string_view line);

    // {"jsonrpc":"2.0","id":<id>,"error":{"code":<code>,"message":<message>}}
    static std::string error(std::string_view idJson, int code, std::string_view message);
};

}  // namespace tallywick
