// SPDX-License-Identifier: MIT
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <tallywick/core.h>

#include <tallywick/host/Outcome.h>
#include <tallywick/model/Balance.h>

namespace tallywick {

class Database;

// Everything the host keeps on disk: accounts, their ledgers, agent key
// hashes and the two settings, in one SQLite file (WAL, synchronous=FULL).
// Every change is one transaction and returns only after it has committed.
// Balances are never stored: they are summed from the entries once at open
// and then moved by each committed change, so they cannot disagree with them.
// Not thread-safe: the host uses it from one thread.
class LedgerStore {
public:
    // Opens or creates the database (and its folder), then brings the schema
    // to the current version in one transaction. Gives the reason on failure.
    // A file that holds data is checked first (SQLite's structural check and
    // the tables and indexes its version must have); a damaged one is refused
    // with what is wrong and the newest backup, and nothing is written to it.
    // A file about to be migrated is backed up first.
    static Result<std::unique_ptr<LedgerStore>, std::string> open(const std::string& path);

    // What is wrong with a database file, read without changing it; none
    // when it is whole.
    static Result<void, std::string> checkFile(const std::string& path);
    ~LedgerStore();

    // How many times a host has opened this database, this time included;
    // makes identifiers of things that are not stored (connections, log
    // records) unique for the database's life.
    std::uint64_t runNumber() const { return runNumber_; }

    // An account's balance, from the sums kept in memory: no read. 0 for an
    // unknown account.
    std::int64_t balance(const std::string& accountId) const;

    // Reads fail as a whole: a damaged page is a Failure, never an empty or
    // partial answer.
    Outcome<Settings> settings() const;
    Outcome<Settings> setAllowUnauthenticated(bool allow);
    Outcome<Settings> setStartingPoints(std::int64_t points);  // "Starting points must not be negative"

    // Summing every ledger is the costly part of listing accounts; a caller
    // that keeps the sums itself asks for the accounts alone.
    enum class Balances { summed, omitted };
    // Oldest first. `isConnected` is false: connections are not stored.
    Outcome<std::vector<Account>> accounts(Balances balances = Balances::summed) const;
    // Every entry of every account, newest first.
    Outcome<std::vector<LedgerEntry>> entries() const;
    Outcome<std::optional<Account>> account(const std::string& id) const;
    // One account's whole ledger, newest first; empty for an unknown account.
    Outcome<std::vector<LedgerEntry>> accountEntries(const std::string& accountId) const;
    Outcome<std::optional<LedgerEntry>> entry(const std::string& id) const;

    Outcome<LedgerEntry> createEntry(const NewLedgerEntry& entry, Date now);
    // Keeps the stored entry's account, createdAt and sequence; sets updatedAt to now.
    Outcome<LedgerEntry> updateEntry(const LedgerEntry& entry, Date now);
    // Gives the identifier of the account the entry belonged to.
    Outcome<std::string> deleteEntry(const std::string& id);
    Outcome<Account> renameAccount(const std::string& id, const std::string& displayName);
    // The account and all of its entries.
    Outcome<void> deleteAccount(const std::string& id);

    // A new account for an agent that signed up; opening credit included.
    Outcome<Account> createCredentialAccount(const std::string& displayName, const std::string& keyHash,
                                             Date now);
    // The stored hash of a credential account's key.
    Outcome<std::optional<std::string>> keyHash(const std::string& accountId) const;
    // The account of the client with this name, created (with its opening
    // credit) on first sight; the client information and fields are stored
    // with it each time.
    Outcome<Account> clientInfoAccount(const ClientInfo& info, const std::vector<ClientInfoField>& fields,
                                       Date now);
    // Keeps what the agent last said about itself with its account ("No such account").
    Outcome<void> recordClientInfo(const std::string& accountId, const ClientInfo& info,
                                   const std::vector<ClientInfoField>& fields);

    // One account's entries, newest first, at most `limit`, starting below the
    // entry `before` when given, even when it has been deleted since ("No
    // such entry" when it is another account's).
    struct HistoryPage {
        std::vector<LedgerEntry> entries;
        std::optional<std::string> nextBefore{};  // set when older entries remain

        friend bool operator==(const HistoryPage&, const HistoryPage&) = default;
    };
    Outcome<HistoryPage> history(const std::string& accountId, int limit,
                                 const std::optional<std::string>& before) const;

private:
    explicit LedgerStore(std::unique_ptr<Database> database);

    std::unique_ptr<Database> db_;
    std::uint64_t runNumber_ = 0;
    // Each account's sum, kept by every committed change: no change reads a whole ledger.
    std::unordered_map<std::int64_t, Balance> balances_;
};

}  // namespace tallywick
