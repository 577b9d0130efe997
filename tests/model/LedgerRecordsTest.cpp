// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <limits>
#include <unordered_set>

#include <tallywick/model.h>

using namespace tallywick;

namespace {

LedgerEntry entry(TransactionKind kind, LedgerFlag flag, std::int64_t amount) {
    return LedgerEntry{.id = "E1",
                       .accountId = "A1",
                       .kind = kind,
                       .flag = flag,
                       .amount = amount,
                       .memo = "",
                       .createdAt = {},
                       .updatedAt = {},
                       .sequence = 1};
}

Account account() {
    return Account{.id = "A1",
                   .displayName = "Scout",
                   .identityMode = IdentityMode::clientInfo,
                   .clientInfo = ClientInfo{"claude-code", "1.0", std::nullopt},
                   .balance = 5,
                   .createdAt = Date{std::chrono::seconds{1741064767}},
                   .isConnected = true};
}

}  // namespace

TEST(EnumerationTest, RawTextsAreExactAndCaseSensitive) {
    EXPECT_EQ(rawValue(TransactionKind::debit), "debit");
    EXPECT_EQ(rawValue(LedgerFlag::penalty), "penalty");
    EXPECT_EQ(rawValue(IdentityMode::clientInfo), "clientInfo");
    EXPECT_EQ(fromRawValue<IdentityMode>("credential"), IdentityMode::credential);
    EXPECT_EQ(fromRawValue<IdentityMode>("clientinfo"), std::nullopt);
    EXPECT_EQ(fromRawValue<IdentityMode>("CREDENTIAL"), std::nullopt);
    EXPECT_EQ(fromRawValue<TransactionKind>(""), std::nullopt);
    EXPECT_EQ(fromRawValue<LedgerFlag>("none "), std::nullopt);
    for (auto kind : allCases<TransactionKind>()) {
        EXPECT_EQ(fromRawValue<TransactionKind>(rawValue(kind)), kind);
    }
}

TEST(EnumerationTest, CaseListsKeepDeclarationOrder) {
    EXPECT_EQ(allCases<TransactionKind>(),
              (std::array{TransactionKind::credit, TransactionKind::debit, TransactionKind::note}));
    EXPECT_EQ(allCases<LedgerFlag>(), (std::array{LedgerFlag::none, LedgerFlag::bonus, LedgerFlag::penalty}));
}

TEST(LedgerRecordsTest, DisplayLabelPrefersAnyPresentTitle) {
    EXPECT_EQ(ClientInfo{"cli"}.displayLabel(), "cli");
    EXPECT_EQ((ClientInfo{"cli", "2", "Claude"}).displayLabel(), "Claude");
    EXPECT_EQ((ClientInfo{"cli", std::nullopt, ""}).displayLabel(), "");
}

TEST(LedgerRecordsTest, SignedAmountFollowsKindNotFlag) {
    EXPECT_EQ(entry(TransactionKind::debit, LedgerFlag::none, 25).signedAmount(), -25);
    EXPECT_EQ(entry(TransactionKind::credit, LedgerFlag::none, 25).signedAmount(), 25);
    EXPECT_EQ(entry(TransactionKind::note, LedgerFlag::none, 25).signedAmount(), 0);
    EXPECT_EQ(entry(TransactionKind::credit, LedgerFlag::penalty, 25).signedAmount(), 25);
    EXPECT_EQ(entry(TransactionKind::debit, LedgerFlag::penalty, 5).signedAmount(), -5);
}

TEST(LedgerRecordsTest, SignedAmountSurvivesTheExtremes) {
    constexpr auto min = std::numeric_limits<std::int64_t>::min();
    constexpr auto max = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(entry(TransactionKind::debit, LedgerFlag::none, min).signedAmount(), max);
    EXPECT_EQ(entry(TransactionKind::debit, LedgerFlag::none, max).signedAmount(), -max);
    EXPECT_EQ(entry(TransactionKind::credit, LedgerFlag::none, min).signedAmount(), min);
    EXPECT_EQ(entry(TransactionKind::debit, LedgerFlag::none, -7).signedAmount(), 7);
}

TEST(LedgerRecordsTest, EqualityAndHashTakeEveryField) {
    const Account base = account();
    std::vector<Account> variants(9, base);
    variants[0].id = "A2";
    variants[1].displayName = "Scout ";
    variants[2].identityMode = IdentityMode::credential;
    variants[3].clientInfo.reset();
    variants[4].clientInfoFields = std::vector<ClientInfoField>{};  // present but empty
    variants[5].balance = 6;
    variants[6].createdAt += std::chrono::seconds{1};
    variants[7].isConnected = false;
    variants[8].clientInfo->title = "";
    std::unordered_set<Account> set{base};
    for (const auto& v : variants) {
        EXPECT_NE(v, base);
        EXPECT_FALSE(set.contains(v)) << "hash collision is possible but not for these";
    }
    Account copy = base;
    EXPECT_EQ(copy, base);
    EXPECT_EQ(std::hash<Account>{}(copy), std::hash<Account>{}(base));
    copy.clientInfo->name = "other";
    EXPECT_EQ(base.clientInfo->name, "claude-code") << "records are values";
}

TEST(LedgerRecordsTest, OptionalPositionMatters) {
    // An absent version with a present title differs from the reverse.
    const ClientInfo a{"n", std::nullopt, "x"};
    const ClientInfo b{"n", "x", std::nullopt};
    EXPECT_NE(a, b);
    EXPECT_NE(std::hash<ClientInfo>{}(a), std::hash<ClientInfo>{}(b));
    EXPECT_EQ((ClientInfoField{"k", "v"}).id(), "k");
}
