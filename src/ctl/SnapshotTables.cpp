// SPDX-License-Identifier: MIT
#include "SnapshotTables.h"

#include "TextTable.h"

#include <tallywick/model/EscapedText.h>

namespace tallywick {

namespace {

std::string date(Date value) {
    return formatDate(value).value_or("?");
}

std::string section(const std::string& title, std::size_t count, const TextTable& table) {
    return title + " (" + std::to_string(count) + ")\n" + (count ? table.render() : std::string()) + "\n";
}

}  // namespace

std::string renderSnapshot(const Snapshot& snapshot) {
    TextTable accounts({"ID", "NAME", "MODE", "BALANCE", "CONNECTED", "CREATED"});
    for (const auto& a : snapshot.accounts)
        accounts.add({a.id, a.displayName, std::string(rawValue(a.identityMode)), std::to_string(a.balance),
                      a.isConnected ? "yes" : "no", date(a.createdAt)});

    TextTable entries({"ID", "ACCOUNT", "SEQ", "KIND", "FLAG", "AMOUNT", "MEMO", "CREATED"});
    for (const auto& e : snapshot.entries) {
        const auto signedAmount = e.signedAmount();
        entries.add({e.id, e.accountId, std::to_string(e.sequence), std::string(rawValue(e.kind)),
                     std::string(rawValue(e.flag)),
                     (signedAmount > 0 ? "+" : "") + std::to_string(signedAmount), e.memo,
                     date(e.createdAt)});
    }

    TextTable connections({"ID", "CLIENT", "ACCOUNT", "AUTHENTICATED", "SINCE"});
    for (const auto& c : snapshot.connections)
        connections.add({c.id, c.clientInfo ? c.clientInfo->displayLabel() : "-", c.accountId.value_or("-"),
                         c.authenticated ? "yes" : "no", date(c.connectedAt)});

    std::string out;
    out += section("Accounts", snapshot.accounts.size(), accounts);
    out += section("Entries", snapshot.entries.size(), entries);
    out += section("Connections", snapshot.connections.size(), connections);
    out += "Settings\n";
    out += "  allow unauthenticated  " + std::string(snapshot.settings.allowUnauthenticated ? "on" : "off") +
           "\n";
    out += "  starting points        " + std::to_string(snapshot.settings.startingPoints) + "\n";
    out += "Host version             " + EscapedText::of(snapshot.hostVersion) + "\n";
    return out;
}

}  // namespace tallywick
