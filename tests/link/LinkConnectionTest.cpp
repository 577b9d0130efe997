// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <vector>

#include <tallywick/link/FrameCodec.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/LinkListener.h>
#include <tallywick/link/ServiceIdentity.h>

#include "LinkTestSupport.h"

using namespace tallywick;
using namespace tallywick::testing;
using namespace std::chrono_literals;

namespace {

// This test program's own identity, given by CMake.
const ServiceIdentity kIds = ServiceIdentity::make("com.example.Ledger", "ABCDE12345");

// An echoing server: "echo" answers with its payload, "push" also sends a message back.
struct EchoServer {
    explicit EchoServer(IoThread& io, const std::string& path, std::string requirement = {}) {
        auto result = LinkListener::listen(
            io.context(), path, std::move(requirement), [this](std::shared_ptr<LinkConnection> connection) {
                std::weak_ptr<LinkConnection> weak = connection;
                connection->start({.onCall = [weak](std::uint64_t id, const std::string& method,
                                                    std::string payload) {
                    auto self = weak.lock();
                    if (!self || method != "echo") return false;
                    if (payload == "push") self->send("note", "pushed");
                    if (payload == "bulk") {
                        // 80 MiB the server keeps: an answer larger than the backlog bound.
                        // Messages on both sides, one of them being written when it is queued.
                        static const auto kept = [] {
                            std::vector<LinkConnection::SharedText> parts;
                            for (int i = 0; i < 80; ++i)
                                parts.push_back(std::make_shared<const std::string>(1 << 20, 'k'));
                            return parts;
                        }();
                        self->send("note", "before");
                        self->send("note", "before");
                        self->reply(id, kept);
                        self->send("note", "after");
                        return true;
                    }
                    if (payload.starts_with("parts:")) {
                        // Answered from three held parts, as a cached answer is.
                        const std::size_t third = payload.size() / 3;
                        std::vector<LinkConnection::SharedText> parts;
                        for (std::size_t at = 0; at < payload.size(); at += third)
                            parts.push_back(std::make_shared<const std::string>(payload.substr(at, third)));
                        return self->reply(id, std::move(parts)), true;
                    }
                    self->reply(id, payload);
                    return true;
                }});
                std::lock_guard lock(mutex);
                connections.push_back(connection);
            });
        listener = result.value();
    }
    ~EchoServer() {
        listener->close();
        std::lock_guard lock(mutex);
        for (auto& c : connections) c->close();
    }
    void dropAll() {
        std::lock_guard lock(mutex);
        for (auto& c : connections) c->close();
        connections.clear();
    }
    std::size_t accepted() {
        std::lock_guard lock(mutex);
        return connections.size();
    }

    std::shared_ptr<LinkListener> listener;
    std::mutex mutex;
    std::vector<std::shared_ptr<LinkConnection>> connections;
};

// Records everything a client connection reports.
struct Recorder {
    std::mutex mutex;
    std::vector<std::string> events;
    std::promise<std::string> ended;
    std::atomic<int> endings{0};

    LinkConnection::Handlers handlers() {
        return {.onMessage = [this](const std::string& m, std::string p) { add("message " + m + " " + p); },
                .onInterrupted = [this](const std::string&) { finish("interrupted"); },
                .onInvalidated = [this](const std::string&) { finish("invalidated"); }};
    }
    void add(std::string event) {
        std::lock_guard lock(mutex);
        events.push_back(std::move(event));
    }
    void finish(const std::string& how) {
        add(how);
        if (++endings == 1) ended.set_value(how);
    }
    std::vector<std::string> snapshot() {
        std::lock_guard lock(mutex);
        return events;
    }
};

std::future<std::string> callFuture(LinkConnection& connection, std::string method, std::string payload,
                                    std::atomic<int>* errorCount = nullptr) {
    auto promise = std::make_shared<std::promise<std::string>>();
    auto future = promise->get_future();
    connection.call(
        std::move(method), std::move(payload),
        [promise](std::string reply) { promise->set_value("reply " + reply); },
        [promise, errorCount](const LinkFailure& failure) {
            if (errorCount) ++*errorCount;
            const char* kinds[] = {"interrupted", "invalidated", "remoteFailure", "unsendable"};
            promise->set_value(std::string("error ") + kinds[static_cast<int>(failure.kind)]);
        });
    return future;
}

// A raw server that greets, then writes the given bytes, to play a broken peer.
int rawServer(const std::string& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = unixAddress(path);
    ::unlink(path.c_str());
    EXPECT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(fd, 4), 0);
    return fd;
}

std::string helloBytes() {
    return *encodeFrame(Frame{FrameKind::hello, 0, std::string(kHelloName), std::string(kLinkVersion)});
}

// A client connected to a raw socket that the test writes by hand.
struct RawPeerSession {
    RawPeerSession() : listening(rawServer(runtime.socket())) {
        client = LinkConnection::connect(io.context(), runtime.socket(), "");
        client->start(recorder.handlers());
    }
    ~RawPeerSession() {
        if (peer >= 0) ::close(peer);
        ::close(listening);
    }
    // Takes the client's connection; call after the client has something pending.
    bool accept() {
        peer = ::accept(listening, nullptr, nullptr);
        return peer >= 0;
    }

    ScratchRuntime runtime;
    IoThread io;
    int listening;
    int peer = -1;
    Recorder recorder;
    std::shared_ptr<LinkConnection> client;
};

}  // namespace

TEST(LinkConnectionTest, CallsGetTheirRepliesInOrderAndMessagesFlow) {
    ScratchRuntime runtime;
    IoThread io;
    EchoServer server(io, runtime.socket(), kIds.callerRequirement);
    Recorder recorder;
    auto client = LinkConnection::connect(io.context(), runtime.socket(), "");
    // Calls made before start still go out right behind the hello.
    std::vector<std::future<std::string>> replies;
    client->start(recorder.handlers());
    for (int i = 0; i < 50; ++i) replies.push_back(callFuture(*client, "echo", "n" + std::to_string(i)));
    auto pushed = callFuture(*client, "echo", "push");
    for (int i = 0; i < 50; ++i) EXPECT_EQ(await(replies[i]), "reply n" + std::to_string(i));
    EXPECT_EQ(await(pushed), "reply push");
    EXPECT_EQ(recorder.snapshot(), std::vector<std::string>{"message note pushed"});
    auto unknown = callFuture(*client, "nope", "x");
    EXPECT_EQ(await(unknown), "error remoteFailure");
    auto big = callFuture(*client, "echo", std::string(3 << 20, 'b'));
    EXPECT_EQ(await(big).size(), 6u + (3 << 20));
    std::string held = "parts:";
    while (held.size() < (5 << 20)) held += "Grüße 日本語 😀 ";
    EXPECT_EQ(await(callFuture(*client, "echo", held)), "reply " + held);
    // Kept answers are held anyway: queued one behind another they are no
    // backlog of ours, and the connection stays.
    std::vector<std::future<std::string>> bulks;
    for (int i = 0; i < 3; ++i) bulks.push_back(callFuture(*client, "echo", "bulk"));
    for (auto& bulk : bulks) EXPECT_EQ(await(bulk).size(), 6u + (80u << 20));
    client->close();
    EXPECT_EQ(await(recorder.ended.get_future()), "invalidated");
}

TEST(LinkConnectionTest, NoEndpointInvalidatesEveryPendingCallOnce) {
    ScratchRuntime runtime;
    IoThread io;
    Recorder recorder;
    std::atomic<int> errors{0};
    auto client = LinkConnection::connect(io.context(), runtime.socket(), "");
    auto first = callFuture(*client, "echo", "a", &errors);
    auto second = callFuture(*client, "echo", "b", &errors);
    client->start(recorder.handlers());
    EXPECT_EQ(await(first), "error invalidated");
    EXPECT_EQ(await(second), "error invalidated");
    auto late = callFuture(*client, "echo", "c", &errors);
    EXPECT_EQ(await(late), "error invalidated");
    EXPECT_EQ(errors.load(), 3);
    EXPECT_EQ(recorder.endings.load(), 1);
    EXPECT_EQ(recorder.snapshot().back(), "invalidated");
}

// A socket in a folder others could write to may have been put there by them:
// the client refuses it before connecting, and takes it again once private.
TEST(LinkConnectionTest, ClientRefusesASocketInAnUnsafeFolder) {
    ScratchRuntime runtime;
    IoThread io;
    EchoServer server(io, runtime.socket());
    ASSERT_EQ(::chmod(runtime.path().c_str(), 0755), 0);
    Recorder recorder;
    auto client = LinkConnection::connect(io.context(), runtime.socket(), "");
    client->start(recorder.handlers());
    EXPECT_EQ(await(callFuture(*client, "echo", "up")), "error invalidated");
    EXPECT_EQ(await(recorder.ended.get_future()), "invalidated");

    ASSERT_EQ(::chmod(runtime.path().c_str(), 0700), 0);
    Recorder again;
    auto second = LinkConnection::connect(io.context(), runtime.socket(), "");
    second->start(again.handlers());
    EXPECT_EQ(await(callFuture(*second, "echo", "up")), "reply up");
    second->close();
    // Its ending reaches the recorder on the I/O thread: wait for it while the recorder lives.
    EXPECT_EQ(await(again.ended.get_future()), "invalidated");
}

TEST(LinkConnectionTest, ListenerReplacesLeftoversAndAppearsOnlyReady) {
    ScratchRuntime runtime;
    IoThread io;
    // What a killed host leaves: its socket file, and one half bound.
    for (const std::string& path : {runtime.socket(), runtime.socket() + ".new"}) {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_un address = unixAddress(path);
        ASSERT_EQ(::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        ::close(fd);
    }
    EchoServer server(io, runtime.socket());
    struct stat info {};
    ASSERT_EQ(::stat(runtime.socket().c_str(), &info), 0);
    EXPECT_TRUE(S_ISSOCK(info.st_mode));
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    EXPECT_FALSE(std::filesystem::exists(runtime.socket() + ".new"))
        << "the staged name is gone once renamed";
    Recorder recorder;
    auto client = LinkConnection::connect(io.context(), runtime.socket(), "");
    client->start(recorder.handlers());
    EXPECT_EQ(await(callFuture(*client, "echo", "up")), "reply up");
    client->close();
    EXPECT_EQ(await(recorder.ended.get_future()), "invalidated");
}

// This program is not the host, so a client demanding the host refuses it; a
// server whose requirement we do not meet, or whose text does not parse,
// closes us unread.
TEST(LinkConnectionTest, RequirementsAreCheckedOnBothEnds) {
    ScratchRuntime runtime;
    IoThread io;
    const struct {
        std::string client, server;
    } cases[] = {{kIds.hostRequirement, ""},
                 {"", R"(identifier "com.example.Somebody")"},
                 {"", "this is not a requirement"}};
    for (const auto& [client, server] : cases) {
        EchoServer echo(io, runtime.socket(), server);
        Recorder recorder;
        auto connection = LinkConnection::connect(io.context(), runtime.socket(), client);
        connection->start(recorder.handlers());
        EXPECT_EQ(await(callFuture(*connection, "echo", "x")), "error invalidated") << client << server;
        EXPECT_EQ(await(recorder.ended.get_future()), "invalidated");
        if (server.starts_with("identifier")) {
            EXPECT_EQ(echo.accepted(), 0u);
        }
    }
}

TEST(LinkConnectionTest, ProtocolViolationsInvalidate) {
    const std::string call = *encodeFrame(Frame{FrameKind::call, 1, "echo", "x"});
    const std::pair<const char*, std::string> peers[] = {
        {"wrong hello name", *encodeFrame(Frame{FrameKind::hello, 0, "other-link", "1"})},
        {"wrong hello version", *encodeFrame(Frame{FrameKind::hello, 0, std::string(kHelloName), "2"})},
        {"frame before hello", *encodeFrame(Frame{FrameKind::message, 0, "controlEvent", "{}"})},
        {"second hello", helloBytes() + helloBytes()},
        {"stray reply", helloBytes() + *encodeFrame(Frame{FrameKind::reply, 99, "", "{}"})},
        {"unknown kind",
         helloBytes() + std::string("\x00\x00\x00\x0a\x07\x00\x00\x00\x00\x00\x00\x00\x01\x00", 14)},
        {"oversize", helloBytes() + std::string("\x10\x00\x00\x01", 4)},
        {"payload not UTF-8",
         helloBytes() + std::string("\x00\x00\x00\x0d\x03\x00\x00\x00\x00\x00\x00\x00\x00\x01m\xff\xfe", 18)},
    };
    for (const auto& [what, bytes] : peers) {
        RawPeerSession session;
        auto pending = callFuture(*session.client, "echo", "x");
        ASSERT_TRUE(session.accept());
        // Dribble the bytes one at a time: framing must not depend on read sizes.
        // The client may close as soon as it sees the fault, before the last byte.
        for (char byte : bytes) {
            if (::send(session.peer, &byte, 1, MSG_NOSIGNAL) != 1) break;
        }
        EXPECT_EQ(await(pending), "error invalidated") << what;
        EXPECT_EQ(await(session.recorder.ended.get_future()), "invalidated") << what;
    }
}

// Once greeted, a peer that goes away mid-call interrupts: the call in
// flight fails with the interruption, then the connection reports it.
TEST(LinkConnectionTest, CallInFlightWhenThePeerGoesIsInterrupted) {
    RawPeerSession session;
    auto pending = callFuture(*session.client, "echo", "in flight");
    ASSERT_TRUE(session.accept());
    const std::string hello = helloBytes();
    ASSERT_EQ(::send(session.peer, hello.data(), hello.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(hello.size()));
    // The call has reached the peer: its payload is in what the peer read.
    std::string received;
    char buffer[256];
    while (received.find("in flight") == std::string::npos) {
        const ssize_t n = ::recv(session.peer, buffer, sizeof buffer, 0);
        ASSERT_GT(n, 0);
        received.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(session.peer);
    session.peer = -1;
    EXPECT_EQ(await(pending), "error interrupted");
    EXPECT_EQ(await(session.recorder.ended.get_future()), "interrupted");
    EXPECT_EQ(session.recorder.endings.load(), 1);
}

// An answer is given once: a second reply to the same call is a fault.
TEST(LinkConnectionTest, SecondReplyToOneCallInvalidates) {
    RawPeerSession session;
    auto first = callFuture(*session.client, "echo", "a");
    ASSERT_TRUE(session.accept());
    const std::string bytes = helloBytes() + *encodeFrame(Frame{FrameKind::reply, 1, "", "A"}) +
                              *encodeFrame(Frame{FrameKind::reply, 1, "", "again"});
    ASSERT_EQ(::send(session.peer, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
    EXPECT_EQ(await(first), "reply A");
    EXPECT_EQ(await(session.recorder.ended.get_future()), "invalidated");
}

TEST(LinkConnectionTest, SplitAndCoalescedFramesFromARawPeer) {
    RawPeerSession session;
    auto first = callFuture(*session.client, "echo", "a");
    auto second = callFuture(*session.client, "echo", "b");
    ASSERT_TRUE(session.accept());
    // Both replies (ids 1 and 2) and a message in one write, after a split hello.
    const std::string hello = helloBytes();
    ASSERT_EQ(::send(session.peer, hello.data(), 5, MSG_NOSIGNAL), 5);
    std::this_thread::sleep_for(20ms);
    const std::string rest = hello.substr(5) + *encodeFrame(Frame{FrameKind::message, 0, "m", "hi"}) +
                             *encodeFrame(Frame{FrameKind::reply, 2, "", "B"}) +
                             *encodeFrame(Frame{FrameKind::failure, 1, "", "nope"});
    ASSERT_EQ(::send(session.peer, rest.data(), rest.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(rest.size()));
    EXPECT_EQ(await(second), "reply B");
    EXPECT_EQ(await(first), "error remoteFailure");
    EXPECT_EQ(session.recorder.snapshot(), std::vector<std::string>{"message m hi"});
    ::close(session.peer);
    session.peer = -1;
    EXPECT_EQ(await(session.recorder.ended.get_future()), "interrupted");
}

// Frames larger than the read buffer go straight into their payload and are
// checked as they arrive; pieces that split characters must not matter.
TEST(LinkConnectionTest, LargeFramesFromARawPeerArriveWholeAndChecked) {
    std::string text;
    while (text.size() < 300'000) text += "é日本😀 abc ";
    std::string brokenInside = text;
    brokenInside[200'001] = '\xff';
    const std::string cutAtTheEnd = text + "\xe6\x97";  // the first two bytes of a three-byte character
    const std::pair<std::string, std::string> cases[] = {
        {text, "reply " + text},
        {brokenInside, "error invalidated"},
        {cutAtTheEnd, "error invalidated"},
    };
    for (const auto& [payload, expected] : cases) {
        RawPeerSession session;
        auto pending = callFuture(*session.client, "echo", "x");
        ASSERT_TRUE(session.accept());
        const std::string bytes = helloBytes() + *encodeFrame(Frame{FrameKind::message, 0, "m", "before"}) +
                                  encodeFrameHead(FrameKind::reply, 1, "", payload.size()).value() + payload;
        // Odd piece sizes, so pieces end inside characters.
        for (std::size_t at = 0; at < bytes.size(); at += 7919) {
            const auto piece = std::min<std::size_t>(7919, bytes.size() - at);
            if (::send(session.peer, bytes.data() + at, piece, MSG_NOSIGNAL) != static_cast<ssize_t>(piece))
                break;
        }
        EXPECT_EQ(await(pending), expected) << expected.substr(0, 20);
        session.client->close();  // ended before the recorder goes
        EXPECT_EQ(await(session.recorder.ended.get_future()), "invalidated");
        EXPECT_EQ(session.recorder.snapshot().front(), "message m before");
    }
}

TEST(LinkConnectionTest, PeerOfAnotherUserIsRefusedUnread) {
    if (::geteuid() != 0) GTEST_SKIP() << "needs root to act as another user";
    // A socket the other user can reach; the folder rules are tested elsewhere.
    const std::string dir = "/tmp/tallywick-uid-test-" + std::to_string(::getpid());
    std::filesystem::create_directories(dir);
    ::chmod(dir.c_str(), 0755);
    const std::string path = dir + "/host.sock";
    IoThread io;
    EchoServer server(io, path);
    ::chmod(path.c_str(), 0666);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(10);
        const int fd = connectUnix(path);
        if (fd < 0) ::_exit(11);
        const std::string hello = helloBytes();
        (void)!::send(fd, hello.data(), hello.size(), MSG_NOSIGNAL);
        char byte;
        // Refused: closed (or reset) without a single byte, not even the server's hello.
        ::_exit(::read(fd, &byte, 1) <= 0 ? 0 : 12);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_EQ(server.accepted(), 0u);
    std::filesystem::remove_all(dir);
}
