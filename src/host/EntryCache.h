#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "Outcome.h"

namespace tallywick {

class LedgerStore;
struct LedgerEntry;

// Every ledger entry already encoded, newest first. A snapshot then costs a copy of bytes instead of
// reading and encoding the whole ledger again; after a change only the
// changed account's ledger is read and encoded anew. Host thread only.
class EntryCache {
public:
    // Holds nothing until reloadAll().
    explicit EntryCache(const LedgerStore& store);

    // A Failure when the ledger could not be read.
    Outcome<std::monostate> reloadAll();
    // After any change to this account's ledger, its deletion included. What
    // cannot be read leaves what is held as it was.
    Outcome<std::monostate> reloadAccount(const std::string& accountId);
    // The cheap forms for the commonest changes: one entry written or removed.
    void put(const LedgerEntry& entry);
    void remove(const std::string& entryId);

    // The account's balance as the store keeps it (the one rule), held to the
    // 64-bit range; 0 for an unknown account.
    std::int64_t balance(const std::string& accountId) const;
    // Appends the members of the entries array, newest first, comma separated.
    void appendEntries(std::string& out) const;
    std::size_t size() const { return encoded_.size(); }
    std::size_t bytes() const { return bytes_; }

private:
    void forget(const std::string& accountId);
    void erase(std::int64_t number);

    const LedgerStore& store_;
    struct Encoded {
        std::string accountId;
        std::string json;
    };
    // Entry number (the identifier's digits) to its encoded form; descending is newest first.
    std::map<std::int64_t, Encoded, std::greater<>> encoded_;
    struct Ledger {
        std::set<std::int64_t> entries;
    };
    std::unordered_map<std::string, Ledger> ledgers_;
    std::size_t bytes_ = 0;
};

}  // namespace tallywick
