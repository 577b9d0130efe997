// SPDX-License-Identifier: MIT
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <tallywick/core.h>

#include <tallywick/host/AgentService.h>
#include <tallywick/host/AgentSession.h>
#include <tallywick/host/McpFields.h>
#include <tallywick/host/Outcome.h>
#include <tallywick/host/ToolErrorCode.h>

namespace tallywick {

class KeyHasher;
class LedgerStore;

// The tools agents call: signUp, login, getBalance and getHistory. A tool
// that cannot do its work still gives a result, one that carries an error.
class AgentTools {
public:
    AgentTools(LedgerStore& store, const KeyHasher& hasher) : store_(store), hasher_(hasher) {}

    struct ToolAnswer {
        std::string structured;  // the JSON object the agent reads
        bool isError = false;

        friend bool operator==(const ToolAnswer&, const ToolAnswer&) = default;
    };

    // A tool that must hash or verify a key first: the Argon2id work, and
    // what follows once it is done.
    struct Pending {
        std::function<KeyOutcome()> run;
        std::function<ToolAnswer(AgentSession&, const KeyOutcome&, Date, AgentService::Effects&)> finish;
        bool isLogin = false;
        std::optional<std::string> loginAccount{};
    };

    // None for a name that is not one of the tools.
    std::optional<std::variant<ToolAnswer, Pending>> call(std::string_view name, McpFields& arguments,
                                                          AgentSession& session, Date now,
                                                          AgentService::Effects& effects);

    // What getHistory gives, also the text of the history resource.
    Outcome<std::string> history(const Account& account, int limit,
                                 const std::optional<std::string>& before) const;

    // The "tools/call" result that carries a tool's result.
    static std::string callResult(const ToolAnswer& result);
    static ToolAnswer failure(ToolErrorCode code, std::string_view message);

    static constexpr std::size_t minimumKeyLength = 8;
    static constexpr std::size_t maximumKeyLength = 1024;
    static constexpr std::size_t maximumNameLength = 256;

private:
    std::variant<ToolAnswer, Pending> signUp(McpFields& arguments);
    std::variant<ToolAnswer, Pending> login(McpFields& arguments);
    ToolAnswer getBalance(McpFields& arguments, AgentSession& session, Date now,
                          AgentService::Effects& effects);
    ToolAnswer getHistory(McpFields& arguments, AgentSession& session, Date now,
                          AgentService::Effects& effects);

    LedgerStore& store_;
    const KeyHasher& hasher_;
};

}  // namespace tallywick
