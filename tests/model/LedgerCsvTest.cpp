// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/model/LedgerCsv.h>

#include "support/HostileCorpus.h"

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
              "id,accountId,kind,flag,amount,memo (formulas quoted),createdAt,updatedAt,sequence\r\n"
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

// A spreadsheet opening an export runs no memo as a formula, and importing
// the export gives every memo back byte for byte, a leading ' included.
TEST(LedgerCsvTest, FormulasAreNeutralisedAndRestored) {
    std::vector<LedgerEntry> entries;
    for (const auto& hostile : test::hostileCorpus())
        entries.push_back(entry("E" + std::to_string(entries.size()), TransactionKind::note, 0, hostile.text,
                                static_cast<std::int64_t>(entries.size() + 1)));
    const std::string text = LedgerCsv::write(entries);
    for (const auto& hostile : test::hostileCorpus()) {
        if (std::string_view("=+-@\t\r'").find(hostile.text.front()) == std::string_view::npos) continue;
        // The memo's cell, quoted or not, starts with the neutralising quote.
        const bool quoted = hostile.text.find_first_of(",\"\r\n") != std::string::npos;
        EXPECT_NE(text.find(",0," + std::string(quoted ? "\"'" : "'") + hostile.text.substr(0, 1)),
                  std::string::npos)
            << hostile.name;
    }
    const auto read = LedgerCsv::read(text, "A1");
    ASSERT_TRUE(read) << read.error();
    ASSERT_EQ(read->size(), entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) EXPECT_EQ((*read)[i].memo, entries[i].memo) << i;
    // A file made elsewhere keeps its memos as they stand.
    const auto plain = LedgerCsv::read("kind,flag,amount,memo\nnote,none,0,'kept\n", "A1");
    ASSERT_TRUE(plain) << plain.error();
    EXPECT_EQ(plain->front().memo, "'kept");
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
