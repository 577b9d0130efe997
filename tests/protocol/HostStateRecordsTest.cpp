// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <unordered_set>

#include <tallywick/core.h>

using namespace tallywick;
using TallywickCoding::decode;
using TallywickCoding::encodeToString;

namespace {

const Date kAt{std::chrono::seconds{1741064767}};  // 2025-03-04T05:06:07Z

}  // namespace

TEST(HostStateRecordsTest, ConnectionWithoutOptionalsCarriesThreeKeys) {
    const LiveConnection bare{.id = "C7", .authenticated = false, .connectedAt = kAt};
    EXPECT_EQ(encodeToString(bare),
              R"({"id":"C7","authenticated":false,"connectedAt":"2025-03-04T05:06:07Z"})");
    EXPECT_EQ(decode<LiveConnection>(R"({"id":"C7","clientInfo":null,"accountId":null,"authenticated":false,)"
                                     R"("connectedAt":"2025-03-04T05:06:07Z"})"),
              bare);
    const LiveConnection full{"C7", ClientInfo{"cli", "1", "T"}, "A1", true, kAt};
    EXPECT_EQ(decode<LiveConnection>(*encodeToString(full)), full);
}

TEST(HostStateRecordsTest, FractionalConnectedAtComparesUnequalToWhatWasMeant) {
    auto read = decode<LiveConnection>(
        R"({"id":"C7","authenticated":true,"connectedAt":"2025-03-04T05:06:07.900Z"})");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->connectedAt, kAt);
    EXPECT_NE(read->connectedAt, kAt + std::chrono::seconds{1});
}

TEST(HostStateRecordsTest, LogEntryLeavesOutAbsentMethodAndChecksDirection) {
    const ApiLogEntry response{"L43",        "C7", std::nullopt, std::nullopt, Direction::response,
                               std::nullopt, "{}", kAt};
    EXPECT_EQ(encodeToString(response), R"({"id":"L43","connectionId":"C7","direction":"response",)"
                                        R"("payload":"{}","timestamp":"2025-03-04T05:06:07Z"})");
    EXPECT_EQ(decode<ApiLogEntry>(*encodeToString(response)), response);
    for (const char* direction : {"Request", "reply", "", "REQUEST"}) {
        std::string text = *encodeToString(response);
        text.replace(text.find("response"), 8, direction);
        EXPECT_EQ(decode<ApiLogEntry>(text), std::nullopt) << direction;
    }
    EXPECT_EQ(fromRawValue<Direction>("notification"), Direction::notification);
    EXPECT_EQ(allCases<Direction>().size(), 3u);
}

TEST(HostStateRecordsTest, EqualityAndHashCoverEveryField) {
    const ApiLogEntry base{"L1", "C1", "A1", "Scout", Direction::request, "tools/call", "{}", kAt};
    std::vector<ApiLogEntry> changed(8, base);
    changed[0].id = "L2";
    changed[1].connectionId = "C2";
    changed[2].accountId.reset();
    changed[3].clientLabel = "scout";
    changed[4].direction = Direction::notification;
    changed[5].method.reset();
    changed[6].payload = "{ }";
    changed[7].timestamp += std::chrono::seconds{1};
    std::unordered_set<ApiLogEntry> seen{base};
    for (const auto& c : changed) {
        EXPECT_NE(c, base);
        EXPECT_TRUE(seen.insert(c).second);
    }
    EXPECT_NE((Settings{true, 5}), (Settings{false, 5}));
    EXPECT_EQ(std::hash<Settings>{}(Settings{true, 5}), std::hash<Settings>{}(Settings{true, 5}));
}

TEST(HostStateRecordsTest, SnapshotNeedsAllSixKeys) {
    const std::string empty =
        R"({"accounts":[],"entries":[],"connections":[],"settings":{"allowUnauthenticated":true,)"
        R"("startingPoints":50000},"recentApiLog":[],"hostVersion":"1.0"})";
    auto snapshot = decode<Snapshot>(empty);
    ASSERT_TRUE(snapshot);
    EXPECT_TRUE(snapshot->recentApiLog.empty());
    EXPECT_EQ(snapshot->settings, (Settings{true, 50000}));
    EXPECT_EQ(encodeToString(*snapshot), empty);

    for (const char* key :
         {"accounts", "entries", "connections", "settings", "recentApiLog", "hostVersion"}) {
        std::string text = empty;
        const auto at = text.find(std::string("\"") + key + "\"");
        text.insert(at + 1, "x");  // renames the key, which leaves it missing and unknown
        EXPECT_EQ(decode<Snapshot>(text), std::nullopt) << key;
    }
    auto extra = decode<Snapshot>(R"({"future":[1],)" + empty.substr(1));
    EXPECT_TRUE(extra);
    EXPECT_FALSE(decode<Snapshot>(R"({"accounts":null,)" + empty.substr(14)));
}

// The host sends head, its own encoded entries, tail: that must always be
// the very text the whole answer encodes to, whatever the rest holds.
TEST(HostStateRecordsTest, SnapshotEnvelopeAroundEntriesIsTheWholeAnswer) {
    Snapshot state{
        .accounts = {Account{.id = "A1", .displayName = "\"entries\":[] \\/ Grüße", .createdAt = kAt}},
        .connections = {LiveConnection{.id = "C1-1", .connectedAt = kAt}},
        .settings = {false, 7},
        .recentApiLog = {ApiLogEntry{.id = "L1",
                                     .connectionId = "C1-1",
                                     .direction = Direction::request,
                                     .payload = R"({"entries":[]})",
                                     .timestamp = kAt}},
        .hostVersion = "1.0 (1)",
    };
    for (const int count : {0, 1, 3}) {
        state.entries.clear();
        std::string members;
        for (int i = count; i > 0; --i) {
            state.entries.push_back(LedgerEntry{.id = "E" + std::to_string(i),
                                                .accountId = "A1",
                                                .kind = TransactionKind::debit,
                                                .amount = i,
                                                .memo = "/ü\n",
                                                .createdAt = kAt,
                                                .updatedAt = kAt});
            if (!members.empty()) members += ',';
            members += *encodeToString(state.entries.back());
        }
        const auto envelope = TallywickCoding::encodeSnapshotEnvelope(state);
        ASSERT_TRUE(envelope);
        EXPECT_EQ(envelope->head + members + envelope->tail,
                  *encodeToString(ControlResponse::snapshot(state)))
            << count;
        EXPECT_TRUE(envelope->head.ends_with(R"("entries":[)"));
    }
    state.hostVersion = "\xff";  // not UTF-8: nothing is written
    EXPECT_FALSE(TallywickCoding::encodeSnapshotEnvelope(state));
}
