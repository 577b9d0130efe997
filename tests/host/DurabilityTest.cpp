// SPDX-License-Identifier: MIT
// A host killed at any moment loses no answered change and leaves no
// half-written one: a writer commits entries as fast as it can while the
// host is killed with SIGKILL at a random moment, round after round.
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <thread>

#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

int rounds() {
    const char* text = std::getenv("TALLYWICK_DURABILITY_ROUNDS");
    return text ? std::max(1, std::atoi(text)) : 12;
}

using Durability = HostFixture;

TEST_F(Durability, EveryAnsweredEntrySurvivesSigkillAndNoOtherIsHalfThere) {
    std::string accountId;
    {
        auto scout = agent();
        ASSERT_TRUE(scout->send(initializeLine("writer")));
        auto state = control()->snapshot();
        ASSERT_TRUE(state && state->accounts.size() == 1);
        accountId = state->accounts[0].id;
    }
    std::map<std::string, std::int64_t> answered;  // memo -> amount
    std::map<std::string, std::int64_t> unanswered;
    std::mt19937 random(20261122);
    int totalAnswered = 0;

    for (int round = 0; round < rounds(); ++round) {
        const auto delay = std::chrono::milliseconds(std::uniform_int_distribution<int>(5, 250)(random));
        std::thread killer([&, delay] {
            std::this_thread::sleep_for(delay);
            host_->kill(SIGKILL);
        });
        {
            ControlSession app(host_->socketPath());
            for (int i = 0;; ++i) {
                const std::string memo = "round " + std::to_string(round) + " entry " + std::to_string(i);
                const std::int64_t amount = round * 1'000'000 + i + 1;
                const auto answer = app.change(ControlRequest::createEntry({.accountId = accountId,
                                                                            .kind = TransactionKind::credit,
                                                                            .amount = amount,
                                                                            .memo = memo}));
                if (answer != "ok") {
                    ASSERT_EQ(answer, "no answer");
                    unanswered[memo] = amount;
                    break;
                }
                answered[memo] = amount;
                ++totalAnswered;
            }
        }
        killer.join();
        ASSERT_TRUE(host_->start()) << host_->stderrText();

        auto state = control()->snapshot();
        ASSERT_TRUE(state);
        std::map<std::string, const LedgerEntry*> stored;
        std::set<std::int64_t> sequences;
        std::int64_t sum = 0;
        for (const auto& entry : state->entries) {
            stored[entry.memo] = &entry;
            EXPECT_TRUE(sequences.insert(entry.sequence).second) << "sequence used twice: " << entry.sequence;
            sum += entry.signedAmount();
            if (entry.memo == "Opening balance") continue;
            // Whatever is there was sent exactly so: nothing torn, nothing invented.
            const auto& sentIn = answered.contains(entry.memo) ? answered : unanswered;
            const auto sent = sentIn.find(entry.memo);
            ASSERT_NE(sent, sentIn.end()) << entry.memo;
            EXPECT_EQ(entry.amount, sent->second) << entry.memo;
            EXPECT_EQ(entry.kind, TransactionKind::credit);
            EXPECT_EQ(entry.accountId, accountId);
        }
        for (const auto& [memo, amount] : answered) EXPECT_TRUE(stored.contains(memo)) << "lost: " << memo;
        ASSERT_EQ(state->accounts.size(), 1u);
        EXPECT_EQ(state->accounts[0].balance, sum);
        if (HasFailure()) break;
    }
    EXPECT_GT(totalAnswered, rounds());  // the host was really writing when killed
}

}  // namespace
}  // namespace tallywick::testing
