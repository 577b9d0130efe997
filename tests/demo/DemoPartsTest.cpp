// SPDX-License-Identifier: MIT
// The demo's parts in process: its command line, its cast, and what it makes
// of lines from a bridge, hostile ones included.
#include <gtest/gtest.h>

#include <set>

#include <tallywick/demo/AgentPersona.h>
#include <tallywick/demo/AgentReply.h>
#include <tallywick/demo/DemoOptions.h>
#include <tallywick/demo/SimulatedAgent.h>

namespace tallywick {
namespace {

DemoOptions parsed(std::vector<std::string> arguments) {
    auto result = DemoOptions::parse(arguments);
    EXPECT_TRUE(result.has_value()) << result.error();
    return result.has_value() ? result.value() : DemoOptions{};
}

TEST(DemoOptions, ReadsEveryOptionInBothFormsAndRefusesWhatIsOutOfRange) {
    EXPECT_EQ(parsed({}), DemoOptions{});
    EXPECT_EQ(parsed({"--agents=3", "--duration", "2.5", "--runtime-dir", "/r", "--bridge=/b", "--verbose"}),
              (DemoOptions{.agents = 3,
                           .bridgePath = "/b",
                           .runtimeDirectory = "/r",
                           .durationSeconds = 2.5,
                           .verbose = true}));
    EXPECT_EQ(parsed({"--agents", "1", "--help"}).action, DemoOptions::Action::help);
    // As every program reads its options: an unknown one is an error, --help or not.
    EXPECT_EQ(DemoOptions::parse({"--help", "--no-such"}).error(), "unknown option '--no-such'");
    EXPECT_EQ(parsed({"--version"}).action, DemoOptions::Action::version);

    for (const auto& wrong : std::vector<std::vector<std::string>>{
             {"--agents", "0"},
             {"--agents", "65"},
             {"--agents", "3x"},
             {"--agents", "-2"},
             {"--duration", "0"},
             {"--duration", "-1"},
             {"--duration", "inf"},
             {"--duration", "nan"},
             {"--duration", "1e3"},
             {"--duration"},
             {"--runtime-dir="},
             {"--bridge", ""},
             {"--frobnicate"},
             {"agents"},
         }) {
        EXPECT_FALSE(DemoOptions::parse(wrong).has_value()) << wrong.front();
    }
}

// Client names pick the account of an agent known by its client, so no two may share one.
TEST(AgentPersona, CastsDistinctAgentsOfBothKindsPastTheEndOfTheNameLists) {
    const auto cast = AgentPersona::cast(30);
    ASSERT_EQ(cast.size(), 30u);
    std::set<std::string> labels, knownClients;
    int signers = 0;
    for (const auto& persona : cast) {
        labels.insert(persona.label);
        if (persona.signsUp) {
            ++signers;
            EXPECT_EQ(persona.clientName, "tallywick-demo");
        } else {
            knownClients.insert(persona.clientName);
            EXPECT_EQ(persona.clientTitle, persona.label);
        }
    }
    EXPECT_EQ(labels.size(), 30u);
    EXPECT_EQ(signers, 15);
    EXPECT_EQ(knownClients.size(), 15u);
    EXPECT_EQ(AgentPersona::cast(3)[0].label, "Scout");
    EXPECT_TRUE(AgentPersona::cast(3)[1].signsUp);
}

TEST(AgentReply, ReadsToolResultsErrorsAndNotifications) {
    const auto history = AgentReply::of(
        R"({"jsonrpc":"2.0","id":7,"result":{"content":[],"isError":false,"structuredContent":)"
        R"({"accountId":"A3","balance":49750,"entries":[{"id":"E1"},{"id":"E2"}],"nextBefore":"E2"}}})");
    EXPECT_EQ(history, (AgentReply{.readable = true,
                                   .id = 7,
                                   .hasResult = true,
                                   .accountId = "A3",
                                   .balance = 49750,
                                   .entryCount = 2,
                                   .nextBefore = "E2"}));

    const auto refused =
        AgentReply::of(R"({"jsonrpc":"2.0","id":2,"result":{"isError":true,"structuredContent":)"
                       R"({"error":{"code":"notSignedIn","message":"Sign up or log in first"}}}})");
    EXPECT_TRUE(refused.toolFailed);
    EXPECT_EQ(refused.toolErrorCode, "notSignedIn");
    EXPECT_EQ(refused.errorMessage, "Sign up or log in first");

    const auto missing = AgentReply::of(
        R"({"jsonrpc":"2.0","id":1,"error":{"code":-31000,"message":"Tallywick host is not running"}})");
    EXPECT_EQ(missing.errorCode, -31000);
    EXPECT_EQ(missing.errorMessage, "Tallywick host is not running");

    const auto pushed = AgentReply::of(
        R"({"jsonrpc":"2.0","method":"notifications/resources/updated","params":{"uri":"tallywick://account/A3/history"}})");
    EXPECT_FALSE(pushed.id);
    EXPECT_EQ(pushed.method, "notifications/resources/updated");
    EXPECT_EQ(pushed.uri, "tallywick://account/A3/history");
}

TEST(AgentReply, HostileLinesAreHeardAsNothingTheAgentActsOn) {
    SimulatedAgent agent(AgentPersona::cast(2)[1]);
    agent.openingLines();  // ids 1 (initialize) and 2 (signUp) are pending
    const std::string deep(100000, '[');
    for (const std::string& line : {
             std::string(),
             std::string("{"),
             std::string("[]"),
             std::string("null"),
             std::string("\"text\""),
             std::string("{\"id\":\"1\"}"),
             std::string("{\"id\":1.5}"),
             std::string("{\"id\":99}"),
             std::string("{\"id\":123456789012345678901234567890}"),
             std::string("{\"id\":1,\"error\":{\"code\":\"x\"}}"),
             std::string("{\"id\":2,\"result\":{\"structuredContent\":[1,2]}}"),
             std::string(
                 "{\"id\":2,\"result\":{\"structuredContent\":{\"balance\":\"many\",\"entries\":{}}}}"),
             std::string("{\"method\":\"x\xff\xfe\"}"),
             deep,
             std::string("{\"a\":1}{\"b\":2}"),
         }) {
        const auto heard = agent.hear(line);
        EXPECT_FALSE(heard.hostMissing) << line.substr(0, 60);
        EXPECT_FALSE(heard.handshakeDone) << line.substr(0, 60);
        EXPECT_TRUE(heard.answer.empty()) << line.substr(0, 60);
    }
    EXPECT_EQ(agent.hear("{\"id\":99}").note, "reply to an unknown request 99");
    EXPECT_EQ(agent.hear("{\"jsonrpc\":2}").note, "");
}

}  // namespace
}  // namespace tallywick
