// SPDX-License-Identifier: MIT
#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <tallywick/model/LedgerEntry.h>

#include <tallywick/host/Outcome.h>

namespace tallywick {

class LedgerStore;

// Every ledger entry already encoded, newest first, kept in chunks by entry
// number. A snapshot then sends the chunks' joined texts as they are; a
// change re-joins only the chunk it touched. Host thread only.
class EntryCache {
public:
    using Text = std::shared_ptr<const std::string>;

    // Holds nothing until reloadAll(). Entries whose numbers share a
    // multiple of chunkSize share a chunk.
    explicit EntryCache(const LedgerStore& store, std::int64_t chunkSize = 2048);

    // A Failure when the ledger could not be read.
    Outcome<void> reloadAll();
    // After any change to this account's ledger, its deletion included. What
    // cannot be read leaves what is held as it was.
    Outcome<void> reloadAccount(const std::string& accountId);
    // The cheap forms for the commonest changes: one entry written or removed.
    void put(const LedgerEntry& entry);
    void remove(const std::string& entryId);

    // The account's balance as the store keeps it (the one rule), held to the
    // 64-bit range; 0 for an unknown account.
    std::int64_t balance(const std::string& accountId) const;
    // The members of the entries array, newest first, commas included: the
    // texts to send between the array's brackets.
    std::vector<Text> parts() const;
    std::size_t size() const { return count_; }
    std::size_t bytes() const { return bytes_; }

private:
    struct Encoded {
        std::int64_t number;
        std::string accountId;
        std::string json;
    };
    struct Chunk {
        std::vector<Encoded> entries;  // ascending by number
        mutable Text joined;           // newest first; none until asked for after a change
    };
    void putOldestFirst(const std::vector<LedgerEntry>& newestFirst);
    void insert(Encoded encoded);
    void erase(std::int64_t number);

    const LedgerStore& store_;
    std::int64_t chunkSize_;
    std::map<std::int64_t, Chunk, std::greater<>> chunks_;  // newest first
    std::size_t count_ = 0;
    std::size_t bytes_ = 0;
};

}  // namespace tallywick
