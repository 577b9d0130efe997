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

// The newest copy: copies stamped after `now` (made while the clock was
// ahead) count as older than every other.
std::optional<std::filesystem::path> newest(
    const std::string& databasePath,
    Date now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()));

// A copy stamped after `now`, if any: worth a line in the log.
std::optional<std::filesystem::path> stampedInTheFuture(const std::string& databasePath, Date now);

// Whether no copy was made in the 24 hours before `now`; a copy stamped in
// the future never counts as recent.
bool due(const std::string& databasePath, Date now);

struct BackupFailure {
    std::string reason;
    bool noSpace = false;  // the folder's disk has no room for the copy
};

// Removes the oldest copies so that the kept ones and a new one fit, then
// makes a consistent copy of the database as it stands, through a connection
// of its own (safe beside the host's), flushed to the disk. Gives the copy's
// path, or why there is none (the partial copy removed).
Result<std::filesystem::path, BackupFailure> make(const std::string& databasePath, Date now);

// Puts the newest copy that passes the integrity check in the database's
// place: built and checked beside it, flushed, then renamed over it in one
// step, the replaced file (and its log) kept aside under a second name. On
// any failure the live file and its log are as they were and no partial
// file is left. The caller holds the database's lock. Gives what was done
// (which backup, made when), or why not.
Outcome<std::string> restoreNewest(const std::string& databasePath, Date now);

}  // namespace tallywick::LedgerBackups
