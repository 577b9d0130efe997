// SPDX-License-Identifier: MIT
#include <tallywick/host/EntryCache.h>

#include <algorithm>
#include <charconv>

#include <tallywick/model/TallywickCoding.h>

#include <tallywick/host/LedgerStore.h>

namespace tallywick {

namespace {

// The number behind an entry identifier such as "E42".
std::int64_t entryNumber(const std::string& id) {
    std::int64_t number = 0;
    if (id.size() > 1) std::from_chars(id.data() + 1, id.data() + id.size(), number);
    return number;
}

}  // namespace

EntryCache::EntryCache(const LedgerStore& store, std::int64_t chunkSize)
    : store_(store), chunkSize_(std::max<std::int64_t>(chunkSize, 1)) {}

Outcome<void> EntryCache::reloadAll() {
    auto entries = store_.entries();
    if (!entries) return fail(std::move(entries).error());
    chunks_.clear();
    count_ = bytes_ = 0;
    putOldestFirst(*entries);
    return {};
}

Outcome<void> EntryCache::reloadAccount(const std::string& accountId) {
    // Read first: what cannot be read leaves what is held as it was.
    auto entries = store_.accountEntries(accountId);
    if (!entries) return fail(std::move(entries).error());
    // Whole accounts change rarely (one is made or deleted): a walk is fine.
    for (auto chunk = chunks_.begin(); chunk != chunks_.end();) {
        auto& held = chunk->second.entries;
        const auto kept = std::remove_if(held.begin(), held.end(), [&](const Encoded& e) {
            if (e.accountId != accountId) return false;
            --count_;
            bytes_ -= e.json.size();
            return true;
        });
        if (kept != held.end()) {
            held.erase(kept, held.end());
            chunk->second.joined.reset();
        }
        chunk = held.empty() ? chunks_.erase(chunk) : std::next(chunk);
    }
    putOldestFirst(*entries);
    return {};
}

// The store lists newest first; oldest first, each entry lands at its chunk's end.
void EntryCache::putOldestFirst(const std::vector<LedgerEntry>& newestFirst) {
    for (auto entry = newestFirst.rbegin(); entry != newestFirst.rend(); ++entry) put(*entry);
}

void EntryCache::put(const LedgerEntry& entry) {
    auto text = TallywickCoding::encodeToString(entry);
    if (!text) return;  // cannot happen for stored text, which is UTF-8 by construction
    insert({entryNumber(entry.id), entry.accountId, std::move(*text)});
}

void EntryCache::insert(Encoded encoded) {
    Chunk& chunk = chunks_[encoded.number / chunkSize_];
    chunk.joined.reset();
    auto& held = chunk.entries;
    // New entries have the highest numbers, so this is nearly always the end.
    const auto at = std::lower_bound(held.begin(), held.end(), encoded.number,
                                     [](const Encoded& e, std::int64_t n) { return e.number < n; });
    bytes_ += encoded.json.size();
    if (at != held.end() && at->number == encoded.number) {
        bytes_ -= at->json.size();
        *at = std::move(encoded);
    } else {
        ++count_;
        held.insert(at, std::move(encoded));
    }
}

void EntryCache::remove(const std::string& entryId) {
    erase(entryNumber(entryId));
}

void EntryCache::erase(std::int64_t number) {
    const auto chunk = chunks_.find(number / chunkSize_);
    if (chunk == chunks_.end()) return;
    auto& held = chunk->second.entries;
    const auto at = std::lower_bound(held.begin(), held.end(), number,
                                     [](const Encoded& e, std::int64_t n) { return e.number < n; });
    if (at == held.end() || at->number != number) return;
    --count_;
    bytes_ -= at->json.size();
    held.erase(at);
    chunk->second.joined.reset();
    if (held.empty()) chunks_.erase(chunk);
}

std::int64_t EntryCache::balance(const std::string& accountId) const {
    return store_.balance(accountId);
}

std::vector<EntryCache::Text> EntryCache::parts() const {
    static const Text comma = std::make_shared<const std::string>(",");
    std::vector<Text> out;
    out.reserve(chunks_.size() * 2);
    for (const auto& [index, chunk] : chunks_) {
        if (!chunk.joined) {
            std::size_t size = chunk.entries.size();
            for (const auto& entry : chunk.entries) size += entry.json.size();
            std::string joined;
            joined.reserve(size);
            for (auto entry = chunk.entries.rbegin(); entry != chunk.entries.rend(); ++entry) {
                if (!joined.empty()) joined += ',';
                joined += entry->json;
            }
            chunk.joined = std::make_shared<const std::string>(std::move(joined));
        }
        if (!out.empty()) out.push_back(comma);
        out.push_back(chunk.joined);
    }
    return out;
}

}  // namespace tallywick
