// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <string>

#include <tallywick/core.h>

#include <tallywick/host/AgentService.h>
#include <tallywick/host/AgentSession.h>
#include <tallywick/host/Outcome.h>

namespace tallywick {

class LedgerStore;

// Which account a connection speaks for, and the effects of changing that.
class AgentBinding {
public:
    explicit AgentBinding(LedgerStore& store) : store_(store) {}

    // The account the session may read now. Binds it to its client's account
    // when the host allows unauthenticated agents; unbinds it when its account
    // was deleted or when its binding by client name is no longer allowed.
    // A Failure when the ledger could not be read.
    Outcome<std::optional<Account>> readableAccount(AgentSession& session, Date now,
                                                    AgentService::Effects& effects);

    // Binds to the account of the session's client name, created on first sight.
    Outcome<std::optional<Account>> bindByClientInfo(AgentSession& session, Date now,
                                                     AgentService::Effects& effects);

    // Keeps the session's client information with the account when it differs.
    void recordClientInfo(const AgentSession& session, const Account& account,
                          AgentService::Effects& effects);

    static void bind(AgentSession& session, const std::string& accountId, bool authenticated,
                     AgentService::Effects& effects);
    static void unbind(AgentSession& session, AgentService::Effects& effects);

private:
    LedgerStore& store_;
};

}  // namespace tallywick
