// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

// The documented example of every message case, exactly as a peer writes it.
namespace tallywick::testing {

inline constexpr std::string_view kRequestExamples[] = {
    R"({"snapshot":{}})",
    R"({"createEntry":{"_0":{"accountId":"A1","kind":"credit","flag":"bonus","amount":250,"memo":"Good answer"}}})",
    R"({"updateEntry":{"_0":{"id":"E9","accountId":"A1","kind":"debit","flag":"none","amount":40,"memo":"Late reply","createdAt":"2025-03-04T05:06:07Z","updatedAt":"2025-03-04T05:06:07Z","sequence":3}}})",
    R"({"deleteEntry":{"id":"E9"}})",
    R"({"renameAccount":{"id":"A1","displayName":"Scout"}})",
    R"({"deleteAccount":{"id":"A1"}})",
    R"({"setAllowUnauthenticated":{"_0":false}})",
    R"({"setStartingPoints":{"_0":1000}})",
};

inline constexpr std::string_view kResponseExamples[] = {
    R"({"snapshot":{"_0":{"accounts":[],"entries":[],"connections":[],"settings":{"allowUnauthenticated":true,"startingPoints":50000},"recentApiLog":[],"hostVersion":"1.0"}}})",
    R"({"ok":{}})",
    R"({"failure":{"_0":"No such account"}})",
};

inline constexpr std::string_view kEventExamples[] = {
    R"({"apiCall":{"_0":{"id":"L42","connectionId":"C7","direction":"request","method":"tools/call","payload":"{}","timestamp":"2025-03-04T05:06:08Z"}}})",
    R"({"dataChanged":{}})",
    R"({"connectionsChanged":{}})",
};

// A snapshot with something in every list, every optional key present somewhere.
inline constexpr std::string_view kFullSnapshotResponse =
    R"({"snapshot":{"_0":{"accounts":[{"id":"A1","displayName":"Scout","identityMode":"clientInfo",)"
    R"("clientInfo":{"name":"claude-code","version":"2.1","title":"Claude Code"},)"
    R"("clientInfoFields":[{"key":"os","value":"linux"}],"balance":50250,)"
    R"("createdAt":"2025-03-04T05:06:07Z","isConnected":true},{"id":"A2","displayName":"Ünïcødé \/ 名前",)"
    R"("identityMode":"credential","balance":-5,"createdAt":"2025-03-05T00:00:00Z","isConnected":false}],)"
    R"("entries":[{"id":"E2","accountId":"A1","kind":"credit","flag":"bonus","amount":250,"memo":"Good answer",)"
    R"("createdAt":"2025-03-04T05:07:00Z","updatedAt":"2025-03-04T05:08:00Z","sequence":2},)"
    R"({"id":"E1","accountId":"A1","kind":"credit","flag":"none","amount":50000,"memo":"Opening balance",)"
    R"("createdAt":"2025-03-04T05:06:07Z","updatedAt":"2025-03-04T05:06:07Z","sequence":1}],)"
    R"("connections":[{"id":"C7","clientInfo":{"name":"claude-code"},"accountId":"A1","authenticated":true,)"
    R"("connectedAt":"2025-03-04T05:06:07Z"},{"id":"C8","authenticated":false,"connectedAt":"2025-03-04T05:06:09Z"}],)"
    R"("settings":{"allowUnauthenticated":true,"startingPoints":50000},)"
    R"("recentApiLog":[{"id":"L42","connectionId":"C7","accountId":"A1","clientLabel":"Scout","direction":"request",)"
    R"("method":"tools\/call","payload":"{\"jsonrpc\":\"2.0\",\"id\":1}","timestamp":"2025-03-04T05:06:08Z"},)"
    R"({"id":"L43","connectionId":"C7","direction":"response","payload":"{}","timestamp":"2025-03-04T05:06:08Z"}],)"
    R"("hostVersion":"1.0"}}})";

}  // namespace tallywick::testing
