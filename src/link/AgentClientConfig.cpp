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

std::string opencodeJson(const std::string& bridgePath) {
    return "{\n"
           "  \"$schema\": \"https://opencode.ai/config.json\",\n"
           "  \"mcp\": {\n"
           "    \"tallywick\": {\n"
           "      \"type\": \"local\",\n"
           "      \"command\": [" +
           quoted(bridgePath) +
           "]\n"
           "    }\n"
           "  }\n"
           "}\n";
}

std::vector<CommandLine> commandLines(const std::string& bridgePath) {
    const std::string path = shellWord(bridgePath);
    // Claude Code and Codex take the command after "--"; Gemini CLI and Qwen
    // Code refuse "--" there and take it as the second word.
    return {{"Claude Code", "claude mcp add tallywick -- " + path},
            {"Codex", "codex mcp add tallywick -- " + path},
            {"Gemini CLI", "gemini mcp add tallywick " + path},
            {"Qwen Code", "qwen mcp add tallywick " + path}};
}

std::string instructions(const std::string& bridgePath) {
    std::string text =
        "Connect an agent: add this server to your MCP client's configuration\n"
        "(the \"mcpServers\" object of its settings file):\n"
        "\n" +
        mcpServersJson(bridgePath) +
        "\n"
        "or, for clients that add servers from the command line:\n"
        "\n";
    for (const auto& [client, line] : commandLines(bridgePath)) {
        text += "  ";
        text += client;
        text += ':';
        text.append(13 - client.size(), ' ');
        text += line;
        text += '\n';
    }
    text += "\nopencode reads its servers from opencode.json:\n\n" + opencodeJson(bridgePath);
    return text;
}

}  // namespace tallywick::AgentClientConfig
