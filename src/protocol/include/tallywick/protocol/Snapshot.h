// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include <tallywick/model/Account.h>
#include <tallywick/model/LedgerEntry.h>
#include <tallywick/model/WireCodable.h>
#include <tallywick/protocol/ApiLogEntry.h>
#include <tallywick/protocol/LiveConnection.h>
#include <tallywick/protocol/Settings.h>

namespace tallywick {

// The host's whole state at one moment, each list in the host's order.
// Compared by its parts, never as a whole, so it has no equality.
struct Snapshot {
    std::vector<Account> accounts;
    std::vector<LedgerEntry> entries;
    std::vector<LiveConnection> connections;
    Settings settings;
    std::vector<ApiLogEntry> recentApiLog;
    std::string hostVersion;
};

template <>
inline constexpr bool isWireCodable<Snapshot> = true;

// The most recent API log records a snapshot carries: as many as the desk
// keeps, so that a refresh never shrinks its activity list.
inline constexpr std::size_t kSnapshotApiLogSize = 500;

}  // namespace tallywick
