// SPDX-License-Identifier: MIT
#include <tallywick/host/AgentBinding.h>

#include <algorithm>

#include <tallywick/host/LedgerStore.h>

namespace tallywick {

Outcome<std::optional<Account>> AgentBinding::readableAccount(AgentSession& session, Date now,
                                                              AgentService::Effects& effects) {
    const auto settings = store_.settings();
    if (!settings) return fail(settings.error());
    const bool allowUnauthenticated = settings->allowUnauthenticated;
    if (session.accountId) {
        // Turning unauthenticated access off also ends the bindings it made.
        if (session.authenticated || allowUnauthenticated) {
            auto account = store_.account(*session.accountId);
            if (!account || *account) return account;
        }
        unbind(session, effects);
        return std::optional<Account>();
    }
    if (allowUnauthenticated && session.clientInfo) return bindByClientInfo(session, now, effects);
    return std::optional<Account>();
}

Outcome<std::optional<Account>> AgentBinding::bindByClientInfo(AgentSession& session, Date now,
                                                               AgentService::Effects& effects) {
    if (!session.clientInfo) return std::optional<Account>();
    // Seen before the call, to tell a new account (a new ledger) from a known one.
    const auto listed = store_.accounts(LedgerStore::Balances::omitted);
    if (!listed) return fail(listed.error());
    const auto& before = *listed;
    auto outcome = store_.clientInfoAccount(*session.clientInfo, session.clientInfoFields, now);
    if (!outcome) return fail(std::move(outcome).error());
    auto* account = &*outcome;
    auto known =
        std::find_if(before.begin(), before.end(), [&](const Account& a) { return a.id == account->id; });
    if (known == before.end()) {
        effects.dataChanged = true;
        effects.changedAccounts.push_back(account->id);
    } else if (known->clientInfo != account->clientInfo ||
               known->clientInfoFields != account->clientInfoFields) {
        effects.dataChanged = true;
    }
    bind(session, account->id, false, effects);
    return std::optional<Account>(std::move(*account));
}

void AgentBinding::recordClientInfo(const AgentSession& session, const Account& account,
                                    AgentService::Effects& effects) {
    if (!session.clientInfo) return;
    if (account.clientInfo == session.clientInfo && account.clientInfoFields == session.clientInfoFields)
        return;
    if (store_.recordClientInfo(account.id, *session.clientInfo, session.clientInfoFields)) {
        effects.dataChanged = true;
    }
}

void AgentBinding::bind(AgentSession& session, const std::string& accountId, bool authenticated,
                        AgentService::Effects& effects) {
    if (session.accountId == accountId && session.authenticated == authenticated) return;
    // Subscriptions belong to the account they were made for.
    if (session.accountId != accountId) session.subscriptions.clear();
    session.accountId = accountId;
    session.authenticated = authenticated;
    effects.connectionsChanged = true;
}

void AgentBinding::unbind(AgentSession& session, AgentService::Effects& effects) {
    if (!session.accountId && !session.authenticated) return;
    session.accountId.reset();
    session.authenticated = false;
    session.subscriptions.clear();
    effects.connectionsChanged = true;
}

}  // namespace tallywick
