// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/model.h>

using namespace tallywick;
using TallywickCoding::decode;
using TallywickCoding::decodeResult;
using TallywickCoding::encodeToString;

namespace {

constexpr std::string_view kEntry =
    R"({"id":"E9","accountId":"A1","kind":"debit","flag":"none","amount":40,"memo":"Late reply",)"
    R"("createdAt":"2025-03-04T05:06:07Z","updatedAt":"2025-03-04T05:06:08Z","sequence":3})";

// The entry text with one key's value replaced, or the key removed when value is empty.
std::string entryWith(std::string_view key, std::string_view value) {
    std::string text(kEntry);
    const auto keyPos = text.find("\"" + std::string(key) + "\":");
    const auto valueStart = keyPos + key.size() + 3;
    const auto valueEnd =
        text[valueStart] == '"' ? text.find('"', valueStart + 1) + 1 : text.find_first_of(",}", valueStart);
    if (!value.empty()) {
        text.replace(valueStart, valueEnd - valueStart, value);
    } else if (text[valueEnd] == ',') {
        text.erase(keyPos, valueEnd + 1 - keyPos);
    } else {
        text.erase(keyPos - 1, valueEnd - keyPos + 1);  // the last key takes its leading comma
    }
    return text;
}

DecodeError errorOf(std::string_view text) {
    auto result = decodeResult<LedgerEntry>(text);
    EXPECT_FALSE(result.has_value()) << text;
    return result ? DecodeError{} : result.error();
}

}  // namespace

TEST(LedgerCodingTest, EntryReadsAndWritesInFieldOrder) {
    auto entry = decode<LedgerEntry>(kEntry);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->kind, TransactionKind::debit);
    EXPECT_EQ(entry->signedAmount(), -40);
    EXPECT_EQ(entry->updatedAt - entry->createdAt, std::chrono::seconds{1});
    EXPECT_EQ(encodeToString(*entry), std::string(kEntry));
}

TEST(LedgerCodingTest, OptionalFieldsAreLeftOutAndNullReadsAsAbsent) {
    EXPECT_EQ(encodeToString(ClientInfo{"cli"}), R"({"name":"cli"})");
    EXPECT_EQ(encodeToString(ClientInfo{"cli", std::nullopt, ""}), R"({"name":"cli","title":""})");
    EXPECT_EQ(decode<ClientInfo>(R"({"name":"cli","version":null,"title":null})"), ClientInfo{"cli"});
    EXPECT_EQ(decode<ClientInfo>(R"({"version":"1"})"), std::nullopt);
    EXPECT_EQ(decode<ClientInfo>(R"({"name":null})"), std::nullopt);
    EXPECT_EQ(decode<ClientInfo>(R"({"name":"cli","title":5})"), std::nullopt)
        << "a present optional of the wrong type fails";
}

TEST(LedgerCodingTest, EmptyFieldListIsPresentNotAbsent) {
    Account account{.id = "A1",
                    .displayName = "Scout",
                    .identityMode = IdentityMode::credential,
                    .clientInfoFields = std::vector<ClientInfoField>{},
                    .balance = -3,
                    .createdAt = Date{std::chrono::seconds{0}},
                    .isConnected = false};
    const auto text = encodeToString(account);
    ASSERT_TRUE(text);
    EXPECT_EQ(*text, R"({"id":"A1","displayName":"Scout","identityMode":"credential","clientInfoFields":[],)"
                     R"("balance":-3,"createdAt":"1970-01-01T00:00:00Z","isConnected":false})");
    auto back = decode<Account>(*text);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, account);
    Account absent = account;
    absent.clientInfoFields.reset();
    EXPECT_NE(*back, absent);
    EXPECT_EQ(decode<Account>(R"({"id":"A1","displayName":"Scout","identityMode":"credential",)"
                              R"("balance":-3,"createdAt":"1970-01-01T00:00:00Z","isConnected":false})"),
              absent);
}

TEST(LedgerCodingTest, UnknownKeysAreSkippedAnywhere) {
    auto entry = decode<LedgerEntry>(entryWith("memo", R"("m","extra":{"deep":[1,2,{"x":null}]})"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->memo, "m");
}

TEST(LedgerCodingTest, EveryRequiredKeyIsRequired) {
    for (const char* key :
         {"id", "accountId", "kind", "flag", "amount", "memo", "createdAt", "updatedAt", "sequence"}) {
        const auto error = errorOf(entryWith(key, ""));
        EXPECT_EQ(error.kind, DecodeError::Kind::keyNotFound) << key;
        EXPECT_NE(error.description.find(key), std::string::npos) << error.description;
        EXPECT_EQ(errorOf(entryWith(key, "null")).kind, DecodeError::Kind::valueNotFound) << key;
    }
}

TEST(LedgerCodingTest, ValuesMustHaveTheirExactJsonType) {
    const std::pair<const char*, const char*> wrong[] = {
        {"amount", R"("40")"},
        {"amount", "40.0"},
        {"amount", "4e1"},
        {"amount", "true"},
        {"memo", "5"},
        {"memo", "[]"},
        {"kind", R"({"debit":{}})"},
        {"kind", R"("Debit")"},
        {"kind", R"("")"},
        {"flag", R"("bonus ")"},
        {"sequence", "[3]"},
        {"id", "{}"},
        {"createdAt", "1741064767"},
        {"createdAt", R"("2025-03-04")"},
        {"updatedAt", R"("yesterday")"},
    };
    for (auto [key, value] : wrong) {
        EXPECT_EQ(decode<LedgerEntry>(entryWith(key, value)), std::nullopt) << key << "=" << value;
    }
}

TEST(LedgerCodingTest, IntegersSpanExactlySigned64Bits) {
    EXPECT_EQ(decode<LedgerEntry>(entryWith("amount", "9223372036854775807"))->amount,
              std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(decode<LedgerEntry>(entryWith("amount", "-9223372036854775808"))->amount,
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(decode<LedgerEntry>(entryWith("amount", "-0"))->amount, 0);
    EXPECT_EQ(errorOf(entryWith("amount", "9223372036854775808")).kind, DecodeError::Kind::dataCorrupted);
    for (const std::string& huge : {std::string("-9223372036854775809"), std::string("18446744073709551616"),
                                    "1" + std::string(400, '0')}) {
        EXPECT_EQ(decode<LedgerEntry>(entryWith("amount", huge)), std::nullopt) << huge;
    }
}

TEST(LedgerCodingTest, DatesWithFractionsOrOffsetsReadToTheSecond) {
    auto entry = decode<LedgerEntry>(entryWith("createdAt", R"("2025-03-04T06:06:07.900+01:00")"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(formatDate(entry->createdAt), "2025-03-04T05:06:07Z");
}

TEST(LedgerCodingTest, DuplicateDeclaredKeyFailsButDuplicateUnknownKeyIsSkipped) {
    const auto error = errorOf(entryWith("memo", R"("a","memo":"b")"));
    EXPECT_EQ(error.kind, DecodeError::Kind::dataCorrupted);
    EXPECT_EQ(error.codingPath, "memo");
    EXPECT_TRUE(decode<LedgerEntry>(entryWith("memo", R"("a","x":1,"x":2)")));
}

TEST(LedgerCodingTest, NewEntryHasFiveRequiredKeys) {
    const NewLedgerEntry created{"A1", TransactionKind::credit, LedgerFlag::bonus, 250, "Good answer"};
    EXPECT_EQ(encodeToString(created),
              R"({"accountId":"A1","kind":"credit","flag":"bonus","amount":250,"memo":"Good answer"})");
    EXPECT_FALSE(decode<NewLedgerEntry>(R"({"accountId":"A1","kind":"credit","flag":"none","amount":5})"));
}

TEST(LedgerCodingTest, TextThatIsNotUtf8IsNeverWritten) {
    LedgerEntry entry = *decode<LedgerEntry>(kEntry);
    entry.memo = "caf\xe9";
    EXPECT_EQ(encodeToString(entry), std::nullopt);
    entry.memo = "café/\"x\"";
    const auto text = encodeToString(entry);
    ASSERT_TRUE(text);
    EXPECT_NE(text->find(R"("café\/\"x\"")"), std::string::npos);
    EXPECT_EQ(decode<LedgerEntry>(*text), entry);
}
