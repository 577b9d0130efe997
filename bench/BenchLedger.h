// SPDX-License-Identifier: MIT
#pragma once
#include <cstdint>
#include <string>

#include <sqlite3.h>

namespace tallywick::bench {

// The ledger the host and application benchmarks measure against, unless
// told another size.
constexpr int accountCount = 100;
constexpr int entryCount = 100'000;

// Runs SQL, printing SQLite's complaint; says whether it ran.
bool exec(sqlite3* db, const char* sql);

// Fills a new database at `path`: the accounts through the store itself,
// then the entries in one bulk transaction (one commit each would take
// minutes and measures nothing here).
bool populateLedger(const std::string& path, int entries = entryCount);

// Appends `count` credits of one point to an account of a closed database in
// one transaction, its sequence numbers continued.
bool appendCredits(const std::string& path, std::int64_t account, int count);

}  // namespace tallywick::bench
