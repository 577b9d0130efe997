// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <tallywick/model/Date.h>

#include <tallywick/host/Outcome.h>

namespace tallywick::LedgerBackups {

// Copies of the database kept in "backups/" beside it, named by the time
// they were made (ledger-20261123T164000Z.sqlite3), private to the user.
inline constexpr int kKept = 7;

std::filesystem::path folderFor(const std::string& databasePath);
std::optional<std::filesystem::path> newest(const std::string& databasePath);

// Whether a day has passed since the newest copy (or there is none).
bool due(const std::string& databasePath, Date now);

// A consistent copy of the database as it stands, made through a connection
// of its own (safe beside the host's), then the oldest beyond seven removed.
// Gives the copy's path, or why there is none.
Result<std::filesystem::path, std::string> make(const std::string& databasePath, Date now);

// Puts the newest copy that passes the integrity check in the database's
// place, the file it replaces (and its log) kept aside, never deleted. The
// caller holds the database's lock. Gives what was done, or why not.
Outcome<std::string> restoreNewest(const std::string& databasePath, Date now);

}  // namespace tallywick::LedgerBackups
