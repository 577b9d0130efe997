#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include <tallywick/EventLoop.h>
#include <tallywick/LinkListener.h>
#include <tallywick/ServiceIdentity.h>
#include <tallywick/TallywickCoding.h>
#include <tallywick/XPCControlClient.h>

#include "LinkTestSupport.h"

using namespace tallywick;
using namespace tallywick::testing;
using namespace std::chrono_literals;

namespace {

// A host stand-in on a real socket. `answer` maps a request text to the reply
// text; an empty optional holds the call until release() (to reorder replies).
class TestHost {
public:
    using Answer = std::function<std::optional<std::string>(const std::string& request)>;

    TestHost(IoThread& io, std::string path, Answer answer) : answer_(std::move(answer)) {
        auto result = LinkListener::listen(io.context(), path, "", [this](std::shared_ptr<LinkConnection> c) {
            std::weak_ptr<LinkConnection> weak = c;
            c->start(
                {.onCall = [this, weak](std::uint64_t id, const std::string& method, std::string payload) {
                    if (method != "control") return false;
                    auto self = weak.lock();
                    std::lock_guard lock(mutex_);
                    ++calls_;
                    if (auto reply = answer_(payload)) {
                        self->reply(id, *reply);
                    } else {
                        held_.push_back({self, id, payload});
                    }
                    return true;
                }});
            std::lock_guard lock(mutex_);
            connections_.push_back(c);
        });
        listener_ = std::get<std::shared_ptr<LinkListener>>(result);
    }
    ~TestHost() { stop(); }

    void push(const std::string& eventText) {
        std::lock_guard lock(mutex_);
        for (auto& c : connections_) c->send("controlEvent", eventText);
    }
    // Answers the held calls last first, each with a failure naming its request.
    void releaseHeldInReverse() {
        std::lock_guard lock(mutex_);
        for (auto it = held_.rbegin(); it != held_.rend(); ++it) {
            it->connection->reply(it->id,
                                  *TallywickCoding::encodeToString(ControlResponse::failure(it->request)));
        }
        held_.clear();
    }
    void stop() {
        if (!listener_) return;
        listener_->close();
        listener_.reset();
        std::lock_guard lock(mutex_);
        for (auto& c : connections_) c->close();
        connections_.clear();
    }
    int calls() {
        std::lock_guard lock(mutex_);
        return calls_;
    }
    std::size_t connections() {
        std::lock_guard lock(mutex_);
        return connections_.size();
    }

private:
    Answer answer_;
    std::shared_ptr<LinkListener> listener_;
    std::mutex mutex_;
    std::vector<std::shared_ptr<LinkConnection>> connections_;
    struct Held {
        std::shared_ptr<LinkConnection> connection;
        std::uint64_t id;
        std::string request;
    };
    std::vector<Held> held_;
    int calls_ = 0;
};

const std::string kOk = R"({"ok":{}})";

// One client with a main-thread loop run by the test's own thread.
struct ClientFixture {
    explicit ClientFixture(const ScratchRuntime& runtime,
                           std::string requirement = R"(identifier "com.example.Ledger")")
        : loop(std::make_shared<EventLoop>()),
          io(std::make_shared<IoThread>()),
          client(XPCControlClient::create(loop, io, {runtime.socket(), std::move(requirement)})) {
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
        loop->runUntil([] { return false; }, 50ms);  // let posted tasks drain before the I/O thread goes
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
    void settle() {
        loop->runUntil([] { return false; }, 100ms);
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
    f.settle();
    EXPECT_GE(f.states.size(), 3u);
    for (bool state : f.states) EXPECT_FALSE(state);

    // The next request after the host appears connects anew.
    TestHost host(*f.io, runtime.socket(), [](const std::string&) { return kOk; });
    auto result = f.request(ControlRequest::deleteAccount("A1"));
    ASSERT_TRUE(result && *result);
    EXPECT_EQ((*result)->caseName(), "ok");
    f.settle();
    EXPECT_TRUE(f.states.back());
}

TEST(XPCControlClientTest, AnswersPassThroughAndUnreadableOnesStillMeanOnline) {
    ScratchRuntime runtime;
    ClientFixture f(runtime);
    TestHost host(*f.io, runtime.socket(), [](const std::string& request) -> std::optional<std::string> {
        if (request.find("deleteEntry") != std::string::npos) return R"({"failure":{"_0":"No such entry"}})";
        if (request.find("renameAccount") != std::string::npos) return "this is not a response";
        return R"({"dataChanged":{}})";  // an event's text is no response either
    });
    auto failure = f.request(ControlRequest::deleteEntry("E1"));
    ASSERT_TRUE(failure && *failure);
    EXPECT_EQ(std::get<ControlResponse::Failure>((*failure)->value).reason, "No such entry");
    for (const auto& request : {ControlRequest::renameAccount("A1", "x"), ControlRequest::snapshot()}) {
        auto unreadable = f.request(request);
        ASSERT_TRUE(unreadable);
        EXPECT_FALSE(*unreadable);
    }
    f.settle();
    EXPECT_EQ(f.states, (std::vector<bool>{true, true, true}));
    EXPECT_EQ(host.connections(), 1u) << "one connection carries every request";
}

TEST(XPCControlClientTest, UnwritableRequestOpensNothingAndReportsNothing) {
    ScratchRuntime runtime;
    ClientFixture f(runtime);
    TestHost host(*f.io, runtime.socket(), [](const std::string&) { return kOk; });
    auto result = f.request(ControlRequest::renameAccount("A1", "bad \xff name"));
    ASSERT_TRUE(result);
    EXPECT_FALSE(*result);
    f.settle();
    EXPECT_TRUE(f.states.empty());
    EXPECT_EQ(host.connections(), 0u);
}

TEST(XPCControlClientTest, CompletionsFollowTheOrderOfReplies) {
    ScratchRuntime runtime;
    ClientFixture f(runtime);
    TestHost host(*f.io, runtime.socket(), [](const std::string&) { return std::nullopt; });
    std::vector<std::string> order;
    for (const char* id : {"first", "second"}) {
        f.client->send(ControlRequest::deleteEntry(id), [&order](std::optional<ControlResponse> r) {
            order.push_back(r ? std::get<ControlResponse::Failure>(r->value).reason : "none");
        });
    }
    // The host counts on the I/O thread, which posts nothing to this loop.
    for (int i = 0; i < 1000 && host.calls() < 2; ++i) std::this_thread::sleep_for(10ms);
    ASSERT_EQ(host.calls(), 2);
    host.releaseHeldInReverse();
    ASSERT_TRUE(f.loop->runUntil([&] { return order.size() == 2; }, 10s));
    EXPECT_EQ(order, (std::vector<std::string>{R"({"deleteEntry":{"id":"second"}})",
                                               R"({"deleteEntry":{"id":"first"}})"}));
}

TEST(XPCControlClientTest, EventsArriveOnTheMainThreadUnreadableOnesVanish) {
    ScratchRuntime runtime;
    ClientFixture silent(runtime);
    silent.client->onEvent = nullptr;  // never set: events are read, then discarded
    ClientFixture f(runtime);
    TestHost host(*f.io, runtime.socket(), [](const std::string&) { return kOk; });
    ASSERT_TRUE(silent.request(ControlRequest::snapshot()));
    ASSERT_TRUE(f.request(ControlRequest::snapshot()));
    host.push(R"({"connectionsChanged":{}})");
    host.push(
        R"({"apiCall":{"_0":{"id":"L1","connectionId":"C1","direction":"reply","payload":"","timestamp":"2025-03-04T05:06:08Z"}}})");
    host.push("not json at all");
    host.push(
        R"({"apiCall":{"_0":{"id":"L1","connectionId":"C1","direction":"request","payload":"{}","timestamp":"2025-03-04T05:06:08Z"}}})");
    f.loop->runUntil([&] { return f.events.size() == 2; }, 10s);
    f.settle();
    silent.settle();
    EXPECT_EQ(f.events, (std::vector<std::string>{"connectionsChanged", "apiCall"}));
    EXPECT_EQ(f.states, (std::vector<bool>{true})) << "events do not report the connection state";
    EXPECT_TRUE(silent.events.empty());
}

TEST(XPCControlClientTest, HostRestartDropsThenReconnectsOnTheNextRequest) {
    ScratchRuntime runtime;
    ClientFixture f(runtime);
    auto host = std::make_unique<TestHost>(*f.io, runtime.socket(), [](const std::string&) { return kOk; });
    ASSERT_TRUE(f.request(ControlRequest::snapshot()).value());
    host.reset();
    ASSERT_TRUE(f.loop->runUntil([&] { return f.states.size() == 2; }, 10s));
    EXPECT_EQ(f.states, (std::vector<bool>{true, false}));
    host = std::make_unique<TestHost>(*f.io, runtime.socket(), [](const std::string&) { return kOk; });
    auto again = f.request(ControlRequest::snapshot());
    ASSERT_TRUE(again);
    EXPECT_TRUE(*again);
    f.settle();
    EXPECT_EQ(f.states.back(), true);
    EXPECT_EQ(host->connections(), 1u);
}

TEST(XPCControlClientTest, HostThatFailsTheRequirementIsOffline) {
    ScratchRuntime runtime;
    ClientFixture f(runtime, R"(identifier "com.example.Ledger.host")");
    TestHost host(*f.io, runtime.socket(), [](const std::string&) { return kOk; });
    auto result = f.request(ControlRequest::snapshot());
    ASSERT_TRUE(result);
    EXPECT_FALSE(*result);
    f.settle();
    ASSERT_FALSE(f.states.empty());
    EXPECT_FALSE(f.states.back());
    EXPECT_EQ(host.calls(), 0);
}
