// SPDX-License-Identifier: MIT
// The host's encoded copy of the ledger must always say exactly what a
// fresh read and encode of the store would.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <random>

#include <tallywick/model/TallywickCoding.h>

#include <tallywick/host/EntryCache.h>
#include <tallywick/host/LedgerStore.h>
#include "OutcomeTesting.h"

namespace tallywick {
namespace {

std::string encodedFresh(const LedgerStore& store) {
    std::string out;
    for (const auto& entry : ok(store.entries())) {
        if (!out.empty()) out += ',';
        out += *TallywickCoding::encodeToString(entry);
    }
    return out;
}

void expectAgrees(const EntryCache& cache, const LedgerStore& store) {
    std::string cached;
    for (const auto& part : cache.parts()) cached += *part;
    EXPECT_EQ(cached, encodedFresh(store));
    for (const auto& account : ok(store.accounts()))
        EXPECT_EQ(cache.balance(account.id), account.balance) << account.id;
}

TEST(EntryCache, FollowsEveryKindOfChangeExactly) {
    const auto folder = std::filesystem::path(::testing::TempDir()) / ("cache-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);
    auto opened = LedgerStore::open((folder / "ledger.sqlite3").string());
    ASSERT_TRUE(opened.has_value());
    auto& store = *opened.value();
    const Date now{std::chrono::seconds(1'750'000'000)};

    std::vector<std::string> accounts;
    for (int i = 0; i < 3; ++i)
        accounts.push_back(store.createCredentialAccount("Agent " + std::to_string(i), "h", now).value().id);
    EntryCache cache(store, 4);  // small chunks, so changes cross chunk bounds
    ok(cache.reloadAll());
    expectAgrees(cache, store);

    // A random walk of creations, updates and deletions, checked after each step.
    std::mt19937 random(7);
    std::vector<LedgerEntry> live;
    for (int step = 0; step < 120; ++step) {
        const int action = live.empty() ? 0 : static_cast<int>(random() % 4);
        if (action <= 1) {
            auto written =
                store.createEntry({.accountId = accounts[random() % 3],
                                   .kind = random() % 2 ? TransactionKind::credit : TransactionKind::debit,
                                   .amount = static_cast<std::int64_t>(random() % 1000),
                                   .memo = "step " + std::to_string(step) + " \"quoted\" ünïcode"},
                                  now);
            ASSERT_TRUE(written.has_value());
            cache.put(written.value());
            live.push_back(written.value());
        } else if (action == 2) {
            LedgerEntry changed = live[random() % live.size()];
            changed.amount += 5;
            changed.kind = TransactionKind::note;
            auto written = store.updateEntry(changed, now + std::chrono::seconds(step));
            ASSERT_TRUE(written.has_value());
            cache.put(written.value());
        } else {
            const auto index = random() % live.size();
            ASSERT_TRUE(store.deleteEntry(live[index].id));
            cache.remove(live[index].id);
            live.erase(live.begin() + static_cast<std::ptrdiff_t>(index));
        }
        expectAgrees(cache, store);
        if (HasFailure()) return;
    }

    // Whole accounts: a new one with its opening credit, a deleted one.
    const auto fresh = store.createCredentialAccount("Late", "h", now).value().id;
    ok(cache.reloadAccount(fresh));
    ASSERT_TRUE(store.deleteAccount(accounts[0]).has_value());
    ok(cache.reloadAccount(accounts[0]));
    expectAgrees(cache, store);
    EXPECT_EQ(cache.balance(accounts[0]), 0);
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace tallywick
