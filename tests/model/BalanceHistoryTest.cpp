// SPDX-License-Identifier: MIT
// Thinning a long balance history to a chart's width. What the points are
// is tested through the window against a real host (tests/ui/RecordsTest).
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include <tallywick/model/BalanceHistory.h>

namespace tallywick {

// Failures name the points, not their bytes.
void PrintTo(const BalanceHistory::Sample& sample, std::ostream* out) {
    *out << "{" << sample.position << ", " << sample.balance << "}";
}

namespace {

using namespace std::chrono_literals;

LedgerEntry entry(TransactionKind kind, std::int64_t amount, Date at, std::int64_t sequence) {
    return {.id = "E" + std::to_string(sequence),
            .accountId = "A1",
            .kind = kind,
            .flag = LedgerFlag::none,
            .amount = amount,
            .memo = {},
            .createdAt = at,
            .updatedAt = at,
            .sequence = sequence};
}

bool hasBalance(const std::vector<BalanceHistory::Sample>& samples, std::int64_t balance) {
    return std::any_of(samples.begin(), samples.end(),
                       [&](const BalanceHistory::Sample& s) { return s.balance == balance; });
}

// 10,000 entries a second apart, each a credit of one but for a dip and a
// peak of one second each: on 100 columns both stay, the ends are the first
// and last balances, and no more than four points a column are left.
TEST(BalanceHistoryTest, DownsamplingKeepsSpikesAndEndsWithinFourPointsAColumn) {
    const Date start{1750000000s};
    std::vector<LedgerEntry> newestFirst;
    for (std::int64_t i = 0; i < 10'000; ++i) {
        TransactionKind kind = TransactionKind::credit;
        std::int64_t amount = 1;
        if (i == 3'001 || i == 7'002) kind = TransactionKind::debit;
        if (i == 3'001 || i == 3'002 || i == 7'001 || i == 7'002) amount = 1'000'000;
        newestFirst.push_back(entry(kind, amount, start + std::chrono::seconds(i), i + 1));
    }
    std::reverse(newestFirst.begin(), newestFirst.end());
    const BalanceHistory history(newestFirst);
    ASSERT_EQ(history.points().size(), 10'000u);
    EXPECT_EQ(history.points().back().balance, 9'996);
    EXPECT_EQ(history.lowest(), 3'001 - 1'000'000);
    EXPECT_EQ(history.highest(), 6'999 + 1'000'000);

    const auto samples = history.downsampled(100);
    EXPECT_LE(samples.size(), 400u);
    EXPECT_GT(samples.size(), 100u);
    EXPECT_EQ(samples.front(), (BalanceHistory::Sample{0.0, 1}));
    EXPECT_EQ(samples.back(), (BalanceHistory::Sample{1.0, 9'996}));
    EXPECT_TRUE(hasBalance(samples, history.lowest()));
    EXPECT_TRUE(hasBalance(samples, history.highest()));
    EXPECT_TRUE(std::is_sorted(samples.begin(), samples.end(),
                               [](const auto& a, const auto& b) { return a.position < b.position; }));

    // Entries of one second, listed in any order, go by their sequence and
    // are spread along the axis in that order; a lone one sits at the end.
    const std::vector<LedgerEntry> sameSecond{entry(TransactionKind::debit, 5, start, 3),
                                              entry(TransactionKind::credit, 20, start, 1),
                                              entry(TransactionKind::note, 0, start, 2)};
    EXPECT_EQ(BalanceHistory(sameSecond).downsampled(2),
              (std::vector<BalanceHistory::Sample>{{0.0, 20}, {0.5, 20}, {1.0, 15}}));
    EXPECT_EQ(BalanceHistory({sameSecond[0]}).downsampled(2),
              (std::vector<BalanceHistory::Sample>{{1.0, -5}}));
    EXPECT_TRUE(BalanceHistory(sameSecond).downsampled(0).empty());
}

}  // namespace
}  // namespace tallywick
