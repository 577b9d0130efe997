// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <string>
#include <string_view>

#include <simdjson.h>

namespace tallywick {

// A JSON-RPC error object; `data` is JSON text when present.
struct McpError {
    int code = 0;
    std::string message;
    std::optional<std::string> data{};

    static constexpr int parseError = -32700;
    static constexpr int invalidRequest = -32600;
    static constexpr int methodNotFound = -32601;
    static constexpr int invalidParams = -32602;
    static constexpr int internalError = -32603;
    static constexpr int resourceNotFound = -32002;

    static McpError params(std::string_view why) {
        return {invalidParams, "Invalid params: " + std::string(why)};
    }

    friend bool operator==(const McpError&, const McpError&) = default;
};

// One agent line, read as far as the JSON-RPC envelope goes. It is a view:
// `params` lives in the parser that read the line.
struct McpMessage {
    enum class Kind {
        request,       // has a method and an id: answered
        notification,  // has a method and no id: never answered
        response,      // the client answering us: never answered
        invalid,       // answered with `error`
    };
    Kind kind = Kind::invalid;
    std::optional<std::string> method;
    // The id as the client wrote it, to be echoed byte for byte; "null" when
    // there is none that may be echoed.
    std::string id = "null";
    std::optional<simdjson::dom::element> params;  // an object; absent when missing or null
    std::optional<McpError> error;
};

// Reads one line strictly: exact JSON, an object, no repeated envelope member.
McpMessage readMcpMessage(simdjson::dom::parser& parser, const simdjson::padded_string& line);

// The compact lines that answer a request; `id` and `result` are JSON texts.
std::string mcpResultLine(std::string_view id, std::string_view result);
std::string mcpErrorLine(std::string_view id, const McpError& error);

}  // namespace tallywick
