// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace tallywick::AgentClientConfig {

// The server entry an MCP client needs to launch the bridge, as the
// "mcpServers" block most clients read from their configuration file. No
// environment is needed: the bridge finds the host's folder by itself.
std::string mcpServersJson(const std::string& bridgePath);

// The same server in opencode's configuration file (opencode.json).
std::string opencodeJson(const std::string& bridgePath);

// The exact line each client that adds servers from the command line takes.
struct CommandLine {
    std::string client;
    std::string line;
};
std::vector<CommandLine> commandLines(const std::string& bridgePath);

// The JSON block, each client's line and opencode's block, with a line
// saying what each is.
std::string instructions(const std::string& bridgePath);

}  // namespace tallywick::AgentClientConfig
