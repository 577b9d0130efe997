// SPDX-License-Identifier: MIT
// A simulated agent talking through a real bridge to a real host, driven
// line by line: signing up, logging back in with its key, recovering from an
// account deleted at the desk, and hearing of changes to its history.
#include <gtest/gtest.h>

#include <random>
#include <regex>

#include <tallywick/demo/SimulatedAgent.h>
#include "bridge/BridgeProcess.h"
#include "support/HostClients.h"
#include "support/HostProcess.h"

namespace tallywick::testing {
namespace {

using namespace std::chrono_literals;

class Agent : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::path(::testing::TempDir()) / ("demo-agent-" + std::to_string(::getpid()));
        std::filesystem::remove_all(folder_);
        host_ = std::make_unique<HostProcess>(folder_, TALLYWICK_HOST_PATH);
        ASSERT_TRUE(host_->start()) << host_->stderrText();
        control_ = std::make_unique<ControlSession>(host_->socketPath());
    }
    void TearDown() override {
        control_.reset();
        host_.reset();
        std::filesystem::remove_all(folder_);
    }

    std::unique_ptr<BridgeProcess> bridge() {
        return std::make_unique<BridgeProcess>(
            TALLYWICK_BRIDGE_PATH, std::vector<std::string>{"--runtime-dir", host_->runtimeDirectory()},
            (folder_ / "bridge.stderr").string());
    }

    // Sends the agent's lines and hears one line per request, and per request
    // the agent sends in answer; gives the notes in order.
    std::vector<std::string> exchange(SimulatedAgent& agent, BridgeProcess& bridge,
                                      const std::vector<std::string>& lines) {
        std::size_t expected = 0;
        for (const auto& line : lines) {
            bridge.sendLine(line);
            if (line.find("\"id\":") != std::string::npos) ++expected;
        }
        std::vector<std::string> notes;
        while (notes.size() < expected) {
            const auto line = bridge.readLine(10s);
            if (!line) {
                ADD_FAILURE() << "no reply after " << notes.size() << " of " << expected;
                break;
            }
            auto heard = agent.hear(*line);
            EXPECT_FALSE(heard.hostMissing) << *line;
            for (const auto& answer : heard.answer) {
                bridge.sendLine(answer);
                ++expected;
            }
            notes.push_back(heard.note);
        }
        return notes;
    }

    // Lets the agent work until a note contains `wanted`; gives that note, or none after `tries` requests.
    std::optional<std::string> workUntil(SimulatedAgent& agent, BridgeProcess& bridge,
                                         const std::string& wanted, int tries = 80) {
        for (int i = 0; i < tries; ++i) {
            for (const auto& note : exchange(agent, bridge, {agent.nextRequest(random_)})) {
                EXPECT_EQ(note.find("error"), std::string::npos) << note;
                if (note.find(wanted) != std::string::npos) return note;
            }
        }
        return std::nullopt;
    }

    std::filesystem::path folder_;
    std::unique_ptr<HostProcess> host_;
    std::unique_ptr<ControlSession> control_;
    std::mt19937 random_{20250304};
};

TEST_F(Agent, SignedUpAgentLogsBackInWithItsKeyAndSignsUpAgainWhenItsAccountIsGone) {
    SimulatedAgent agent(AgentPersona::cast(2)[1]);
    auto first = bridge();
    const auto opened = exchange(agent, *first, agent.openingLines());
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_EQ(opened[0].rfind("connected as tallywick-demo", 0), 0u) << opened[0];
    ASSERT_TRUE(agent.accountId()) << opened[1];
    const std::string account = *agent.accountId();
    EXPECT_EQ(opened[1], "signUp → account " + account + ", balance 50000");
    EXPECT_TRUE(workUntil(agent, *first, "getBalance → 50000"));
    first->closeInput();
    ASSERT_TRUE(first->wait(10s));
    agent.disconnected();

    // A new bridge knows nothing of the old session: the agent logs in with the key it kept.
    auto second = bridge();
    const auto again = agent.openingLines();
    ASSERT_EQ(again.size(), 3u);
    EXPECT_TRUE(std::regex_search(again[2], std::regex(R"("name":"login".*"key":"[A-Za-z0-9]{24}")")))
        << again[2];
    EXPECT_EQ(exchange(agent, *second, again)[1], "login → account " + account + ", balance 50000");
    const auto state = control_->snapshot();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->connections.size(), 1u);
    EXPECT_EQ(state->connections[0].accountId, account);
    EXPECT_TRUE(state->connections[0].authenticated);

    ASSERT_EQ(control_->change(ControlRequest::deleteAccount(account)), "ok");
    const auto gone = workUntil(agent, *second, "is gone");
    ASSERT_TRUE(gone);
    EXPECT_EQ(*gone, "account " + account + " is gone, signing up again");
    ASSERT_TRUE(agent.accountId());
    EXPECT_NE(*agent.accountId(), account);
    const auto after = control_->snapshot();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->connections.at(0).accountId, agent.accountId());
}

TEST_F(Agent, ClientInfoAgentIsKnownByItsClientAndHearsOfChangesToItsHistory) {
    SimulatedAgent agent(AgentPersona::cast(1)[0]);
    auto link = bridge();
    const auto opened = exchange(agent, *link, agent.openingLines());
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0], "connected as scout-agent 1.4.2 (protocol 2025-11-25)");
    ASSERT_TRUE(workUntil(agent, *link, "subscribed to"));
    ASSERT_TRUE(agent.accountId());
    const std::string uri = "tallywick://account/" + *agent.accountId() + "/history";

    const auto state = control_->snapshot();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->accounts.size(), 1u);
    EXPECT_EQ(state->accounts[0].identityMode, IdentityMode::clientInfo);
    EXPECT_EQ(state->accounts[0].clientInfo, (ClientInfo{"scout-agent", "1.4.2", "Scout"}));

    ASSERT_EQ(
        control_->change(ControlRequest::createEntry(
            {.accountId = *agent.accountId(), .kind = TransactionKind::debit, .amount = 250, .memo = "tea"})),
        "ok");
    const auto pushed = link->readLine(10s);
    ASSERT_TRUE(pushed);
    EXPECT_EQ(agent.hear(*pushed).note, "history changed (" + uri + ")");
    EXPECT_TRUE(workUntil(agent, *link, "balance 49750") || workUntil(agent, *link, "→ 49750"));
}

}  // namespace
}  // namespace tallywick::testing
