// SPDX-License-Identifier: MIT
// Round trips through the link against the same trips over a bare Unix
// socket between the same two processes (the floor):
//   small: a ~100-byte control call through XPCControlClient, answered by the
//          peer, completed on the main thread; floor: a 100-byte ping-pong.
//   large: a 20 MB reply to one link call; floor: 20 MB read off a socket.
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <future>
#include <map>
#include <thread>

#include <benchmark/benchmark.h>

#include <tallywick/link/EventLoop.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/XPCControlClient.h>
#include <tallywick/model/TallywickCoding.h>

#include "BenchTable.h"
#include "LinkBenchSizes.h"

extern char** environ;

using namespace tallywick;
using namespace std::chrono_literals;

namespace {

std::string linkPath, rawPath;

int connectRaw(const std::string& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

bool transfer(int fd, char* data, std::size_t size, bool reading) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t n = reading ? ::read(fd, data + done, size - done)
                                  : ::send(fd, data + done, size - done, MSG_NOSIGNAL);
        if (n <= 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

void rawSmall(benchmark::State& state) {
    const int fd = connectRaw(rawPath);
    char message[1 + bench::kSmallBytes] = {'p'};
    char answer[bench::kSmallBytes];
    for (auto _ : state) {
        if (!transfer(fd, message, sizeof message, false) || !transfer(fd, answer, sizeof answer, true)) {
            state.SkipWithError("raw ping-pong failed");
            break;
        }
    }
    ::close(fd);
}

void rawLarge(benchmark::State& state) {
    const int fd = connectRaw(rawPath);
    std::string buffer(bench::kLargeBytes, '\0');
    char command = 'b';
    for (auto _ : state) {
        if (!transfer(fd, &command, 1, false) || !transfer(fd, buffer.data(), buffer.size(), true)) {
            state.SkipWithError("raw transfer failed");
            break;
        }
    }
    ::close(fd);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bench::kLargeBytes));
}

void clientSmall(benchmark::State& state) {
    auto loop = std::make_shared<EventLoop>();
    IoThread io;
    auto client = XPCControlClient::create(loop, io, {linkPath, tallywickHostRequirement()});
    // {"deleteEntry":{"id":"…"}} padded to the small size.
    const auto request = ControlRequest::deleteEntry(std::string(bench::kSmallBytes - 25, 'e'));
    for (auto _ : state) {
        bool answered = false;
        bool usable = false;
        client->send(request, [&](std::optional<ControlResponse> response) {
            answered = true;
            usable = response.has_value();
        });
        loop->runUntil([&] { return answered; }, std::chrono::milliseconds(10'000));
        if (!usable) {
            state.SkipWithError("the control call got no answer");
            break;
        }
    }
    client.reset();
}

// The same small call on a bare link connection, waited for with a future:
// what the client's queue and main-thread hop add shows beside client_small.
void linkSmall(benchmark::State& state) {
    IoThread io;
    auto connection = LinkConnection::connect(io.context(), linkPath, tallywickHostRequirement());
    connection->start({});
    const std::string request = *TallywickCoding::encodeToString(
        ControlRequest::deleteEntry(std::string(bench::kSmallBytes - 25, 'e')));
    for (auto _ : state) {
        std::promise<bool> answered;
        connection->call(
            "control", request, [&](std::string) { answered.set_value(true); },
            [&](const LinkFailure&) { answered.set_value(false); });
        if (!answered.get_future().get()) {
            state.SkipWithError("the control call got no answer");
            break;
        }
    }
    connection->close();
}

void linkLarge(benchmark::State& state) {
    IoThread io;
    auto connection = LinkConnection::connect(io.context(), linkPath, tallywickHostRequirement());
    connection->start({});
    for (auto _ : state) {
        std::promise<std::size_t> received;
        connection->call(
            "control", R"({"deleteEntry":{"id":"bulk"}})",
            [&](std::string reply) { received.set_value(reply.size()); },
            [&](const LinkFailure&) { received.set_value(0); });
        if (received.get_future().get() < bench::kLargeBytes - 100) {
            state.SkipWithError("the large reply did not arrive");
            break;
        }
    }
    connection->close();
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bench::kLargeBytes));
}

class TimeReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.error_occurred) continue;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
            nanoseconds[run.run_name.function_name] =
                run.GetAdjustedRealTime() * 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
        }
    }
    std::map<std::string, double> nanoseconds;
};

void printRatio(const TimeReporter& reporter, const char* ours, const char* floor, double target,
                const char* metric, const char* baseline) {
    const auto a = reporter.nanoseconds.find(ours), b = reporter.nanoseconds.find(floor);
    if (a == reporter.nanoseconds.end() || b == reporter.nanoseconds.end()) return;
    const double ratio = a->second / b->second;
    std::printf("%-14s %12.1f us   %-14s %12.1f us   ratio %.2f  (target <= %.1f: %s)\n", ours,
                a->second / 1e3, floor, b->second / 1e3, ratio, target, ratio <= target ? "MET" : "NOT MET");
    bench::recordAtMost(metric, a->second / 1e3, "us", baseline, b->second / 1e3, target);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    const auto folder =
        std::filesystem::temp_directory_path() / ("tallywick-link-bench-" + std::to_string(::getpid()));
    if (!prepareRuntimeDirectory(folder).usable()) return 1;
    linkPath = (folder / "link.sock").string();
    rawPath = (folder / "raw.sock").string();

    const std::string peer =
        (std::filesystem::path(argv[0]).parent_path() / "tallywick_link_bench_peer").string();
    char* const args[] = {const_cast<char*>(peer.c_str()), linkPath.data(), rawPath.data(), nullptr};
    pid_t pid = 0;
    if (::posix_spawn(&pid, peer.c_str(), nullptr, nullptr, args, environ) != 0) return 1;
    for (int i = 0; i < 500; ++i) {
        const int a = connectRaw(linkPath), b = connectRaw(rawPath);
        if (a >= 0) ::close(a);
        if (b >= 0) ::close(b);
        if (a >= 0 && b >= 0) break;
        std::this_thread::sleep_for(10ms);
    }

    benchmark::RegisterBenchmark("client_small", clientSmall)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("link_small", linkSmall)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("raw_small", rawSmall)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("link_large", linkLarge)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("raw_large", rawLarge)->Unit(benchmark::kMillisecond);
    TimeReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\nLink against a bare socket between the same two processes\n");
    printRatio(reporter, "client_small", "raw_small", 2.0, "small control call, caller to main thread",
               "bare socket ping-pong");
    printRatio(reporter, "link_small", "raw_small", 2.0, "small call on the link", "bare socket ping-pong");
    printRatio(reporter, "link_large", "raw_large", 1.5, "20 MB reply through the link",
               "bare socket transfer");

    ::kill(pid, SIGTERM);
    ::waitpid(pid, nullptr, 0);
    std::filesystem::remove_all(folder);
    benchmark::Shutdown();
    return 0;
}
