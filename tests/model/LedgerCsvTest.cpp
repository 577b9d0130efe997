// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/model/LedgerCsv.h>

namespace tallywick {
namespace {

using namespace std::chrono_literals;

LedgerEntry entry(std::string id, TransactionKind kind, std::int64_t amount, std::string memo,
                  std::int64_t sequence) {
    return {.id = std::move(id),
            .accountId = "A1",
            .kind = kind,
            .flag = LedgerFlag::none,
            .amount = amount,
            .memo = std::move(memo),
            .createdAt = Date{1741064767s},
            .updatedAt = Date{1741064767s},
            .sequence = sequence};
}

// What is written reads back as the same entries, oldest first, whatever
// the memo holds: commas, quotes, line breaks, text outside ASCII.
TEST(LedgerCsvTest, WrittenLedgersReadBackOldestFirst) {
    const std::vector<LedgerEntry> newestFirst{
        entry("E2", TransactionKind::debit, 7, "a \"quoted\", two\r\nlines", 2),
        entry("E1", TransactionKind::credit, 5, "Grüße", 1)};
    const std::string text = LedgerCsv::write(newestFirst);
    EXPECT_EQ(text,
              "id,accountId,kind,flag,amount,memo,createdAt,updatedAt,sequence\r\n"
              "E2,A1,debit,none,7,\"a \"\"quoted\"\", "
              "two\r\nlines\",2025-03-04T05:06:07Z,2025-03-04T05:06:07Z,2\r\n"
              "E1,A1,credit,none,5,Grüße,2025-03-04T05:06:07Z,2025-03-04T05:06:07Z,1\r\n");
    const auto read = LedgerCsv::read(text, "A9");
    ASSERT_TRUE(read) << read.error();
    ASSERT_EQ(read->size(), 2u);
    EXPECT_EQ((*read)[0].memo, "Grüße");
    EXPECT_EQ((*read)[1].memo, "a \"quoted\", two\r\nlines");
    EXPECT_EQ((*read)[1].kind, TransactionKind::debit);
    EXPECT_EQ((*read)[1].accountId, "A9");
    // Without a sequence column, the file's order; LF line ends and columns in any order.
    const auto plain =
        LedgerCsv::read("memo,amount,flag,kind\nfirst,1,bonus,credit\n\nsecond,2,none,note", "A9");
    ASSERT_TRUE(plain) << plain.error();
    ASSERT_EQ(plain->size(), 2u);
    EXPECT_EQ((*plain)[0].memo, "first");
    EXPECT_EQ((*plain)[0].flag, LedgerFlag::bonus);
    EXPECT_EQ((*plain)[1].kind, TransactionKind::note);
}

TEST(LedgerCsvTest, MalformedTextsNameTheirRowAndColumn) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "row 1: there is no header row"},
        {"kind,flag,amount\n", "row 1: the header has no memo column"},
        {"kind,flag,amount,memo\ncredit,none,5\n", "row 2: 3 fields where the header has 4"},
        {"kind,flag,amount,memo\ncredit,none,5,x\nloan,none,5,x\n", "row 3, column kind: 'loan'"},
        {"kind,flag,amount,memo\ncredit,gold,5,x\n", "row 2, column flag: 'gold'"},
        {"kind,flag,amount,memo\ncredit,none,99999999999999999999,x\n", "row 2, column amount"},
        {"kind,flag,amount,memo\ncredit,none,5,\"open\n", "row 2: a quoted field is never closed"},
        {"kind,flag,amount,memo\ncredit,none,5,\xff\n", "not UTF-8"},
    };
    for (const auto& [text, reason] : cases) {
        const auto read = LedgerCsv::read(text, "A1");
        ASSERT_FALSE(read) << text;
        EXPECT_NE(read.error().find(reason), std::string::npos) << read.error();
    }
}

}  // namespace
}  // namespace tallywick
