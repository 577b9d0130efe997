// SPDX-License-Identifier: MIT
#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tallywick/core.h>

#include <tallywick/host/AgentSession.h>

namespace tallywick {

class KeyHasher;
class LedgerStore;

// What Argon2id work gave: a new key's hash, or whether a key matched.
struct KeyOutcome {
    std::optional<std::string> hash{};
    bool matched = false;
};

// The Model Context Protocol server of one host: takes one JSON-RPC line an
// agent sent over a bridge and says what follows from it. Never throws; a line
// that is not valid JSON-RPC gets the JSON-RPC error it deserves.
// Used from the host's one thread only.
class AgentService {
public:
    AgentService(LedgerStore& store, const KeyHasher& hasher);

    // What the host does after one agent line.
    struct Effects {
        // The line that answers a request (compact JSON, no line terminator);
        // none for a notification or a response.
        std::optional<std::string> reply;
        // How the incoming line is logged.
        Direction direction = Direction::request;
        std::optional<std::string> method;
        // A committed change created an account or changed stored data.
        bool dataChanged = false;
        // The session's client information, binding or authentication changed.
        bool connectionsChanged = false;
        // Accounts whose ledgers changed; their subscribers are told.
        std::vector<std::string> changedAccounts;
        // Set when the line waits for key hashing, which must not run on the
        // host's serial path: the line has no reply yet, the work's finish
        // gives its real effects.
        struct KeyWork;
        std::shared_ptr<KeyWork> keyWork;
    };

    Effects handle(AgentSession& session, std::string_view line, Date now);

    // Does a line's key work in place and gives its final effects: what the
    // host does on a worker and back on its serial path, in one step.
    static Effects finishInPlace(Effects effects, AgentSession& session, Date now);

    // The history resource of an account, and the notification that it changed.
    static std::string historyUri(const std::string& accountId);
    static std::string resourceUpdatedLine(const std::string& uri);

private:
    LedgerStore& store_;
    const KeyHasher& hasher_;
};

struct AgentService::Effects::KeyWork {
    std::function<KeyOutcome()> run;  // on a worker: uses only what it captured
    std::function<Effects(AgentSession&, const KeyOutcome&, Date)> finish;  // back on the serial path
    bool isLogin = false;
    std::optional<std::string> loginAccount;  // an existing account a login tried, for throttling
};

}  // namespace tallywick
