// SPDX-License-Identifier: MIT
// One user's agents, some of them buggy, against a real host process: a
// peer that never reads, and a crowd of peers that connect and say nothing.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <fstream>
#include <thread>

#include <tallywick/link/FrameCodec.h>
#include <tallywick/link/SocketAddress.h>
#include <tallywick/model/TallywickCoding.h>

#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

using namespace std::chrono_literals;

// A raw socket to the host; -1 when it could not connect.
int rawConnection(const std::string& path) {
    auto resolved = SocketAddress::of(path);
    if (!resolved.has_value()) return -1;
    const auto& address = resolved.value();
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (::connect(fd, address.data(), address.size()) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

bool sendAll(int fd, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

// Reads and drops what arrives until the peer closes; false when it does
// not within the limit.
bool closedByPeerWithin(int fd, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    char buffer[65536];
    while (std::chrono::steady_clock::now() < deadline) {
        pollfd ready{fd, POLLIN, 0};
        if (::poll(&ready, 1, 100) <= 0) continue;
        const ssize_t count = ::recv(fd, buffer, sizeof buffer, 0);
        if (count <= 0) return true;
    }
    return false;
}

std::size_t residentBytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) return std::stoul(line.substr(6)) * 1024;
    }
    return 0;
}

class ResourceBounds : public HostFixture {};

// A client that asks and asks but never reads its answers is cut off once
// 64 MiB wait for it; the host stays small and serves everyone else.
TEST_F(ResourceBounds, APeerThatNeverReadsIsCutOffAndTheHostStaysSmall) {
    auto desk = control();
    const auto state = desk->snapshot();
    ASSERT_TRUE(state);
    ASSERT_EQ(desk->change(ControlRequest::setStartingPoints(1)), "ok");
    auto bot = agent();
    ASSERT_TRUE(bot->send(initializeLine("ballast")));
    const auto account = desk->snapshot()->accounts.at(0).id;
    for (int i = 0; i < 100; ++i) {  // a snapshot of about 1 MB
        ASSERT_EQ(
            desk->change(ControlRequest::createEntry(
                {.accountId = account, .kind = TransactionKind::note, .memo = std::string(10'000, 'b')})),
            "ok");
    }
    const std::size_t idle = residentBytes(host_->pid());

    const int greedy = rawConnection(host_->socketPath());
    ASSERT_GE(greedy, 0);
    ASSERT_TRUE(sendAll(greedy, *encodeFrame({.kind = FrameKind::hello,
                                              .name = std::string(kHelloName),
                                              .payload = std::string(kLinkVersion)})));
    // The same answer asked for again is kept once; so the ledger changes
    // between each ten requests, and a gigabyte of different answers would
    // be held were they all kept.
    for (std::uint64_t id = 1; id <= 1000; id += 10) {
        std::string frames;
        for (std::uint64_t call = id; call < id + 10; ++call)
            frames += *encodeFrame(
                {.kind = FrameKind::call, .id = call, .name = "control", .payload = R"({"snapshot":{}})"});
        if (!sendAll(greedy, frames)) break;  // the host has hung up on us
        ASSERT_EQ(desk->change(ControlRequest::createEntry({.accountId = account, .memo = "more"})), "ok");
    }

    // Until the host hangs up (seen without reading what it sent), or
    // forever without the bound, while its memory is watched.
    std::size_t peak = 0;
    bool hungUp = false;
    for (const auto deadline = std::chrono::steady_clock::now() + 30s;
         !hungUp && std::chrono::steady_clock::now() < deadline;) {
        peak = std::max(peak, residentBytes(host_->pid()));
        pollfd watched{greedy, POLLRDHUP, 0};
        hungUp = ::poll(&watched, 1, 20) > 0 && (watched.revents & (POLLRDHUP | POLLHUP));
    }
    EXPECT_TRUE(hungUp) << "the host hangs up on a peer that does not read";
    RecordProperty("idleBytes", std::to_string(idle));
    RecordProperty("peakBytes", std::to_string(peak));
    EXPECT_LT(peak, idle + 200u * 1024 * 1024) << "idle " << idle << ", peak " << peak;
    EXPECT_LT(peak, 300u * 1024 * 1024);
    EXPECT_TRUE(desk->snapshot()) << "everyone else is still served";
    ::close(greedy);
}

// 1,100 peers connect and say nothing, with the host started under a soft
// limit of 1,024 descriptors: it raises the limit, keeps the newest room for
// a real client, and closes the silent ones after the hello deadline.
TEST_F(ResourceBounds, SilentCrowdsDoNotLockTheDeskOut) {
    host_->stop();
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_max < 1300) GTEST_SKIP() << "the hard descriptor limit is below what the test needs";
    rlimit low = limit;
    low.rlim_cur = 1024;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
    const bool started = host_->start();
    ::setrlimit(RLIMIT_NOFILE, &limit);
    ASSERT_TRUE(started) << host_->stderrText();

    std::ifstream limits("/proc/" + std::to_string(host_->pid()) + "/limits");
    std::string line;
    while (std::getline(limits, line) && line.rfind("Max open files", 0) != 0) {
    }
    std::istringstream words(line.substr(std::string("Max open files").size()));
    rlim_t soft = 0, hard = 0;
    words >> soft >> hard;
    EXPECT_EQ(soft, hard) << "the host raised its soft limit: " << line;

    std::vector<int> crowd;
    for (int i = 0; i < 1100; ++i) {
        const int fd = rawConnection(host_->socketPath());
        if (fd >= 0) crowd.push_back(fd);
    }
    EXPECT_EQ(crowd.size(), 1100u) << "the kernel queues what the host has not taken yet";
    const auto asked = std::chrono::steady_clock::now();
    auto desk = control();
    EXPECT_TRUE(desk->snapshot()) << host_->stderrText();
    EXPECT_LT(std::chrono::steady_clock::now() - asked, LinkConnection::kHelloDeadline)
        << "served before any deadline";

    // The newest silent peer is closed once its hello is overdue.
    EXPECT_TRUE(closedByPeerWithin(crowd.back(), LinkConnection::kHelloDeadline + 5s));
    for (const int fd : crowd) ::close(fd);
    EXPECT_TRUE(desk->snapshot());
}

// Agents that say as much about themselves as they may, 300 of them, and
// one that handshakes 300 times: the desk's snapshot stays small and quick.
TEST_F(ResourceBounds, ChattyClientsLeaveTheSnapshotSmall) {
    std::string details;
    for (int i = 0; i < 8; ++i)
        details +=
            R"(,"field)" + std::to_string(i) + std::string(18, 'k') + R"(":")" + std::string(1000, 'v') + '"';
    const auto handshake = [&](int client) {
        std::string name = "client-" + std::to_string(client);
        name += std::string(256 - name.size(), 'n');
        const std::string line =
            R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":)"
            R"("2025-11-25","capabilities":{},"clientInfo":{"name":")" +
            name + R"(","version":")" + std::string(256, 'v') + R"(","title":")" + std::string(256, 't') +
            '"' + details + "}}}";
        return *encodeFrame({.kind = FrameKind::call,
                             .id = static_cast<std::uint64_t>(client) + 1,
                             .name = "handleAgentMessage",
                             .payload = line});
    };
    const std::string hello = *encodeFrame(
        {.kind = FrameKind::hello, .name = std::string(kHelloName), .payload = std::string(kLinkVersion)});
    std::vector<int> agents;
    for (int client = 0; client < 300; ++client) {
        agents.push_back(rawConnection(host_->socketPath()));
        ASSERT_TRUE(sendAll(agents.back(), hello + handshake(client)));
    }
    const int looping = rawConnection(host_->socketPath());
    std::string again = hello;
    for (int round = 0; round < 300; ++round) again += handshake(1000 + round);
    ASSERT_TRUE(sendAll(looping, again));

    auto desk = control();
    std::optional<Snapshot> state;
    ASSERT_TRUE(desk->waitUntil(
        [&](const auto&) {
            state = desk->snapshot();
            return state && state->accounts.size() == 301;
        },
        60s))
        << (state ? state->accounts.size() : 0) << " accounts";
    const auto asked = std::chrono::steady_clock::now();
    const auto answer = desk->request(ControlRequest::snapshot());
    const auto took = std::chrono::steady_clock::now() - asked;
    ASSERT_TRUE(answer);
    const auto size = TallywickCoding::encodeToString(*answer)->size();
    EXPECT_LT(size, 32u << 20);
    EXPECT_LT(took, 1s);
    RecordProperty("snapshotBytes", std::to_string(size));
    for (const int fd : agents) ::close(fd);
    ::close(looping);
}

}  // namespace
}  // namespace tallywick::testing
