// SPDX-License-Identifier: MIT
#include <tallywick/link/AgentClientConfig.h>

#include <cstdio>

namespace tallywick::AgentClientConfig {
namespace {

// A JSON string as a person would paste it: only what JSON requires is escaped.
std::string quoted(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

// The path as one shell word.
std::string shellWord(const std::string& text) {
    if (!text.empty() &&
        text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789@%+=:,./_-") ==
            std::string::npos)
        return text;
    std::string out = "'";
    for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

}  // namespace

std::string mcpServersJson(const std::string& bridgePath) {
    return "{\n"
           "  \"mcpServers\": {\n"
           "    \"tallywick\": {\n"
           "      \"command\": " +
           quoted(bridgePath) +
           ",\n"
           "      \"args\": []\n"
           "    }\n"
           "  }\n"
           "}\n";
}

std::string instructions(const std::string& bridgePath) {
    return "Connect an agent: add this server to your MCP client's configuration\n"
           "(the \"mcpServers\" object of its settings file):\n"
           "\n" +
           mcpServersJson(bridgePath) +
           "\n"
           "or, for clients that add servers from the command line:\n"
           "\n"
           "  <client> mcp add tallywick -- " +
           shellWord(bridgePath) + "\n";
}

}  // namespace tallywick::AgentClientConfig
