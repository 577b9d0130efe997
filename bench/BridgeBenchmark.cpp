// SPDX-License-Identifier: MIT
// Agent calls through the whole chain, each figure beside its baselines from
// the same run:
//   raw:        a getBalance-sized ping-pong over a bare Unix socket between
//               two processes (the floor of any round trip);
//   link:       getBalance straight over a link connection to the host (what
//               the host and link cost without the bridge);
//   bridge 1x1: getBalance lines written to a real tallywick-bridge one at a
//               time, each reply read before the next line (target: at
//               least 5,000 calls per second);
//   bridge pipelined: the same calls written ahead without waiting;
//   50 bridges: 50 agents at once against one host, every reply checked
//               (target: no failed call).
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bridge/BridgeProcess.h"
#include "support/HostClients.h"
#include "support/HostProcess.h"

using namespace tallywick;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kCalls = 20'000;  // per measurement of one agent
constexpr int kRounds = 3;      // the median is reported
constexpr int kAgents = 50;
constexpr int kCallsPerAgent = 400;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::string initializeLine(const std::string& client) {
    return R"({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"protocolVersion":"2025-11-25",)"
           R"("capabilities":{},"clientInfo":{"name":")" +
           client + R"(","version":"1.0"}}})";
}
std::string signUpLine(const std::string& name) {
    return R"({"jsonrpc":"2.0","id":1,"method":"tools/call","params":{"name":"signUp",)"
           R"("arguments":{"key":"benchmark key","displayName":")" +
           name + R"("}}})";
}
std::string balanceLine(int id) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) +
           R"(,"method":"tools/call","params":{"name":"getBalance","arguments":{}}})";
}
// The account a sign-up or balance reply names; empty when it names none.
std::string accountOf(const std::string& reply) {
    const std::string marker = R"("structuredContent":{"accountId":")";
    const auto at = reply.find(marker);
    if (at == std::string::npos) return {};
    const auto start = at + marker.size();
    return reply.substr(start, reply.find('"', start) - start);
}
bool answers(const std::string& reply, int id, const std::string& account) {
    return reply.starts_with(R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + ",") &&
           accountOf(reply) == account && reply.find(R"("isError":false)") != std::string::npos;
}

// Round trips per second of the same sizes over a bare socket pair, the
// other end a forked process that answers each request.
double rawRoundTrips(std::size_t requestBytes, std::size_t replyBytes) {
    int pair[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) return 0;
    const auto transfer = [](int fd, char* data, std::size_t size, bool reading) {
        for (std::size_t done = 0; done < size;) {
            const ssize_t n =
                reading ? ::read(fd, data + done, size - done) : ::write(fd, data + done, size - done);
            if (n <= 0) return false;
            done += static_cast<std::size_t>(n);
        }
        return true;
    };
    std::string request(requestBytes, 'q'), reply(replyBytes, 'r');
    const pid_t peer = ::fork();
    if (peer == 0) {
        ::close(pair[0]);
        while (transfer(pair[1], request.data(), request.size(), true) &&
               transfer(pair[1], reply.data(), reply.size(), false)) {
        }
        ::_exit(0);
    }
    ::close(pair[1]);
    const auto start = Clock::now();
    for (int i = 0; i < kCalls; ++i) {
        if (!transfer(pair[0], request.data(), request.size(), false) ||
            !transfer(pair[0], reply.data(), reply.size(), true)) {
            break;
        }
    }
    const double rate = kCalls / secondsSince(start);
    ::close(pair[0]);
    ::waitpid(peer, nullptr, 0);
    return rate;
}

double linkCalls(const std::string& socketPath) {
    testing::AgentLink link(socketPath);
    link.send(initializeLine("bench-link"));
    const std::string account = accountOf(link.send(signUpLine("link")).value_or(""));
    const auto start = Clock::now();
    for (int i = 2; i < kCalls + 2; ++i) {
        if (!answers(link.send(balanceLine(i)).value_or(""), i, account)) return 0;
    }
    return kCalls / secondsSince(start);
}

struct Agent {
    std::unique_ptr<testing::BridgeProcess> bridge;
    std::string account{};  // known once it signed up
};

Agent startAgent(const testing::HostProcess& host, const std::string& name,
                 const std::filesystem::path& folder) {
    Agent agent{std::make_unique<testing::BridgeProcess>(
        TALLYWICK_BRIDGE_PATH, std::vector<std::string>{"--runtime-dir", host.runtimeDirectory()},
        (folder / (name + ".stderr")).string())};
    agent.bridge->sendLine(initializeLine(name));
    agent.bridge->sendLine(signUpLine(name));
    agent.bridge->readLine();
    agent.account = accountOf(agent.bridge->readLine().value_or(""));
    return agent;
}

// Calls answered per second, or 0 when any call was not answered as it should be.
double bridgeOneAtATime(Agent& agent, int calls, int firstId) {
    const auto start = Clock::now();
    for (int id = firstId; id < firstId + calls; ++id) {
        agent.bridge->sendLine(balanceLine(id));
        if (!answers(agent.bridge->readLine().value_or(""), id, agent.account)) return 0;
    }
    return calls / secondsSince(start);
}

double bridgePipelined(Agent& agent, int firstId) {
    const auto start = Clock::now();
    std::thread writer([&] {
        std::string batch;
        for (int id = firstId; id < firstId + kCalls; ++id) {
            batch += balanceLine(id) + "\n";
            if (batch.size() > 32 * 1024) {
                agent.bridge->send(batch);
                batch.clear();
            }
        }
        agent.bridge->send(batch);
    });
    bool ok = true;
    for (int id = firstId; id < firstId + kCalls && ok; ++id) {
        ok = answers(agent.bridge->readLine().value_or(""), id, agent.account);
    }
    const double rate = kCalls / secondsSince(start);
    writer.join();
    return ok ? rate : 0;
}

}  // namespace

int main() {
    const auto folder =
        std::filesystem::temp_directory_path() / ("tallywick-bridge-bench-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);

    // The sizes of one getBalance line and its reply, measured on the real thing below.
    std::size_t requestBytes = balanceLine(12345).size() + 1, replyBytes = 240;

    testing::HostProcess host(folder, TALLYWICK_HOST_PATH);
    if (!host.start()) {
        std::fprintf(stderr, "host did not start: %s\n", host.stderrText().c_str());
        return 1;
    }
    Agent agent = startAgent(host, "bench-agent", folder);
    if (agent.account.empty()) {
        std::fprintf(stderr, "the bridge did not sign up: %s\n", agent.bridge->stderrText().c_str());
        return 1;
    }
    agent.bridge->sendLine(balanceLine(2));
    replyBytes = agent.bridge->readLine().value_or("").size() + 1;

    std::vector<double> raw, link, single, pipelined;
    int nextId = 10;
    for (int round = 0; round < kRounds; ++round) {
        raw.push_back(rawRoundTrips(requestBytes, replyBytes));
        link.push_back(linkCalls(host.socketPath()));
        single.push_back(bridgeOneAtATime(agent, kCalls, nextId));
        nextId += kCalls;
        pipelined.push_back(bridgePipelined(agent, nextId));
        nextId += kCalls;
    }

    // 50 agents, each with a bridge of its own, all calling at once.
    std::vector<Agent> agents;
    for (int i = 0; i < kAgents; ++i)
        agents.push_back(startAgent(host, "agent-" + std::to_string(i), folder));
    std::atomic<int> failed = 0;
    for (const auto& each : agents) failed += each.account.empty() ? kCallsPerAgent : 0;
    const auto start = Clock::now();
    std::vector<std::thread> callers;
    for (auto& each : agents) {
        callers.emplace_back([&] {
            for (int id = 10; id < 10 + kCallsPerAgent; ++id) {
                each.bridge->sendLine(balanceLine(id));
                if (!answers(each.bridge->readLine().value_or(""), id, each.account)) ++failed;
            }
        });
    }
    for (auto& caller : callers) caller.join();
    const double crowdSeconds = secondsSince(start);
    agents.clear();
    agent.bridge.reset();
    host.stop();
    std::filesystem::remove_all(folder);

    const double r = median(raw), l = median(link), s = median(single), p = median(pipelined);
    const int total = kAgents * kCallsPerAgent;
    std::printf(
        "getBalance through the chain (medians of %d rounds of %d calls; request %zu B, reply %zu B)\n",
        kRounds, kCalls, requestBytes, replyBytes);
    std::printf("  %-34s %10.0f /s\n", "raw Unix socket ping-pong", r);
    std::printf("  %-34s %10.0f /s   %5.2f of raw\n", "link to the host, no bridge", l, l / r);
    std::printf("  %-34s %10.0f /s   %5.2f of raw, %5.2f of link   (target >= 5000/s)\n",
                "bridge, one call at a time", s, s / r, s / l);
    std::printf("  %-34s %10.0f /s   %5.2f of raw, %5.2f of link, %5.2fx one at a time\n",
                "bridge, pipelined", p, p / r, p / l, p / s);
    std::printf(
        "%d bridges at once, %d calls each, one at a time: %.0f calls/s in all, %d of %d failed"
        " (target: none)\n",
        kAgents, kCallsPerAgent, total / crowdSeconds, failed.load(), total);
    const bool met = s >= 5000 && failed == 0;
    std::printf("%s\n", met ? "targets met" : "TARGET MISSED");
    return failed == 0 && s > 0 && p > 0 ? 0 : 1;
}
