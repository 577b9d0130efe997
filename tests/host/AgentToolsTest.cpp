// SPDX-License-Identifier: MIT
#include "AgentTestSupport.h"

using namespace tallywick;
using tallywick::testing::arrayOf;
using tallywick::testing::Json;

namespace {

class AgentToolsTest : public tallywick::testing::AgentFixture {
protected:
    void SetUp() override {
        AgentFixture::SetUp();
        ASSERT_TRUE(store_->setStartingPoints(50));
    }
    std::string signUp(AgentSession& session, std::string_view key = "correct horse") {
        Json result =
            tool(session, "signUp", R"({"key":")" + std::string(key) + R"(","displayName":" Ada "})");
        return std::string(result.text("/accountId"));
    }
    std::string errorCode(AgentSession& session, std::string_view name, std::string_view arguments = "{}") {
        Json result = tool(session, name, arguments);
        return result.has("/error/code") ? std::string(result.text("/error/code")) : "(none)";
    }
};

TEST_F(AgentToolsTest, ToolsListDescribesFourToolsWithCheckableSchemas) {
    AgentSession session;
    Json list = request(session, "tools/list");
    std::vector<std::string> names;
    for (auto item : arrayOf(list["/result/tools"])) {
        const std::string name(item["name"].get_string().value_unsafe());
        names.push_back(name);
        EXPECT_FALSE(item["title"].get_string().value_unsafe().empty());
        EXPECT_FALSE(item["description"].get_string().value_unsafe().empty());
        EXPECT_FALSE(item["inputSchema"]["additionalProperties"].get_bool().value_unsafe()) << name;
        EXPECT_EQ(item["outputSchema"]["type"].get_string().value_unsafe(), "object");
        EXPECT_EQ(item["annotations"]["readOnlyHint"].get_bool().value_unsafe(), name.starts_with("get"))
            << name;
    }
    EXPECT_EQ(names, (std::vector<std::string>{"signUp", "login", "getBalance", "getHistory"}));
    // The checker the other tests rely on refuses what the schemas refuse.
    Json wrong(R"({"accountId":"A1","displayName":"x"})");
    EXPECT_NE(tallywick::testing::schemaViolation(outputSchema("getBalance"), wrong.root), "");
    Json extra(R"({"error":{"code":"x","message":"y","key":"z"}})");
    EXPECT_NE(tallywick::testing::schemaViolation(outputSchema("login"), extra.root), "");
}

TEST_F(AgentToolsTest, SignUpCreatesABoundAccountThatLoginReaches) {
    AgentSession first;
    initialize(first);
    EXPECT_EQ(errorCode(first, "signUp", R"({"key":"short"})"), "invalidKey");
    EXPECT_EQ(errorCode(first, "signUp", R"({"key":12345678})"), "invalidArguments");
    EXPECT_EQ(errorCode(first, "signUp", R"({"key":"long enough","extra":1})"), "invalidArguments");
    EXPECT_TRUE(ok(store_->accounts()).empty());

    auto effects = send(first, R"({"jsonrpc":"2.0","id":9,"method":"tools/call","params":{"name":"signUp",)"
                               R"("arguments":{"key":"correct horse","displayName":" Ada "}}})");
    EXPECT_EQ(effects.reply->find("correct horse"), std::string::npos);
    Json reply(*effects.reply);
    const std::string id(reply.text("/result/structuredContent/accountId"));
    EXPECT_EQ(reply.text("/result/structuredContent/displayName"), "Ada");
    EXPECT_EQ(reply.integer("/result/structuredContent/balance"), 50);
    EXPECT_TRUE(effects.dataChanged && effects.connectionsChanged);
    EXPECT_EQ(effects.changedAccounts, std::vector<std::string>{id});
    EXPECT_EQ(first.accountId, id);
    EXPECT_TRUE(first.authenticated);
    EXPECT_EQ(ok(store_->account(id))->clientInfo, first.clientInfo);
    EXPECT_TRUE(hasher_.verify(ok(store_->keyHash(id)).value(), "correct horse"));

    AgentSession second;
    Json wrongKey = tool(second, "login", R"({"accountId":")" + id + R"(","key":"wrong horse"})");
    Json noAccount = tool(second, "login", R"({"accountId":"A999","key":"correct horse"})");
    EXPECT_EQ(wrongKey.text("/error/code"), "invalidCredentials");
    EXPECT_EQ(simdjson::to_string(wrongKey.root), simdjson::to_string(noAccount.root));
    EXPECT_FALSE(second.accountId);
    Json right = tool(second, "login", R"({"accountId":")" + id + R"(","key":"correct horse"})");
    EXPECT_EQ(right.text("/accountId"), id);
    EXPECT_EQ(second.accountId, id);
    EXPECT_TRUE(second.authenticated);
    EXPECT_EQ(tool(second, "getBalance").integer("/balance"), 50);
}

TEST_F(AgentToolsTest, ReadsBeforeBindingDependOnTheIdentityMode) {
    AgentSession closed;
    initialize(closed, "scout");
    EXPECT_FALSE(closed.accountId);
    EXPECT_EQ(errorCode(closed, "getBalance"), "notSignedIn");
    EXPECT_EQ(errorCode(closed, "getHistory"), "notSignedIn");
    EXPECT_TRUE(ok(store_->accounts()).empty());

    ASSERT_TRUE(store_->setAllowUnauthenticated(true));
    AgentSession open;
    auto effects = send(open, R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":)"
                              R"("2025-06-18","clientInfo":{"name":"scout","title":"Scout"}}})");
    ASSERT_TRUE(open.accountId);
    EXPECT_FALSE(open.authenticated);
    EXPECT_TRUE(effects.dataChanged);
    EXPECT_EQ(effects.changedAccounts, std::vector<std::string>{*open.accountId});
    EXPECT_EQ(tool(open, "getBalance").text("/displayName"), "Scout");
    // The connection that came first is bound on its next read, to the same account.
    EXPECT_EQ(tool(closed, "getBalance").text("/accountId"), *open.accountId);
    EXPECT_EQ(ok(store_->accounts()).size(), 1u);

    ASSERT_TRUE(store_->setAllowUnauthenticated(false));
    EXPECT_EQ(errorCode(open, "getBalance"), "notSignedIn");
    EXPECT_FALSE(open.accountId);
}

TEST_F(AgentToolsTest, HistoryPagesNewestFirstAndRefusesBadArguments) {
    AgentSession session;
    const std::string id = signUp(session);
    for (int i = 1; i <= 24; ++i) {
        NewLedgerEntry entry{.accountId = id,
                             .kind = i % 2 ? TransactionKind::debit : TransactionKind::credit,
                             .amount = i,
                             .memo = "entry " + std::to_string(i)};
        ASSERT_TRUE(store_->createEntry(entry, at(1'700'000'000 + i)));
    }
    Json first = tool(session, "getHistory");
    EXPECT_EQ(arrayOf(first["/entries"]).size(), 20u);
    EXPECT_EQ(first.text("/entries/0/memo"), "entry 24");
    EXPECT_EQ(first.integer("/entries/1/signedAmount"), -23);
    EXPECT_EQ(first.integer("/entries/0/sequence"), 25);  // the opening credit is the first
    EXPECT_EQ(first.text("/entries/0/createdAt"), "2023-11-14T22:13:44Z");
    EXPECT_EQ(first.integer("/balance"), ok(store_->account(id))->balance);
    Json rest = tool(session, "getHistory",
                     R"({"limit":100,"before":")" + std::string(first.text("/nextBefore")) + "\"}");
    EXPECT_EQ(arrayOf(rest["/entries"]).size(), 5u);
    EXPECT_EQ(rest.text("/entries/4/memo"), "Opening balance");
    EXPECT_FALSE(rest.has("/nextBefore"));

    for (std::string arguments :
         {R"({"limit":0})", R"({"limit":101})", R"({"limit":"5"})", R"({"limit":5.0})",
          R"({"before":"E99999"})", R"({"before":7})", R"({"since":1})"}) {
        EXPECT_EQ(errorCode(session, "getHistory", arguments), "invalidArguments") << arguments;
    }
}

TEST_F(AgentToolsTest, ADeletedAccountUnbindsItsConnections) {
    AgentSession session;
    const std::string id = signUp(session);
    session.subscriptions.insert(AgentService::historyUri(id));
    ASSERT_TRUE(store_->deleteAccount(id));
    auto effects =
        send(session, R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"getBalance"}})");
    EXPECT_NE(effects.reply->find("notSignedIn"), std::string::npos);
    EXPECT_TRUE(effects.connectionsChanged);
    EXPECT_FALSE(session.accountId || session.authenticated || !session.subscriptions.empty());
}

TEST_F(AgentToolsTest, ResourcesAreOnlyTheBoundAccountsHistory) {
    AgentSession session;
    EXPECT_EQ(arrayOf(request(session, "resources/list")["/result/resources"]).size(), 0u);
    EXPECT_EQ(request(session, "resources/templates/list").text("/result/resourceTemplates/0/uriTemplate"),
              "tallywick://account/{accountId}/history");
    AgentSession other;
    const std::string otherUri = AgentService::historyUri(signUp(other, "other secret"));
    EXPECT_EQ(request(session, "resources/read", R"({"uri":")" + otherUri + "\"}").integer("/error/code"),
              -32002);

    const std::string uri = AgentService::historyUri(signUp(session));
    EXPECT_EQ(request(session, "resources/list").text("/result/resources/0/uri"), uri);
    Json read = request(session, "resources/read", R"({"uri":")" + uri + "\"}");
    EXPECT_EQ(read.text("/result/contents/0/mimeType"), "application/json");
    Json history(read.text("/result/contents/0/text"));
    EXPECT_EQ(simdjson::to_string(history.root),
              simdjson::to_string(tool(session, "getHistory", R"({"limit":100})").root));

    for (const auto& method : {"resources/read", "resources/subscribe", "resources/unsubscribe"}) {
        EXPECT_EQ(request(session, method, R"({"uri":")" + otherUri + "\"}").integer("/error/code"), -32002);
        EXPECT_EQ(request(session, method, R"({})").integer("/error/code"), -32602);
    }
    EXPECT_TRUE(request(session, "resources/subscribe", R"({"uri":")" + uri + "\"}").has("/result"));
    EXPECT_EQ(session.subscriptions, std::set<std::string>{uri});
    EXPECT_TRUE(request(session, "resources/unsubscribe", R"({"uri":")" + uri + "\"}").has("/result"));
    EXPECT_TRUE(session.subscriptions.empty());
}

TEST_F(AgentToolsTest, UnknownToolsAndMalformedCallsAreProtocolErrors) {
    AgentSession session;
    Json unknown = request(session, "tools/call", R"({"name":"transfer","arguments":{}})");
    EXPECT_EQ(unknown.integer("/error/code"), -32602);
    EXPECT_EQ(unknown.text("/error/message"), "Unknown tool: transfer");
    EXPECT_EQ(
        request(session, "tools/call", R"({"name":"getBalance","arguments":[]})").integer("/error/code"),
        -32602);
    EXPECT_EQ(request(session, "tools/call", R"({"arguments":{}})").integer("/error/code"), -32602);
    EXPECT_EQ(request(session, "tools/list", R"({"cursor":"next"})").integer("/error/code"), -32602);
}

}  // namespace
