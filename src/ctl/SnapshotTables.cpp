// SPDX-License-Identifier: MIT
#include "SnapshotTables.h"

#include "TextTable.h"

#include <sstream>

#include <tallywick/model/EscapedText.h>
#include <tallywick/model/JsonIndent.h>

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

std::string renderApiLog(const std::vector<ApiLogEntry>& oldestFirst, bool payloads) {
    const std::vector<std::string> header{"TIME", "ID", "AGENT", "DIRECTION", "METHOD", "BYTES"};
    const auto row = [](const ApiLogEntry& e) {
        return std::vector<std::string>{date(e.timestamp),           e.id,
                                        e.clientLabel.value_or("-"), std::string(rawValue(e.direction)),
                                        e.method.value_or("-"),      std::to_string(e.payload.size())};
    };
    if (!payloads) {
        TextTable table(header);
        for (const ApiLogEntry& e : oldestFirst) table.add(row(e));
        return table.render();
    }
    std::string out;
    for (const ApiLogEntry& e : oldestFirst) {
        TextTable line(row(e));
        out += line.render();
        // The payload as sent, laid out when it is JSON; each line escaped as any data text.
        std::istringstream lines(indentJson(e.payload).value_or(e.payload));
        for (std::string text; std::getline(lines, text);) out += "    " + EscapedText::of(text) + "\n";
        out += "\n";
    }
    return out;
}

}  // namespace tallywick
