// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include <tallywick/model.h>

using namespace tallywick;

// Every thread reads and writes at the same time through the shared coder;
// under ThreadSanitizer this is the check that nothing is shared unguarded.
TEST(ConcurrentCodingTest, ThreadsDecodeAndEncodeIndependently) {
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &failures] {
            for (int i = 0; i < 500; ++i) {
                LedgerEntry entry{.id = "E" + std::to_string(i),
                                  .accountId = "A" + std::to_string(t),
                                  .kind = TransactionKind::credit,
                                  .flag = LedgerFlag::none,
                                  .amount = i,
                                  .memo = std::string(static_cast<std::size_t>(i % 40), 'm'),
                                  .createdAt = Date{std::chrono::seconds{i}},
                                  .updatedAt = {},
                                  .sequence = i};
                auto text = TallywickCoding::encodeToString(entry);
                auto back = text ? TallywickCoding::decode<LedgerEntry>(*text) : std::nullopt;
                if (!back || *back != entry) ++failures;
                if (TallywickCoding::decode<LedgerEntry>("{")) ++failures;
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(&TallywickCoding::decoder(), &TallywickCoding::decoder());
}
