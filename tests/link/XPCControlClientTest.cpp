// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <thread>

#include <tallywick/link/EventLoop.h>
#include <tallywick/link/LinkListener.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/XPCControlClient.h>
#include <tallywick/model/TallywickCoding.h>

#include "LinkTestSupport.h"

using namespace tallywick;
using namespace tallywick::testing;
using namespace std::chrono_literals;

extern char** environ;

namespace {

const ServiceIdentity kIds = ServiceIdentity::make("com.example.Ledger", "ABCDE12345");

bool accepts(const std::string& path) {
    const int fd = connectUnix(path);
    if (fd >= 0) ::close(fd);
    return fd >= 0;
}

// The scripted host as a process of its own, with the host identity.
class HostProcess {
public:
    HostProcess(const ScratchRuntime& runtime, const std::string& script) : socket_(runtime.socket()) {
        const std::string scriptPath = (runtime.path() / "host.script").string();
        std::ofstream(scriptPath) << script;
        const std::string program = std::string(TALLYWICK_TEST_PEER_DIR) + "/scripted_host";
        char* const args[] = {const_cast<char*>(program.c_str()), const_cast<char*>(socket_.c_str()),
                              const_cast<char*>(scriptPath.c_str()), nullptr};
        std::filesystem::remove(socket_);
        EXPECT_EQ(::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, args, environ), 0);
        // The file appears at bind, before listen; wait until it accepts.
        bool up = false;
        for (int i = 0; i < 500 && !up; ++i) {
            up = accepts(socket_);
            if (!up) std::this_thread::sleep_for(10ms);
        }
        EXPECT_TRUE(up) << "the scripted host did not start";
    }
    ~HostProcess() { kill(); }
    // SIGKILL: the host gets no chance to say goodbye.
    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }

private:
    std::string socket_;
    pid_t pid_ = 0;
};

const std::string kOk = R"({"ok":{}})";

// One client with a main-thread loop run by the test's own thread.
struct ClientFixture {
    explicit ClientFixture(const ScratchRuntime& runtime, std::string requirement = kIds.hostRequirement)
        : loop(std::make_shared<EventLoop>()),
          io(std::make_shared<IoThread>()),
          client(XPCControlClient::create(loop, *io, {runtime.socket(), std::move(requirement)})) {
        client->onConnectionChange = [this](bool up) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            states.push_back(up);
        };
        client->onEvent = [this](ControlEvent event) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            events.push_back(std::string(event.caseName()));
        };
    }
    ~ClientFixture() {
        client.reset();
        io.reset();  // stops the I/O thread here, on the main thread, ending the connection
    }

    // Sends and waits on the main loop for the completion.
    std::optional<std::optional<ControlResponse>> request(const ControlRequest& r) {
        std::optional<std::optional<ControlResponse>> result;
        client->send(r, [&](std::optional<ControlResponse> response) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            result = std::move(response);
        });
        loop->runUntil([&] { return result.has_value(); }, 10s);
        return result;
    }
    // Runs the main loop until `count` connection states have arrived (each
    // follows its completion from the I/O thread); whether they did.
    bool statesReach(std::size_t count) {
        return loop->runUntil([&] { return states.size() >= count; }, 10s);
    }

    std::thread::id mainThread = std::this_thread::get_id();
    std::shared_ptr<EventLoop> loop;
    std::shared_ptr<IoThread> io;
    std::shared_ptr<XPCControlClient> client;
    std::vector<bool> states;
    std::vector<std::string> events;
};

}  // namespace

TEST(XPCControlClientTest, NoHostMeansNoResponseAndOfflineEveryTime) {
    ScratchRuntime runtime;
    ClientFixture f(runtime);
    for (int i = 0; i < 3; ++i) {
        auto result = f.request(ControlRequest::snapshot());
        ASSERT_TRUE(result) << "the completion must run";
        EXPECT_FALSE(*result);
    }
    ASSERT_TRUE(f.statesReach(3));
    for (bool state : f.states) EXPECT_FALSE(state);

    // The next request after the host appears connects anew.
    HostProcess host(runtime, "");
    auto result = f.request(ControlRequest::deleteAccount("A1"));
    ASSERT_TRUE(result && *result);
    EXPECT_EQ((*result)->caseName(), "ok");
    const std::size_t before = f.states.size();
    ASSERT_TRUE(f.statesReach(before + 1));
    EXPECT_TRUE(f.states.back());
}

TEST(XPCControlClientTest, AnswersPassThroughAndUnreadableOnesStillMeanOnline) {
    ScratchRuntime runtime;
    HostProcess host(runtime,
                     "deleteEntry => reply {\"failure\":{\"_0\":\"No such entry\"}}\n"
                     "renameAccount => reply this is not a response\n"
                     "snapshot => reply {\"dataChanged\":{}}\n");
    ClientFixture f(runtime);
    auto failure = f.request(ControlRequest::deleteEntry("E1"));
    ASSERT_TRUE(failure && *failure);
    EXPECT_EQ(std::get<ControlResponse::Failure>((*failure)->value).reason, "No such entry");
    for (const auto& request : {ControlRequest::renameAccount("A1", "x"), ControlRequest::snapshot()}) {
        auto unreadable = f.request(request);
        ASSERT_TRUE(unreadable);
        EXPECT_FALSE(*unreadable) << "an event's text is no response either";
    }
    ASSERT_TRUE(f.statesReach(3));
    EXPECT_EQ(f.states, (std::vector<bool>{true, true, true}));
}

// A failure frame ends its call only: the connection stays (a second one
// would hear every event twice), and the state stays connected.
TEST(XPCControlClientTest, FailureAnswerEndsTheCallNotTheConnection) {
    ScratchRuntime runtime;
    HostProcess host(runtime,
                     "deleteEntry => fail the host could not answer\n"
                     "renameAccount => connections\n"
                     "snapshot => push {\"dataChanged\":{}}\n");
    ClientFixture f(runtime);
    // How many connections the host has seen (its own start-up probe among them).
    const auto connections = [&f] {
        auto count = f.request(ControlRequest::renameAccount("A1", "x"));
        return count && *count ? std::get<ControlResponse::Failure>((*count)->value).reason : "none";
    };
    const std::string before = connections();
    for (int i = 0; i < 2; ++i) {
        auto failed = f.request(ControlRequest::deleteEntry("E1"));
        ASSERT_TRUE(failed);
        EXPECT_FALSE(*failed);
    }
    auto pushed = f.request(ControlRequest::snapshot());
    ASSERT_TRUE(pushed && *pushed);
    EXPECT_EQ(connections(), before) << "the same connection all along";
    f.loop->runUntil([&] { return !f.events.empty(); }, 10s);
    EXPECT_EQ(f.events, std::vector<std::string>{"dataChanged"});
    for (bool state : f.states) EXPECT_TRUE(state) << "a failure answer is no lost host";
}

TEST(XPCControlClientTest, UnwritableRequestOpensNothingAndReportsNothing) {
    ScratchRuntime runtime;
    HostProcess host(runtime, "");
    ClientFixture f(runtime);
    auto result = f.request(ControlRequest::renameAccount("A1", "bad \xff name"));
    ASSERT_TRUE(result);
    EXPECT_FALSE(*result);
    // A request that goes through reports the only state: nothing came before it.
    ASSERT_TRUE(f.request(ControlRequest::snapshot()));
    ASSERT_TRUE(f.statesReach(1));
    EXPECT_EQ(f.states, std::vector<bool>{true});
}

TEST(XPCControlClientTest, CompletionsFollowTheOrderOfReplies) {
    ScratchRuntime runtime;
    HostProcess host(runtime,
                     "\"first\" => hold\n"
                     "\"second\" => release {\"ok\":{}}\n");
    ClientFixture f(runtime);
    std::vector<std::string> order;
    for (const char* id : {"first", "second"}) {
        f.client->send(ControlRequest::deleteEntry(id), [&order, id](std::optional<ControlResponse> r) {
            order.push_back(std::string(id) + (r ? " ok" : " none"));
        });
    }
    ASSERT_TRUE(f.loop->runUntil([&] { return order.size() == 2; }, 10s));
    EXPECT_EQ(order, (std::vector<std::string>{"second ok", "first ok"}));
    ASSERT_TRUE(f.statesReach(2));
    EXPECT_EQ(f.states, (std::vector<bool>{true, true})) << "both on one connection, no drop between";
}

TEST(XPCControlClientTest, EventsArriveOnTheMainThreadUnreadableOnesVanish) {
    ScratchRuntime runtime;
    HostProcess host(
        runtime,
        "\"A1\" => push {\"apiCall\":{\"_0\":{\"id\":\"L1\",\"connectionId\":\"C1\",\"direction\":\"reply\","
        "\"payload\":\"\",\"timestamp\":\"2025-03-04T05:06:08Z\"}}}\n"
        "\"A2\" => push not json at all\n"
        "\"A3\" => push "
        "{\"apiCall\":{\"_0\":{\"id\":\"L1\",\"connectionId\":\"C1\",\"direction\":\"request\","
        "\"payload\":\"{}\",\"timestamp\":\"2025-03-04T05:06:08Z\"}}}\n"
        "snapshot => push {\"connectionsChanged\":{}}\n");
    ClientFixture silent(runtime);
    silent.client->onEvent = nullptr;  // never set: events are read, then discarded
    ClientFixture f(runtime);
    ASSERT_TRUE(silent.request(ControlRequest::snapshot()));
    for (const auto& request : {ControlRequest::snapshot(), ControlRequest::deleteAccount("A1"),
                                ControlRequest::deleteAccount("A2"), ControlRequest::deleteAccount("A3")}) {
        ASSERT_TRUE(f.request(request));
    }
    f.loop->runUntil([&] { return f.events.size() == 2; }, 10s);
    ASSERT_TRUE(f.statesReach(4));
    EXPECT_EQ(f.events, (std::vector<std::string>{"connectionsChanged", "apiCall"}));
    EXPECT_EQ(f.states, (std::vector<bool>(4, true))) << "events do not report the connection state";
    EXPECT_TRUE(silent.events.empty());
}

TEST(XPCControlClientTest, HostKilledThenRestartedReconnectsOnTheNextRequest) {
    ScratchRuntime runtime;
    auto host = std::make_unique<HostProcess>(runtime, "");
    ClientFixture f(runtime);
    ASSERT_TRUE(f.request(ControlRequest::snapshot()).value());
    host->kill();
    ASSERT_TRUE(f.loop->runUntil([&] { return f.states.size() == 2; }, 10s));
    EXPECT_EQ(f.states, (std::vector<bool>{true, false}));
    host = std::make_unique<HostProcess>(runtime, "");
    auto again = f.request(ControlRequest::snapshot());
    ASSERT_TRUE(again);
    EXPECT_TRUE(*again);
    ASSERT_TRUE(f.statesReach(3));
    EXPECT_EQ(f.states.back(), true);
}

TEST(XPCControlClientTest, HostOfAnotherTeamIsOffline) {
    ScratchRuntime runtime;
    HostProcess host(runtime, "");
    ClientFixture f(runtime, ServiceIdentity::make("com.example.Ledger", "ZZZZZ99999").hostRequirement);
    auto result = f.request(ControlRequest::snapshot());
    ASSERT_TRUE(result);
    EXPECT_FALSE(*result);
    ASSERT_TRUE(f.statesReach(1));
    EXPECT_FALSE(f.states.back());
}
