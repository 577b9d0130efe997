// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace tallywick {

// Who one simulated agent is. Agents known by client information each have
// a client of their own; agents that sign up all run in one client program,
// as several agents of one application would, and are told apart by account.
struct AgentPersona {
    std::string label;  // how the log and the account name it
    std::string clientName;
    std::string clientTitle;
    std::string clientVersion;
    bool signsUp = false;

    friend bool operator==(const AgentPersona&, const AgentPersona&) = default;

    // `count` agents, alternating between the two kinds, the first known by client information.
    static std::vector<AgentPersona> cast(int count);
};

}  // namespace tallywick
