// SPDX-License-Identifier: MIT
// The App model against a real host of 100 accounts and --entries=N entries
// (100,000 unless told):
//   refresh:  a createEntry command until the model's `entries` has changed
//             (command, commit, refresh, decode, apply), against decoding the
//             same snapshot text alone in the same run (target: at most 1.5 times);
//   burst:    10,000 apiCall events pushed by the host at once, applied on
//             the main thread; events per second, and the log kept to its bound.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>

#include <QCoreApplication>
#include <QElapsedTimer>

#include <tallywick/app/AppModel.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/model/TallywickCoding.h>

#include "BenchLedger.h"
#include "BenchTable.h"
#include "ProcessMemory.h"
#include "support/HostClients.h"
#include "support/HostProcess.h"

using namespace tallywick;
using Clock = std::chrono::steady_clock;

namespace {

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

template <class Done>
bool waitFor(Done done, int limitMs = 60'000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > limitMs) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int entries = bench::entriesArgument(argc, argv, bench::entryCount);
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tallywick-model-bench-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);
    testing::HostProcess host(folder, TALLYWICK_HOST_PATH);
    std::printf("Populating %d accounts and %d entries...\n", bench::accountCount, entries);
    if (!bench::populateLedger(host.databasePath(), entries) || !host.start()) return 1;

    IoThread io;
    AppModel model(io,
                   {.endpoint = {host.socketPath(), tallywickHostRequirement()}, .registerLoginItem = [] {}});
    model.start();
    if (!waitFor([&] { return model.entries().size() >= std::size_t(entries); })) return 1;
    const std::string account = model.accounts().front().id;

    // The baseline: the same snapshot's text decoded alone.
    testing::AgentLink raw(host.socketPath());
    std::vector<double> refresh, decode;
    bool changed = false;
    QObject::connect(&model, &AppModel::entriesChanged, [&] { changed = true; });
    for (int round = 0; round < 5; ++round) {
        changed = false;
        const auto start = Clock::now();
        model.createEntry({.accountId = account,
                           .kind = TransactionKind::credit,
                           .flag = LedgerFlag::none,
                           .amount = round + 1,
                           .memo = "bench"});
        if (!waitFor([&] { return changed; })) return 1;
        refresh.push_back(millisecondsSince(start));

        const auto text = raw.call("control", R"({"snapshot":{}})");
        if (!text) return 1;
        const auto decodeStart = Clock::now();
        if (!TallywickCoding::decodeInPlace<ControlResponse>(*text)) return 1;
        decode.push_back(millisecondsSince(decodeStart));
    }

    // What a snapshot that changes nothing costs the main thread (a change
    // event fetches one when no snapshot is on its way): the same
    // state applied again (its decode runs on the I/O thread, measured above).
    std::vector<double> again;
    for (int round = 0; round < 5; ++round) {
        Snapshot same{model.accounts(), model.entries(), model.connections(),
                      model.settings(), model.apiLog(),  model.hostVersion()};
        const auto start = Clock::now();
        model.applySnapshot(std::move(same));
        again.push_back(millisecondsSince(start));
    }

    // The burst: 5,000 pipelined pings are 10,000 logged agent messages.
    constexpr int pings = 5000;
    const long rssBefore = bench::processMemoryKiB("VmRSS:");
    std::size_t applied = 0;
    QObject::connect(&model, &AppModel::apiLogChanged, [&] { ++applied; });
    IoThread agentIo;
    auto agent = LinkConnection::connect(agentIo.context(), host.socketPath(), tallywickHostRequirement());
    agent->start({.onCall = [](std::uint64_t, const std::string&, std::string) { return false; },
                  .onMessage = [](const std::string&, std::string) {},
                  .onInterrupted = [](const std::string&) {},
                  .onInvalidated = [](const std::string&) {}});
    std::atomic<int> answered = 0;
    const auto burstStart = Clock::now();
    for (int i = 0; i < pings; ++i)
        agent->call(
            "handleAgentMessage", R"({"jsonrpc":"2.0","id":)" + std::to_string(i) + R"(,"method":"ping"})",
            [&](std::string) { ++answered; }, [&](const LinkFailure&) { ++answered; });
    // One connectionsChanged refresh may land in between; count log changes only.
    const bool all = waitFor([&] { return applied >= 2 * pings; });
    const double burstMs = millisecondsSince(burstStart);
    const long rssAfter = bench::processMemoryKiB("VmRSS:");
    agent->close();

    const double refreshMs = median(refresh), decodeMs = median(decode);
    std::printf(
        "a snapshot that changes nothing: %.2f ms on the main thread, %.2f ms decoding on the I/O thread\n",
        median(again), decodeMs);
    bench::recordRow({.metric = "a snapshot that changes nothing, main thread, " + bench::scaleName(entries),
                      .goal = "reported",
                      .value = median(again),
                      .unit = "ms",
                      .baseline = "its decode on the I/O thread",
                      .baselineValue = decodeMs,
                      .ratio = median(again) / decodeMs,
                      .met = true});
    bench::recordAtMost("createEntry until the model has it, " + bench::scaleName(entries), refreshMs, "ms",
                        "warm decode of the same text", decodeMs, 1.5);
    std::printf(
        "createEntry until entries changed %9.2f ms   decode alone %9.2f ms   ratio %.2f  (target <= 1.5: "
        "%s)\n",
        refreshMs, decodeMs, refreshMs / decodeMs, refreshMs / decodeMs <= 1.5 ? "met" : "NOT MET");
    std::printf(
        "apiCall burst: %zu of %d events in %.1f ms = %.0f events/s; log holds %zu (bound %zu); "
        "resident memory %+ld KiB\n",
        applied, 2 * pings, burstMs, applied / (burstMs / 1000), model.apiLog().size(),
        AppModel::apiLogCapacity, rssAfter - rssBefore);
    host.stop();
    std::filesystem::remove_all(folder);
    return all && model.apiLog().size() <= AppModel::apiLogCapacity ? 0 : 1;
}
