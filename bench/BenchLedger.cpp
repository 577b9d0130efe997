// SPDX-License-Identifier: MIT
#include "BenchLedger.h"

#include <chrono>
#include <cstdio>
#include <variant>

#include <tallywick/host/LedgerStore.h>

namespace tallywick::bench {

bool exec(sqlite3* db, const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) == SQLITE_OK) return true;
    std::fprintf(stderr, "sqlite: %s\n", error ? error : "?");
    sqlite3_free(error);
    return false;
}

namespace {

// In one transaction on the closed database at `path`: an insert into the
// entries with `values` (its VALUES clause) once for each of `count` rows,
// `bind` giving row i its values, then `after` to keep the accounts in step.
template <class Bind>
bool insertEntries(const std::string& path, const char* values, int count, Bind bind,
                   const std::string& after) {
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) return false;
    const std::string sql =
        std::string(
            "INSERT INTO entries (account_id, kind, flag, amount, memo, created_at, updated_at, sequence) ") +
        values;
    sqlite3_stmt* insert = nullptr;
    bool ok = exec(db, "BEGIN") && sqlite3_prepare_v2(db, sql.c_str(), -1, &insert, nullptr) == SQLITE_OK;
    for (int i = 0; ok && i < count; ++i) {
        bind(insert, i);
        ok = sqlite3_step(insert) == SQLITE_DONE;
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    ok = ok && exec(db, after.c_str()) && exec(db, "COMMIT");
    sqlite3_close(db);
    return ok;
}

}  // namespace

bool populateLedger(const std::string& path, int entries) {
    {
        auto opened = LedgerStore::open(path);
        if (!opened.has_value()) return false;
        auto& store = *opened.value();
        const Date now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        for (int i = 0; i < accountCount; ++i)
            if (!(store.createCredentialAccount("Agent " + std::to_string(i), "unused", now))) return false;
    }
    return insertEntries(
        path, "VALUES (?1, ?2, 'none', ?3, ?4, 1750000000 + ?5, 1750000000 + ?5, ?6)", entries,
        [](sqlite3_stmt* insert, int i) {
            const std::string memo = "Answer " + std::to_string(i) + " / reviewed";
            sqlite3_bind_int(insert, 1, 1 + i % accountCount);
            sqlite3_bind_text(insert, 2, i % 7 == 0 ? "debit" : "credit", -1, SQLITE_STATIC);
            sqlite3_bind_int64(insert, 3, 1 + i % 500);
            sqlite3_bind_text(insert, 4, memo.c_str(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_int(insert, 5, i);
            sqlite3_bind_int(insert, 6, 2 + i / accountCount);  // 1 is each account's opening credit
        },
        "UPDATE accounts SET next_sequence = 2 + "
        "(SELECT count(*) FROM entries e WHERE e.account_id = accounts.id)");
}

bool appendCredits(const std::string& path, std::int64_t account, int count) {
    return insertEntries(
        path,
        "VALUES (?1, 'credit', 'none', 1, 'bulk', 1750000000, 1750000000,"
        " (SELECT next_sequence FROM accounts WHERE id = ?1) + ?2)",
        count,
        [account](sqlite3_stmt* insert, int i) {
            sqlite3_bind_int64(insert, 1, account);
            sqlite3_bind_int(insert, 2, i);
        },
        "UPDATE accounts SET next_sequence = next_sequence + " + std::to_string(count) +
            " WHERE id = " + std::to_string(account));
}

}  // namespace tallywick::bench
