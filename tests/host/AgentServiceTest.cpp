// SPDX-License-Identifier: MIT
#include <random>

#include <tallywick/model/TallywickVersion.h>

#include "AgentTestSupport.h"

using namespace tallywick;
using tallywick::testing::Json;

namespace {

class AgentServiceTest : public tallywick::testing::AgentFixture {
protected:
    // The error a line is answered with, as "code message".
    std::string errorOf(std::string_view line) {
        AgentSession session;
        auto effects = send(session, line);
        if (!effects.reply) return "(no reply)";
        Json reply(*effects.reply);
        if (!reply.has("/error")) return "(no error)";
        return std::to_string(reply.integer("/error/code")) + " " +
               std::string(reply.text("/error/message")) + " id=" + simdjson::to_string(reply["/id"]);
    }
};

TEST_F(AgentServiceTest, HandshakeAnswersTheRequestedRevisionWhenSupportedElseTheNewest) {
    for (std::string revision : {"2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05", "2099-01-01"}) {
        AgentSession session;
        Json reply = initialize(session, "scout", revision);
        const std::string expected = revision == "2099-01-01" ? "2025-11-25" : revision;
        EXPECT_EQ(reply.text("/result/protocolVersion"), expected);
        EXPECT_EQ(session.protocolVersion, expected);
        EXPECT_TRUE(reply["/result/capabilities/resources/subscribe"].get_bool().value_unsafe());
        EXPECT_TRUE(reply.has("/result/capabilities/tools") && reply.has("/result/capabilities/logging"));
        EXPECT_EQ(reply.text("/result/serverInfo/name"), "tallywick-host");
        EXPECT_EQ(reply.text("/result/serverInfo/version"), TallywickVersion::marketing);
        EXPECT_NE(reply.text("/result/instructions").find("signUp"), std::string_view::npos);
        EXPECT_TRUE(session.initialized);
        EXPECT_EQ(session.clientInfo, (ClientInfo{.name = "scout", .version = "1.2"}));
        // Nested values are left out; the rest is ordered by key.
        EXPECT_EQ(session.clientInfoFields,
                  (std::vector<ClientInfoField>{{"protocolVersion", expected},
                                                {"websiteUrl", "https://example.org"}}));
    }
}

TEST_F(AgentServiceTest, HandshakeWithBadParamsChangesNothing) {
    for (std::string params :
         {R"({"clientInfo":{"name":"a"}})", R"({"protocolVersion":1,"clientInfo":{"name":"a"}})",
          R"({"protocolVersion":"2025-11-25","clientInfo":"a"})",
          R"({"protocolVersion":"2025-11-25","clientInfo":{"name":7}})",
          R"({"protocolVersion":"2025-11-25","clientInfo":{"name":""}})",
          R"({"protocolVersion":"2025-11-25","clientInfo":{"name":"a","name":"b"}})"}) {
        AgentSession session;
        auto effects =
            send(session, R"({"jsonrpc":"2.0","id":"h","method":"initialize","params":)" + params + "}");
        Json reply(*effects.reply);
        EXPECT_EQ(reply.integer("/error/code"), -32602) << params;
        EXPECT_TRUE(reply.text("/error/message").starts_with("Invalid params: ")) << params;
        EXPECT_EQ(session, AgentSession{}) << params;
        EXPECT_FALSE(effects.connectionsChanged);
    }
}

// What an agent may make the host keep of itself is bounded, and a handshake
// over a bound is refused whole, never stored cut; one handshake a connection.
TEST_F(AgentServiceTest, ClientInformationIsBoundedAndTakenOncePerConnection) {
    const auto handshake = [&](AgentSession& session, const std::string& info) {
        auto effects =
            send(session, R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":)"
                          R"("2025-11-25","capabilities":{},"clientInfo":)" +
                              info + "}}");
        Json reply(effects.reply.value_or(""));
        return reply.has("/error") ? std::to_string(reply.integer("/error/code")) + " " +
                                         std::string(reply.text("/error/message"))
                                   : std::string("ok");
    };
    const auto fields = [](int count, std::size_t keyLength, std::size_t valueLength) {
        std::string text;
        for (int i = 0; i < count; ++i) {
            std::string key = std::to_string(i);
            key += std::string(keyLength - key.size(), 'k');
            text += R"(,")" + key + R"(":")" + std::string(valueLength, 'v') + '"';
        }
        return text;
    };
    const std::string longest(256, 'n');
    const auto info = [&](const std::string& name, const std::string& rest) {
        return R"({"name":")" + name + R"(","version":")" + longest + R"(","title":")" + longest + '"' +
               rest + "}";
    };

    AgentSession full;
    EXPECT_EQ(handshake(full, info(longest, fields(32, 64, 100))), "ok")
        << "every bound reached, none passed";
    EXPECT_EQ(full.clientInfoFields.size(), 33u);
    AgentSession exactly;
    EXPECT_EQ(handshake(exactly, info("x", fields(8, 24, 1000))), "ok") << "8 KiB in all";

    const std::pair<std::string, std::string> refused[] = {
        {info(longest + "n", ""), "clientInfo.name must be at most 256 characters"},
        {info("x", fields(33, 4, 1)), "more than 32 further fields"},
        {info("x", fields(1, 65, 1)), "field names must be at most 64 characters"},
        {info("x", fields(1, 4, 1025)), "must be at most 1024 characters"},
        {info("x", fields(9, 24, 1000)), "at most 8 KiB in all"},
    };
    for (const auto& [text, reason] : refused) {
        AgentSession session;
        const auto answer = handshake(session, text);
        EXPECT_EQ(answer.rfind("-32602 Invalid params: ", 0), 0u) << answer;
        EXPECT_NE(answer.find(reason), std::string::npos) << answer;
        EXPECT_EQ(session, AgentSession{});
    }

    // A second handshake on one connection changes nothing, not even the client.
    const AgentSession before = full;
    EXPECT_EQ(handshake(full, info("someone else", "")),
              "-32600 Invalid Request: this connection is already initialized");
    EXPECT_EQ(full, before);
}

TEST_F(AgentServiceTest, EnvelopeErrorsFollowJsonRpc) {
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1,"method":"nope"})"), "-32601 Method not found id=1");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"1.0","id":"x","method":"ping"})"), "-32600 Invalid Request id=\"x\"");
    EXPECT_EQ(errorOf(R"({"id":5,"method":"ping"})"), "-32600 Invalid Request id=5");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":5,"method":3})"), "-32600 Invalid Request id=5");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":5})"), "-32600 Invalid Request id=5");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":null,"method":"ping"})"), "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1.5,"method":"ping"})"), "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1,"id":2,"method":"ping"})"),
              "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"([{"jsonrpc":"2.0","id":1,"method":"ping"}])"), "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"("ping")"), "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1,"method":"ping)"), "-32700 Parse error id=null");
    EXPECT_EQ(errorOf(""), "-32700 Parse error id=null");
    // Valid JSON with numbers past 64 bits or past a double's range.
    for (const char* number : {"123456789012345678901234567890", "-9223372036854775809", "1e400", "-1e999"})
        EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"name":"getHistory",)"
                          R"("arguments":{"limit":)" +
                          std::string(number) + R"(,"note":"1e400 \"9e999\""}}})"),
                  "-32602 Invalid params: a number in the request is beyond what a tool takes id=7")
            << number;
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":18446744073709551616,"method":"ping"})"),
              "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1e400,"method":"ping"})"), "-32600 Invalid Request id=null");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"n":1e400)"),
              "-32700 Parse error id=null");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":1,"method":"ping","params":[1]})"),
              "-32602 Invalid params: params must be an object id=1");
    EXPECT_EQ(errorOf(R"({"jsonrpc":"2.0","id":2,"method":"logging/setLevel","params":{"level":"loud"}})")
                  .substr(0, 25),
              "-32602 Invalid params: le");
}

TEST_F(AgentServiceTest, RepliesEchoTheIdAsWrittenAndNeverAnswerNotificationsOrResponses) {
    AgentSession session;
    for (std::string id : {R"("a/b\u0041")", "0", "-9", "18446744073709551615", "-9223372036854775808"}) {
        auto effects = send(session, R"({ "jsonrpc" : "2.0", "id" : )" + id + R"( , "method" : "ping" })");
        EXPECT_EQ(effects.reply, R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":{}})");
        EXPECT_EQ(effects.direction, Direction::request);
        EXPECT_EQ(effects.method, "ping");
    }
    EXPECT_FALSE(
        send(session, R"({"jsonrpc":"2.0","method":"notifications/progress","params":{"n":1e999}})").reply)
        << "a notification gets no answer, whatever its numbers";
    auto notification = send(session, R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    EXPECT_FALSE(notification.reply);
    EXPECT_EQ(notification.direction, Direction::notification);
    EXPECT_EQ(notification.method, "notifications/initialized");
    for (std::string line :
         {R"({"jsonrpc":"2.0","id":3,"result":{}})", R"({"jsonrpc":"2.0","id":3,"error":{}})"}) {
        auto response = send(session, line);
        EXPECT_FALSE(response.reply);
        EXPECT_EQ(response.direction, Direction::response);
        EXPECT_FALSE(response.method);
    }
    auto level =
        send(session, R"({"jsonrpc":"2.0","id":4,"method":"logging/setLevel","params":{"level":"error"}})");
    EXPECT_EQ(level.reply, R"({"jsonrpc":"2.0","id":4,"result":{}})");
    EXPECT_EQ(session.logLevel, "error");
    EXPECT_EQ(AgentService::resourceUpdatedLine("tallywick://account/A1/history"),
              R"({"jsonrpc":"2.0","method":"notifications\/resources\/updated",)"
              R"("params":{"uri":"tallywick:\/\/account\/A1\/history"}})");
}

// Whatever arrives, the answer is one JSON-RPC reply or none, and nothing is stored.
TEST_F(AgentServiceTest, HostileLinesNeverCrashOrChangeTheStore) {
    const std::vector<std::string> seeds = {
        R"({"jsonrpc":"2.0","id":1,"method":"initialize",)"
        R"("params":{"protocolVersion":"2025-11-25","clientInfo":{"name":"x"}}})",
        R"({"jsonrpc":"2.0","id":"q","method":"tools/call",)"
        R"("params":{"name":"getHistory","arguments":{"limit":5}}})",
        R"({"jsonrpc":"2.0","id":2,"method":"resources/read",)"
        R"("params":{"uri":"tallywick://account/A1/history"}})",
    };
    std::vector<std::string> lines = {
        std::string(8 << 20, '['), "\xff\xfe{}", R"({"a":"\ud800"})",
        R"({"jsonrpc":"2.0","id":1,"method":"ping","params":{"x":")" + std::string(5 << 20, 'y') + "\"}}"};
    std::mt19937 random(20250304);
    for (int i = 0; i < 3000; ++i) {
        std::string line = seeds[random() % seeds.size()];
        if (i % 3 == 0) line.resize(1 + random() % line.size());
        for (int flips = 1 + random() % 3; flips > 0; --flips) line[random() % line.size()] = char(random());
        lines.push_back(std::move(line));
    }
    const auto accountsBefore = ok(store_->accounts());
    for (const auto& line : lines) {
        AgentSession session;
        auto effects = send(session, line);
        if (!effects.reply) continue;
        Json reply(*effects.reply);
        EXPECT_TRUE(reply.has("/result") != reply.has("/error")) << *effects.reply;
        EXPECT_EQ(reply.text("/jsonrpc"), "2.0");
    }
    EXPECT_EQ(errorOf(lines[3]), "(no error)");  // a huge but valid line is simply answered
    EXPECT_EQ(ok(store_->accounts()), accountsBefore);
    EXPECT_TRUE(ok(store_->entries()).empty());
}

}  // namespace
