// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <tallywick/demo/AgentPersona.h>

namespace tallywick {

struct AgentReply;

// One agent's side of the conversation, without any I/O: the lines it sends
// and what it makes of the lines that come back. It keeps what a real agent
// would keep between sessions: its account and, when it signed up, its key.
class SimulatedAgent {
public:
    // What one line from the bridge meant.
    struct Heard {
        std::string note;                 // for the log; empty when there is nothing to say
        bool hostMissing = false;         // the bridge could not reach the host
        bool handshakeDone = false;       // the host answered initialize
        bool handshakeFailed = false;     // ... with an error, or with nothing it could mean
        std::vector<std::string> answer;  // lines to send in response
    };

    static constexpr std::int64_t hostNotRunning = -31000;

    explicit SimulatedAgent(AgentPersona persona) : persona_(std::move(persona)) {}

    const AgentPersona& persona() const { return persona_; }
    const std::optional<std::string>& accountId() const { return accountId_; }

    // The handshake on a fresh bridge, then signing up or logging in again.
    std::vector<std::string> openingLines();
    // One request of an agent at work: mostly reads, now and then a ping or a subscription.
    std::string nextRequest(std::mt19937& random);
    Heard hear(std::string_view line);
    // The bridge is gone, and with it the session's replies and subscription.
    void disconnected();

private:
    enum class Call { initialize, signUp, login, getBalance, getHistory, ping, subscribe };

    std::string request(Call call, std::string_view method, const std::string& params);
    std::string toolRequest(Call call, std::string_view tool, const std::string& arguments);
    std::string signUpRequest();
    std::string describe(Call call, const AgentReply& reply, Heard& heard);

    AgentPersona persona_;
    std::int64_t nextId_ = 1;
    std::map<std::int64_t, Call> pending_;
    std::optional<std::string> accountId_;
    std::string key_;  // kept in memory only, as an agent keeps its own secret
    std::string nextBefore_;
    bool joining_ = false;  // a sign-up or login is on its way
    bool subscribed_ = false;
};

}  // namespace tallywick
