// SPDX-License-Identifier: MIT
// The real tallywick-bridge between pipes and a real host.
#include <signal.h>

#include <thread>

#include "bridge/BridgeTestSupport.h"
#include "support/HostClients.h"

using namespace tallywick;
using namespace tallywick::testing;
using namespace std::chrono_literals;
using namespace std::string_literals;

namespace {

constexpr std::int64_t kHostNotRunning = -31000;

bool exitedCleanly(std::optional<int> status) {
    return status && WIFEXITED(*status) && WEXITSTATUS(*status) == 0;
}

// Signs a fresh bridge up; gives the account's id.
std::string signUp(BridgeProcess& bridge, const std::string& client) {
    bridge.sendLine(BridgeFixture::initialize(client));
    bridge.sendLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    bridge.sendLine(
        BridgeFixture::tool("1", "signUp", R"({"key":"correct horse","displayName":")" + client + "\"}"));
    const auto initialized = bridge.readLine();
    const auto signedUp = bridge.readLine();
    EXPECT_TRUE(initialized && signedUp);
    const auto reply = Reply::of(signedUp.value_or(""));
    EXPECT_EQ(reply.id, "1");
    EXPECT_FALSE(reply.accountId.empty()) << signedUp.value_or("");
    return reply.accountId;
}

}  // namespace

class Bridge : public BridgeFixture {};

TEST_F(Bridge, CommandLine) {
    EXPECT_EQ(HostProcess::runToEnd({TALLYWICK_BRIDGE_PATH, "--version"}, "/dev/null"), 0);
    EXPECT_EQ(HostProcess::runToEnd({TALLYWICK_BRIDGE_PATH, "--help"}, "/dev/null"), 0);
    const int status = HostProcess::runToEnd({TALLYWICK_BRIDGE_PATH, "--no-such-flag"}, "/dev/null");
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2);
}

// A burst written at once: every request answered, in the order sent (the
// order the host answers in), notifications never answered, and the bridge
// leaves only after the last reply is out.
TEST_F(Bridge, PipelinedBurstIsAnsweredInOrderWithNothingForNotifications) {
    auto bridge = this->bridge();
    const std::string account = signUp(*bridge, "burst");
    std::string burst;
    std::vector<std::string> ids;
    for (int i = 0; i < 400; ++i) {
        const std::string id = i % 3 == 0 ? "\"s" + std::to_string(i) + "\"" : std::to_string(1000 + i);
        ids.push_back(id);
        burst += (i % 2 ? BridgeFixture::tool(id, "getBalance") : BridgeFixture::request(id, "ping")) + "\n";
        if (i % 7 == 0)
            burst += R"({"jsonrpc":"2.0","method":"notifications/cancelled","params":{}})" + "\n"s;
    }
    ASSERT_TRUE(bridge->send(burst));
    bridge->closeInput();
    for (std::size_t i = 0; i < ids.size(); ++i) {
        const auto line = bridge->readLine();
        ASSERT_TRUE(line) << "reply " << i << " missing";
        const auto reply = Reply::of(*line);
        ASSERT_EQ(reply.id, ids[i]) << *line;
        if (i % 2) {
            EXPECT_EQ(reply.accountId, account) << *line;
        }
    }
    EXPECT_EQ(bridge->readRest(), "");
    EXPECT_TRUE(exitedCleanly(bridge->wait(10s)));
}

TEST_F(Bridge, ReassemblesPartialWritesAndAcceptsCrLf) {
    auto bridge = this->bridge();
    const std::string ping = BridgeFixture::request("\"partial\"", "ping");
    for (std::size_t at = 0; at < ping.size(); at += 9) {
        ASSERT_TRUE(bridge->send(ping.substr(at, 9)));
        std::this_thread::sleep_for(2ms);
    }
    ASSERT_TRUE(bridge->send("\r\n" + BridgeFixture::request("2", "ping") + "\r\n\r\n" +
                             BridgeFixture::request("3", "ping")));  // the last one never ends in LF
    bridge->closeInput();
    EXPECT_EQ(Reply::of(bridge->readLine().value_or("")).id, "\"partial\"");
    EXPECT_EQ(Reply::of(bridge->readLine().value_or("")).id, "2");
    EXPECT_EQ(Reply::of(bridge->readLine().value_or("")).id, "3");
    EXPECT_EQ(bridge->readRest(), "");
    EXPECT_TRUE(exitedCleanly(bridge->wait(10s)));
}

// 4 MiB is the longest line: one byte more is refused, the limit itself is served.
TEST_F(Bridge, RefusesLinesOverFourMebibytesAndGoesOn) {
    auto bridge = this->bridge();
    const auto padded = [](const std::string& id, std::size_t length) {
        const std::string head = R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":"ping","params":{"pad":")";
        return head + std::string(length - head.size() - 3, 'p') + "\"}}";
    };
    const std::size_t limit = 4u << 20;
    std::thread writer([&] {
        bridge->send(padded("1", limit + 1) + "\n" + BridgeFixture::request("2", "ping") + "\n");
        bridge->send(padded("3", limit) + "\r\n");
        bridge->closeInput();
    });
    const auto refused = Reply::of(bridge->readLine().value_or(""));
    EXPECT_EQ(refused.id, "null");
    EXPECT_EQ(refused.errorCode, -32600);
    EXPECT_NE(refused.errorMessage.find("4 MiB"), std::string::npos);
    EXPECT_EQ(Reply::of(bridge->readLine().value_or("")).id, "2");
    const auto atLimit = Reply::of(bridge->readLine().value_or(""));
    EXPECT_EQ(atLimit.id, "3");
    EXPECT_FALSE(atLimit.errorCode);
    writer.join();
    EXPECT_TRUE(exitedCleanly(bridge->wait(10s)));
}

TEST_F(Bridge, WithoutAHostEveryRequestIsAnsweredAtOnce) {
    host_->stop();
    auto bridge = this->bridge(true);
    const auto start = std::chrono::steady_clock::now();
    bridge->sendLine(BridgeFixture::initialize("alone"));
    bridge->sendLine(R"({"jsonrpc":"2.0","method":"notifications/initialized"})");
    bridge->sendLine(BridgeFixture::tool("\"x\"", "getBalance"));
    bridge->closeInput();
    for (const std::string id : {"0", "\"x\""}) {
        const auto reply = Reply::of(bridge->readLine().value_or(""));
        EXPECT_EQ(reply.id, id);
        EXPECT_EQ(reply.errorCode, kHostNotRunning);
        EXPECT_EQ(reply.errorMessage, "Tallywick host is not running");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
    EXPECT_EQ(bridge->readRest(), "");
    EXPECT_TRUE(exitedCleanly(bridge->wait(10s)));
    EXPECT_NE(bridge->stderrText().find("none could be started: the host executable is missing"),
              std::string::npos)
        << bridge->stderrText();
}

// A killed host with none to start on demand: the call in flight is answered
// one way or the other, calls while it is away get the error, and once it is
// back the session is replayed so the same account answers without a new login.
TEST_F(Bridge, SurvivesTheHostBeingKilledAndRestarted) {
    auto bridge = this->bridge(true);
    const std::string account = signUp(*bridge, "survivor");
    bridge->sendLine(BridgeFixture::tool("10", "getBalance"));
    host_->kill(SIGKILL);
    const auto inFlight = Reply::of(bridge->readLine().value_or(""));
    EXPECT_EQ(inFlight.id, "10");
    EXPECT_TRUE(inFlight.accountId == account || inFlight.errorCode == kHostNotRunning);

    bridge->sendLine(BridgeFixture::tool("11", "getBalance"));
    const auto away = Reply::of(bridge->readLine().value_or(""));
    EXPECT_EQ(away.id, "11");
    EXPECT_EQ(away.errorCode, kHostNotRunning);

    ASSERT_TRUE(host_->start()) << host_->stderrText();
    bridge->sendLine(BridgeFixture::tool("12", "getBalance"));
    const auto back = Reply::of(bridge->readLine().value_or(""));
    EXPECT_EQ(back.id, "12");
    EXPECT_EQ(back.accountId, account);
    EXPECT_FALSE(back.toolError);
    bridge->closeInput();
    EXPECT_EQ(bridge->readRest(), "") << "replayed lines must not be answered to the agent";
    EXPECT_TRUE(exitedCleanly(bridge->wait(10s)));
}

// With the host beside it, a bridge that finds no host starts one: the
// first call of the day works, and a killed host comes back on the next call
// with the session replayed, the same account, no new login.
TEST_F(Bridge, StartsTheHostOnDemand) {
    host_->stop();
    auto bridge = this->bridge();
    const std::string account = signUp(*bridge, "early bird");
    ASSERT_FALSE(account.empty()) << bridge->stderrText();
    const auto first = host_->lockHolder();
    ASSERT_TRUE(first);

    ::kill(*first, SIGKILL);
    // A line racing the crash is answered -31000 (it may have reached the
    // host); the next one, once the bridge has seen the loss, starts a host.
    while (bridge->stderrText().find("the peer went away") == std::string::npos)
        std::this_thread::sleep_for(10ms);
    bridge->sendLine(BridgeFixture::tool("20", "getBalance"));
    const auto back = Reply::of(bridge->readLine().value_or(""));
    EXPECT_EQ(back.id, "20");
    EXPECT_EQ(back.accountId, account) << bridge->stderrText();
    EXPECT_NE(host_->lockHolder(), first);
    bridge->closeInput();
    EXPECT_EQ(bridge->readRest(), "");
    EXPECT_TRUE(exitedCleanly(bridge->wait(10s)));
    EXPECT_NE(bridge->stderrText().find("no host was running: started"), std::string::npos)
        << bridge->stderrText();
}

// Pushed notifications come between replies as lines of their own.
TEST_F(Bridge, PushedNotificationsArriveAsWholeLinesBetweenReplies) {
    auto bridge = this->bridge();
    const std::string account = signUp(*bridge, "subscriber");
    const std::string uri = "tallywick://account/" + account + "/history";
    bridge->sendLine(BridgeFixture::request("2", "resources/subscribe", R"({"uri":")" + uri + "\"}"));
    ASSERT_EQ(Reply::of(bridge->readLine().value_or("")).id, "2");

    constexpr int pings = 300, entries = 5;
    std::thread pinger([&] {
        for (int i = 0; i < pings; ++i)
            bridge->sendLine(BridgeFixture::request(std::to_string(100 + i), "ping"));
    });
    ControlSession control(host_->socketPath());
    for (int i = 0; i < entries; ++i) {
        EXPECT_EQ(control.change(ControlRequest::createEntry(
                      {.accountId = account, .kind = TransactionKind::credit, .amount = 5, .memo = "desk"})),
                  "ok");
    }
    pinger.join();
    int replies = 0, notifications = 0;
    while (replies < pings || notifications < entries) {
        const auto line = bridge->readLine();
        ASSERT_TRUE(line) << replies << " replies, " << notifications << " notifications";
        const auto reply = Reply::of(*line);
        ASSERT_TRUE(reply.json) << *line;
        if (reply.method == "notifications/resources/updated") {
            EXPECT_EQ(reply.uri, uri);
            ++notifications;
        } else {
            EXPECT_EQ(reply.id, std::to_string(100 + replies++));
        }
    }
}
