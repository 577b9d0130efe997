// SPDX-License-Identifier: MIT
// The host as a process: control requests, events and agent traffic over
// real sockets, and how it starts and stops.
#include <simdjson.h>
#include <sys/wait.h>

#include <algorithm>
#include <thread>

#include <tallywick/model/TallywickCoding.h>

#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

std::string atPointer(const std::string& json, std::string_view pointer) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(json).get(root)) return "<unparsable>";
    std::string_view value;
    if (root.at_pointer(pointer).get(value)) return "<missing>";
    return std::string(value);
}

template <class Case>
std::size_t countOf(const std::vector<ControlEvent>& events) {
    return std::count_if(events.begin(), events.end(),
                         [](const ControlEvent& e) { return std::holds_alternative<Case>(e.value); });
}

NewLedgerEntry credit(const std::string& account, std::int64_t amount, std::string memo = "work") {
    return {.accountId = account, .kind = TransactionKind::credit, .amount = amount, .memo = std::move(memo)};
}

using HostServer = HostFixture;

TEST_F(HostServer, EmptyHostAnswersWithDefaultsAndRefusesBadRequests) {
    auto app = control();
    auto state = app->snapshot();
    ASSERT_TRUE(state);
    EXPECT_EQ(state->settings, (Settings{.allowUnauthenticated = true, .startingPoints = 50000}));
    EXPECT_FALSE(state->hostVersion.empty());

    EXPECT_EQ(app->change(ControlRequest::createEntry(credit("A404", 5))), "No such account");
    EXPECT_EQ(app->change(ControlRequest::setStartingPoints(-1)), "Starting points must not be negative");
    EXPECT_EQ(app->change(ControlRequest::setStartingPoints(7)), "ok");
    EXPECT_EQ(app->change(ControlRequest::setAllowUnauthenticated(false)), "ok");
    EXPECT_EQ(app->snapshot()->settings, (Settings{.allowUnauthenticated = false, .startingPoints = 7}));

    // A request that does not decode is answered, not dropped, and the host keeps serving.
    AgentLink raw(host_->socketPath());
    EXPECT_EQ(raw.call("control", R"({"deleteEntry":{"entryId":"E1"}})"),
              R"({"failure":{"_0":"Malformed request"}})");
    EXPECT_EQ(raw.call("control", "not json"), R"({"failure":{"_0":"Malformed request"}})");
    EXPECT_FALSE(raw.call("noSuchMethod", "{}"));
    EXPECT_TRUE(app->snapshot());
}

TEST_F(HostServer, ChangesFromTheDeskAreOrderedNumberedAndAnnouncedToEveryApplication) {
    auto first = control();
    auto second = control();
    ASSERT_EQ(first->change(ControlRequest::setStartingPoints(100)), "ok");
    ASSERT_TRUE(second->snapshot());  // the second application is connected and listening

    auto scout = agent();
    ASSERT_TRUE(scout->send(initializeLine("scout")));  // unauthenticated agents are allowed: bound at once
    auto state = first->snapshot();
    ASSERT_EQ(state->accounts.size(), 1u);
    const Account account = state->accounts[0];
    EXPECT_EQ(account.displayName, "scout");
    EXPECT_EQ(account.balance, 100);
    EXPECT_TRUE(account.isConnected);
    ASSERT_EQ(state->connections.size(), 1u);
    EXPECT_EQ(state->connections[0].accountId, account.id);
    EXPECT_FALSE(state->connections[0].authenticated);

    ASSERT_EQ(first->change(ControlRequest::createEntry(credit(account.id, 40, "first"))), "ok");
    ASSERT_EQ(first->change(ControlRequest::createEntry(
                  {.accountId = account.id, .kind = TransactionKind::debit, .amount = 15, .memo = "second"})),
              "ok");
    state = first->snapshot();
    ASSERT_EQ(state->entries.size(), 3u);
    EXPECT_EQ(state->entries[0].memo, "second");  // newest first
    EXPECT_EQ(state->accounts[0].balance, 125);

    // What an update keeps is the store's to test; here it reaches the host.
    LedgerEntry edited = state->entries[1];
    edited.amount = 60;
    edited.memo = "first, corrected";
    ASSERT_EQ(first->change(ControlRequest::updateEntry(edited)), "ok");
    state = first->snapshot();
    EXPECT_EQ(state->entries[1].memo, "first, corrected");
    EXPECT_EQ(state->accounts[0].balance, 145);
    ASSERT_EQ(first->change(ControlRequest::deleteEntry(state->entries[0].id)), "ok");

    ASSERT_EQ(first->change(ControlRequest::renameAccount(account.id, "Scout 100%")), "ok");
    EXPECT_EQ(first->snapshot()->accounts[0].displayName, "Scout 100%");

    // Both applications heard of every committed change, and of the agent's traffic.
    // The first application also heard of the change it made before the second came.
    EXPECT_TRUE(second->waitUntil([](const auto& e) { return countOf<ControlEvent::DataChanged>(e) >= 6; }));
    const auto& events = second->events();
    EXPECT_EQ(countOf<ControlEvent::DataChanged>(events), 6u);
    EXPECT_GE(countOf<ControlEvent::ConnectionsChanged>(events), 1u);
    EXPECT_EQ(countOf<ControlEvent::ApiCall>(events), 2u);  // initialize and its reply
    EXPECT_EQ(countOf<ControlEvent::DataChanged>(first->events()), 7u);

    // Deleting the account takes its ledger and unbinds its agent.
    ASSERT_EQ(first->change(ControlRequest::deleteAccount(account.id)), "ok");
    state = first->snapshot();
    EXPECT_TRUE(state->accounts.empty());
    EXPECT_TRUE(state->entries.empty());
    ASSERT_EQ(state->connections.size(), 1u);
    EXPECT_FALSE(state->connections[0].accountId);

    // An agent that goes away leaves the connection list. The host hears of
    // it on its own time, so the test looks until it has.
    scout.reset();
    bool gone = false;
    for (int i = 0; i < 500 && !gone; ++i) {
        gone = first->snapshot()->connections.empty();
        if (!gone) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_TRUE(gone);
    // Connecting (and binding), the unbinding and the leaving: three announcements.
    EXPECT_TRUE(
        second->waitUntil([](const auto& e) { return countOf<ControlEvent::ConnectionsChanged>(e) >= 3; }));
}

TEST_F(HostServer, AgentTrafficIsLoggedAndSubscribersHearOfDeskChanges) {
    auto app = control();
    ASSERT_EQ(app->change(ControlRequest::setAllowUnauthenticated(false)), "ok");
    auto bot = agent();
    ASSERT_TRUE(bot->send(initializeLine("bot")));
    EXPECT_EQ(bot->send(R"({"jsonrpc":"2.0","method":"notifications/initialized"})"), "");

    const std::string key = "correct horse battery";
    auto signedUp = bot->send(toolLine(2, "signUp", R"({"key":")" + key + R"(","displayName":"Bot"})"));
    ASSERT_TRUE(signedUp);
    const std::string accountId = atPointer(*signedUp, "/result/structuredContent/accountId");
    ASSERT_EQ(atPointer(*signedUp, "/result/structuredContent/displayName"), "Bot");

    const std::string uri = "tallywick://account/" + accountId + "/history";
    auto subscribed = bot->send(
        R"({"jsonrpc":"2.0","id":3,"method":"resources/subscribe","params":{"uri":")" + uri + R"("}})");
    ASSERT_TRUE(subscribed);
    EXPECT_EQ(subscribed->find("error"), std::string::npos) << *subscribed;

    ASSERT_EQ(app->change(ControlRequest::createEntry(credit(accountId, 5))), "ok");
    for (int i = 0; i < 200 && bot->notifications().empty(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_EQ(bot->notifications().size(), 1u);
    EXPECT_EQ(atPointer(bot->notifications()[0], "/method"), "notifications/resources/updated");
    EXPECT_EQ(atPointer(bot->notifications()[0], "/params/uri"), uri);

    auto state = app->snapshot();
    ASSERT_EQ(state->connections.size(), 1u);
    EXPECT_TRUE(state->connections[0].authenticated);
    ASSERT_TRUE(state->connections[0].clientInfo);
    EXPECT_EQ(state->connections[0].clientInfo->name, "bot");
    // Newest first: the pushed notification, then the subscription's reply and request, ...
    ASSERT_GE(state->recentApiLog.size(), 7u);
    EXPECT_EQ(state->recentApiLog[0].direction, Direction::notification);
    EXPECT_EQ(state->recentApiLog[1].direction, Direction::response);
    EXPECT_FALSE(state->recentApiLog[1].method);
    EXPECT_EQ(state->recentApiLog[2].method, "resources/subscribe");
    EXPECT_EQ(state->recentApiLog[2].accountId, accountId);
    EXPECT_EQ(state->recentApiLog[2].clientLabel, "bot");
    for (const auto& record : state->recentApiLog) EXPECT_EQ(record.payload.find(key), std::string::npos);
    EXPECT_TRUE(std::any_of(state->recentApiLog.begin(), state->recentApiLog.end(), [](const ApiLogEntry& r) {
        return r.payload.find("[redacted]") != std::string::npos;
    }));

    // The key is never written in clear: not to the database, not to stderr.
    app.reset();
    bot.reset();
    host_->stop();
    // Backups included.
    for (const auto& file : std::filesystem::recursive_directory_iterator(folder_ / "data")) {
        if (!file.is_regular_file()) continue;
        std::ifstream in(file.path(), std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        EXPECT_EQ(bytes.find(key), std::string::npos) << file.path();
    }
    EXPECT_EQ(host_->stderrText().find(key), std::string::npos);
}

TEST_F(HostServer, HostileAgentLinesAreAnsweredAndEveryoneElseIsStillServed) {
    auto app = control();
    auto bad = agent();
    auto good = agent();
    ASSERT_TRUE(good->send(initializeLine("good")));
    const std::string huge =
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"" + std::string(8 << 20, 'x') + "\"}";
    for (const std::string& line :
         {std::string("not json"), std::string("[1,2]"), std::string("{}"),
          std::string(R"({"jsonrpc":"2.0","id":7,"method":"no/such"})"),
          std::string(R"({"jsonrpc":"2.0","id":8,"method":"tools/call","params":7})"), huge}) {
        auto reply = bad->send(line);
        ASSERT_TRUE(reply) << line.substr(0, 40);
        EXPECT_NE(atPointer(*reply, "/error/message"), "<missing>") << *reply;
    }
    auto balance = good->send(toolLine(2, "getBalance", "{}"));
    ASSERT_TRUE(balance);
    EXPECT_EQ(atPointer(*balance, "/result/structuredContent/displayName"), "good");
    // The logged copy of the huge line is cut, so snapshots stay small.
    const auto state = app->snapshot();
    ASSERT_TRUE(state);
    for (const auto& record : state->recentApiLog) EXPECT_LE(record.payload.size(), 64u * 1024);
}

// Control events carry every agent's traffic: they go to the desk's
// connections only. An agent's own later reply shows nothing came before it.
TEST_F(HostServer, ControlEventsNeverReachAnAgent) {
    auto desk = control();
    ASSERT_TRUE(desk->snapshot());
    auto bot = agent();
    ASSERT_TRUE(bot->send(initializeLine("bot")));
    ASSERT_TRUE(desk->request(ControlRequest::setStartingPoints(7)));
    ASSERT_TRUE(desk->waitUntil([](const std::vector<ControlEvent>& events) {
        return std::any_of(events.begin(), events.end(),
                           [](const ControlEvent& e) { return e.caseName() == "dataChanged"; });
    }));
    ASSERT_TRUE(bot->send(R"({"jsonrpc":"2.0","id":2,"method":"ping"})"));
    for (const std::string& method : bot->messageMethods()) EXPECT_NE(method, "controlEvent");
    EXPECT_GE(desk->events().size(), 2u) << "the desk heard the agent's traffic and the change";
}

TEST_F(HostServer, OneHostPerUserAndACleanStopOnSignal) {
    HostProcess second(folder_, TALLYWICK_HOST_PATH);
    const int status = HostProcess::runToEnd({TALLYWICK_HOST_PATH, "--database", host_->databasePath(),
                                              "--runtime-dir", host_->runtimeDirectory()},
                                             (folder_ / "second.stderr").string());
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    std::ifstream in(folder_ / "second.stderr");
    std::string line, extra;
    std::getline(in, line);
    EXPECT_NE(line.find("already running"), std::string::npos);
    EXPECT_FALSE(std::getline(in, extra));

    auto app = control();
    ASSERT_TRUE(app->snapshot());
    const int stopped = host_->kill(SIGTERM);
    ASSERT_TRUE(WIFEXITED(stopped));
    EXPECT_EQ(WEXITSTATUS(stopped), 0);
    EXPECT_FALSE(std::filesystem::exists(host_->socketPath()))
        << "a stopped host leaves no socket to wait on";
    EXPECT_FALSE(app->snapshot());
    ASSERT_TRUE(host_->start());
    EXPECT_TRUE(app->snapshot());  // the next request reconnects

    const int usage =
        HostProcess::runToEnd({TALLYWICK_HOST_PATH, "--no-such-flag"}, (folder_ / "usage.stderr").string());
    EXPECT_EQ(WEXITSTATUS(usage), 2);
}

// A second host on the same file through another runtime folder would keep
// balances of its own: it refuses, names the first one's folder, and the
// first goes on serving.
TEST_F(HostServer, OneHostPerDatabase) {
    const auto otherRuntime = folder_ / "other-run";
    const int status = HostProcess::runToEnd(
        {TALLYWICK_HOST_PATH, "--database", host_->databasePath(), "--runtime-dir", otherRuntime.string()},
        (folder_ / "second.stderr").string());
    // The ledger's host is reached in its own folder: nothing is wrong, and
    // clients find it there through the ledger.
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    const std::string said = slurp(folder_ / "second.stderr");
    EXPECT_NE(said.find("the host in " + host_->runtimeDirectory() + " serves " + host_->databasePath()),
              std::string::npos)
        << said;
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_FALSE(std::filesystem::exists(endpointPath(otherRuntime.string())));
    EXPECT_TRUE(control()->snapshot());
}

// The runtime folder, or only the socket, removed under a running host (a
// cleanup script): within a second the host is found where it was, in a
// private folder, its lock held, and a second host still leaves. Deep
// folders too, whose socket is bound through the folder.
TEST_F(HostServer, KeepsItsRuntimeFolderWhateverRemovesIt) {
    const auto comesBack = [this](const char* what) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (!acceptsConnections(host_->socketPath()) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_TRUE(acceptsConnections(host_->socketPath())) << what << " was not made again within 1 s";
        EXPECT_EQ(std::filesystem::status(host_->runtimeDirectory()).permissions(),
                  std::filesystem::perms::owner_all);
        EXPECT_TRUE(control()->snapshot());
        EXPECT_EQ(host_->lockHolder(), host_->pid());
    };
    for (const bool deep : {false, true}) {
        if (deep) moveHostDeep();
        std::filesystem::remove_all(host_->runtimeDirectory());
        comesBack("the folder");
        std::filesystem::remove(host_->socketPath());
        comesBack("the socket");
    }
    const int status = HostProcess::runToEnd({TALLYWICK_HOST_PATH, "--database", host_->databasePath(),
                                              "--runtime-dir", host_->runtimeDirectory()},
                                             (folder_ / "second.stderr").string());
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the second host left: this one serves";
    EXPECT_TRUE(control()->snapshot());
}

// A runtime folder deeper than a socket address holds: served and reached.
TEST_F(HostServer, ServesARuntimeFolderOfAnyLength) {
    moveHostDeep();
    ASSERT_GE(host_->socketPath().size(), 150u);
    const auto state = control()->snapshot();
    ASSERT_TRUE(state);
    auto agent = this->agent();
    EXPECT_NE(agent->send(initializeLine("deep")).value_or("").find("\"result\""), std::string::npos);
    host_->stop();
    EXPECT_FALSE(std::filesystem::exists(host_->socketPath()));
}

}  // namespace
}  // namespace tallywick::testing

namespace tallywick::testing {
namespace {

// Switching unauthenticated agents off ends every binding made by client
// information at once, subscriptions included, while agents that signed up
// keep theirs; the desk hears of it.
TEST_F(HostServer, SwitchingUnauthenticatedAgentsOffUnbindsThemAtOnce) {
    auto app = control();
    auto known = agent();
    ASSERT_TRUE(known->send(initializeLine("known-by-name")));
    auto signedUp = agent();
    ASSERT_TRUE(signedUp->send(initializeLine("with-a-key")));
    ASSERT_TRUE(signedUp->send(toolLine(2, "signUp", R"({"key":"a long enough key"})")));
    const auto before = app->snapshot();
    ASSERT_EQ(before->connections.size(), 2u);
    const std::string knownAccount = *before->connections[0].accountId;
    ASSERT_TRUE(known->send(
        R"({"jsonrpc":"2.0","id":3,"method":"resources/subscribe","params":{"uri":"tallywick://account/)" +
        knownAccount + R"(/history"}})"));

    const auto heard = app->events().size();
    ASSERT_EQ(app->change(ControlRequest::setAllowUnauthenticated(false)), "ok");
    const auto after = app->snapshot();
    ASSERT_EQ(after->connections.size(), 2u);
    EXPECT_EQ(after->connections[0].accountId, std::nullopt) << "unbound without a request of its own";
    EXPECT_TRUE(after->connections[1].accountId && after->connections[1].authenticated);
    EXPECT_TRUE(app->waitUntil([&](const std::vector<ControlEvent>& events) {
        return std::any_of(events.begin() + static_cast<std::ptrdiff_t>(heard), events.end(),
                           [](const auto& event) {
                               return std::holds_alternative<ControlEvent::ConnectionsChanged>(event.value);
                           });
    }));
    // The ended subscription hears nothing of a change to its old account.
    ASSERT_EQ(app->change(ControlRequest::createEntry(
                  {.accountId = knownAccount, .kind = TransactionKind::credit, .amount = 3})),
              "ok");
    ASSERT_TRUE(known->send(R"({"jsonrpc":"2.0","id":4,"method":"ping"})"));
    EXPECT_TRUE(known->notifications().empty());
}

}  // namespace
}  // namespace tallywick::testing

namespace tallywick::testing {
namespace {

// A key wrapped into a line in several ways (LogRecordsTest has them all):
// the key reaches neither the snapshot's log, nor the events pushed to the
// desk, nor stderr.
TEST_F(HostServer, KeysNeverReachTheLogHoweverTheLineIsWritten) {
    const std::string key = "KEY-3141592653";
    auto app = control();
    ASSERT_TRUE(app->snapshot());  // the desk follows the events from here
    auto bot = agent();
    ASSERT_TRUE(bot->send(initializeLine("wrapper")));
    const std::string lines[] = {
        R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"signUp","arguments":{"key":")" +
            key + R"("}}})",
        R"({"jsonrpc":"2.0","id":4,"method":"tools/call","params":{"name":"login"},"params":{"arguments":{"key":")" +
            key + R"("}}})",
        R"({"jsonrpc":"2.0","id":7,"method":"tools/call","params":{"arguments":{"k\u0065y":")" + key +
            R"("}})",
        R"({"jsonrpc":"2.0","id":8,"method":"tools/call","params":{"arguments":{"key":")" + key.substr(0, 5),
        key.substr(5) + R"("}}})",
        R"({"jsonrpc":"2.0","id":9,"method":"ping","params":{"deep":[{"key":")" + key + R"("}]}})",
    };
    for (const auto& line : lines) ASSERT_TRUE(bot->send(line)) << line;
    const auto state = app->snapshot();
    ASSERT_TRUE(state);
    ASSERT_GE(state->recentApiLog.size(), std::size(lines));
    for (const auto& record : state->recentApiLog)
        EXPECT_EQ(record.payload.find(key), std::string::npos) << record.payload;
    for (const auto& event : app->events()) {
        const auto text = TallywickCoding::encodeToString(event);
        ASSERT_TRUE(text);
        EXPECT_EQ(text->find(key), std::string::npos) << *text;
        EXPECT_EQ(text->find(key.substr(5)), std::string::npos) << *text;
    }
    const auto unreadable =
        std::count_if(state->recentApiLog.begin(), state->recentApiLog.end(),
                      [](const auto& r) { return r.payload.rfind("[unreadable line of ", 0) == 0; });
    EXPECT_EQ(unreadable, 4);
    EXPECT_EQ(host_->stderrText().find(key), std::string::npos);
}

// The desk's activity list holds as many records as a snapshot carries: more
// and a refresh would drop rows the events had filled, fewer and it shrinks.
TEST_F(HostServer, SnapshotCarriesTheNewestLogRecordsTheDeskKeeps) {
    auto app = control();
    auto bot = agent();
    ASSERT_TRUE(bot->send(initializeLine("bot")));
    const int pings = static_cast<int>(kSnapshotApiLogSize) / 2 + 10;  // each a request and a response
    for (int i = 1; i <= pings; ++i)
        ASSERT_TRUE(
            bot->send(R"({"jsonrpc":"2.0","id":)" + std::to_string(100 + i) + R"(,"method":"ping"})"));
    const auto state = app->snapshot();
    ASSERT_TRUE(state);
    ASSERT_EQ(state->recentApiLog.size(), kSnapshotApiLogSize);
    EXPECT_EQ(state->recentApiLog.front().direction, Direction::response);
    EXPECT_NE(state->recentApiLog[1].payload.find(std::to_string(100 + pings)), std::string::npos)
        << "newest first: " << state->recentApiLog[1].payload;
}

}  // namespace
}  // namespace tallywick::testing
