#include "BenchLedger.h"

#include <chrono>
#include <cstdio>
#include <variant>

#include "LedgerStore.h"

namespace tallywick::bench {

bool exec(sqlite3* db, const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) == SQLITE_OK) return true;
    std::fprintf(stderr, "sqlite: %s\n", error ? error : "?");
    sqlite3_free(error);
    return false;
}

namespace {

// Runs an insert once for each of `count` rows; `bind` gives row i its values.
template <class Bind>
bool insertRows(sqlite3* db, const char* sql, int count, Bind bind) {
    sqlite3_stmt* insert = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &insert, nullptr) != SQLITE_OK) return false;
    bool ok = true;
    for (int i = 0; ok && i < count; ++i) {
        bind(insert, i);
        ok = sqlite3_step(insert) == SQLITE_DONE;
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    return ok;
}

}  // namespace

bool populateLedger(const std::string& path, int entries) {
    {
        auto opened = LedgerStore::open(path);
        if (!std::holds_alternative<std::unique_ptr<LedgerStore>>(opened)) return false;
        auto& store = *std::get<std::unique_ptr<LedgerStore>>(opened);
        const Date now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        for (int i = 0; i < accountCount; ++i)
            if (!succeeded(store.createCredentialAccount("Agent " + std::to_string(i), "unused", now)))
                return false;
    }
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) return false;
    bool ok =
        exec(db, "BEGIN") &&
        insertRows(
            db,
            "INSERT INTO entries (account_id, kind, flag, amount, memo, created_at, updated_at, sequence)"
            " VALUES (?1, ?2, 'none', ?3, ?4, 1750000000 + ?5, 1750000000 + ?5, ?6)",
            entries, [](sqlite3_stmt* insert, int i) {
                const std::string memo = "Answer " + std::to_string(i) + " / reviewed";
                sqlite3_bind_int(insert, 1, 1 + i % accountCount);
                sqlite3_bind_text(insert, 2, i % 7 == 0 ? "debit" : "credit", -1, SQLITE_STATIC);
                sqlite3_bind_int64(insert, 3, 1 + i % 500);
                sqlite3_bind_text(insert, 4, memo.c_str(), -1, SQLITE_TRANSIENT);
                sqlite3_bind_int(insert, 5, i);
                sqlite3_bind_int(insert, 6, 2 + i / accountCount);  // 1 is each account's opening credit
            });
    ok = ok &&
         exec(db,
              "UPDATE accounts SET next_sequence = 2 + (SELECT count(*) FROM entries e WHERE e.account_id = "
              "accounts.id)") &&
         exec(db, "COMMIT");
    sqlite3_close(db);
    return ok;
}

bool appendCredits(const std::string& path, std::int64_t account, int count) {
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) return false;
    bool ok =
        exec(db, "BEGIN") &&
        insertRows(
            db,
            "INSERT INTO entries (account_id, kind, flag, amount, memo, created_at, updated_at, sequence)"
            " VALUES (?1, 'credit', 'none', 1, 'bulk', 1750000000, 1750000000,"
            " (SELECT next_sequence FROM accounts WHERE id = ?1) + ?2)",
            count, [account](sqlite3_stmt* insert, int i) {
                sqlite3_bind_int64(insert, 1, account);
                sqlite3_bind_int(insert, 2, i);
            });
    const std::string advance = "UPDATE accounts SET next_sequence = next_sequence + " +
                                std::to_string(count) + " WHERE id = " + std::to_string(account);
    ok = ok && exec(db, advance.c_str()) && exec(db, "COMMIT");
    sqlite3_close(db);
    return ok;
}

}  // namespace tallywick::bench
