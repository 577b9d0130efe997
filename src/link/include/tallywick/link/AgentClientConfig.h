// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tallywick::AgentClientConfig {

// The server entry an MCP client needs to launch the bridge, as the
// "mcpServers" block most clients read from their configuration file. No
// environment is needed: the bridge finds the host's folder by itself.
std::string mcpServersJson(const std::string& bridgePath);

// The JSON block and the one-line form for clients that add servers with
// `<client> mcp add NAME -- COMMAND`, with a line saying what each is.
std::string instructions(const std::string& bridgePath);

}  // namespace tallywick::AgentClientConfig
