#include "EntryCache.h"

#include <charconv>
#include <limits>

#include <tallywick/TallywickCoding.h>

#include "LedgerStore.h"

namespace tallywick {

namespace {

// The number behind an entry identifier such as "E42".
std::int64_t entryNumber(const std::string& id) {
    std::int64_t number = 0;
    if (id.size() > 1) std::from_chars(id.data() + 1, id.data() + id.size(), number);
    return number;
}

}  // namespace

EntryCache::EntryCache(const LedgerStore& store) : store_(store) {}

Outcome<std::monostate> EntryCache::reloadAll() {
    encoded_.clear();
    ledgers_.clear();
    bytes_ = 0;
    const auto accounts = store_.accounts(LedgerStore::Balances::omitted);
    if (auto* failure = std::get_if<Failure>(&accounts)) return *failure;
    for (const auto& account : std::get<std::vector<Account>>(accounts)) {
        if (auto loaded = reloadAccount(account.id); !succeeded(loaded)) return loaded;
    }
    return std::monostate{};
}

Outcome<std::monostate> EntryCache::reloadAccount(const std::string& accountId) {
    // Read first: what cannot be read leaves what is held as it was.
    auto entries = store_.accountEntries(accountId);
    if (auto* failure = std::get_if<Failure>(&entries)) return *failure;
    auto& list = std::get<std::vector<LedgerEntry>>(entries);
    const auto account = list.empty() ? store_.account(accountId) : Outcome<std::optional<Account>>();
    if (auto* failure = std::get_if<Failure>(&account)) return *failure;
    forget(accountId);
    if (list.empty() && !std::get<std::optional<Account>>(account)) return std::monostate{};  // deleted
    ledgers_[accountId];
    for (const auto& entry : list) put(entry);
    return std::monostate{};
}

void EntryCache::forget(const std::string& accountId) {
    const auto found = ledgers_.find(accountId);
    if (found == ledgers_.end()) return;
    for (const auto number : found->second.entries) {
        if (auto entry = encoded_.find(number); entry != encoded_.end()) {
            bytes_ -= entry->second.json.size();
            encoded_.erase(entry);
        }
    }
    ledgers_.erase(found);
}

void EntryCache::put(const LedgerEntry& entry) {
    auto text = TallywickCoding::encodeToString(entry);
    if (!text) return;  // cannot happen for stored text, which is UTF-8 by construction
    const auto number = entryNumber(entry.id);
    erase(number);
    Ledger& ledger = ledgers_[entry.accountId];
    ledger.entries.insert(number);
    bytes_ += text->size();
    encoded_[number] = {entry.accountId, std::move(*text)};
}

void EntryCache::remove(const std::string& entryId) {
    erase(entryNumber(entryId));
}

void EntryCache::erase(std::int64_t number) {
    const auto found = encoded_.find(number);
    if (found == encoded_.end()) return;
    if (auto ledger = ledgers_.find(found->second.accountId); ledger != ledgers_.end())
        ledger->second.entries.erase(number);
    bytes_ -= found->second.json.size();
    encoded_.erase(found);
}

std::int64_t EntryCache::balance(const std::string& accountId) const {
    return store_.balance(accountId);
}

void EntryCache::appendEntries(std::string& out) const {
    out.reserve(out.size() + bytes_ + encoded_.size());
    bool first = true;
    for (const auto& [number, entry] : encoded_) {
        if (!first) out += ',';
        first = false;
        out += entry.json;
    }
}

}  // namespace tallywick
