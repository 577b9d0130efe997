// SPDX-License-Identifier: MIT
#include "MemoryReport.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <optional>
#include <thread>

#include <tallywick/core.h>

#include "HeapCounter.h"

#include "BenchTable.h"

namespace tallywick::bench {
namespace {

constexpr double kHeldRatioTarget = 2.0;
constexpr std::size_t kTargetEntries = 100000;

// What the decoded records take by plain sizeof, and what walking them
// says they hold on the heap (requested bytes, before malloc's rounding).
struct Footprint {
    std::size_t structs = 0;  // sizeof of every record in the lists
    std::size_t lists = 0;    // the lists' storage, by capacity
    std::size_t strings = 0;  // text that left the small-string buffer
};

template <class T>
void addList(Footprint& f, const std::vector<T>& items) {
    f.structs += items.size() * sizeof(T);
    f.lists += items.capacity() * sizeof(T);
    for (const auto& item : items) add(f, item);
}

void add(Footprint& f, const std::string& text) {
    // Text kept inside the string object itself costs no heap.
    const auto* self = reinterpret_cast<const char*>(&text);
    const std::less<const char*> before;
    const bool inside = !before(text.data(), self) && before(text.data(), self + sizeof text);
    if (!inside) f.strings += text.capacity() + 1;
}

void add(Footprint& f, const std::optional<std::string>& text) {
    if (text) add(f, *text);
}

void add(Footprint& f, const ClientInfo& info) {
    add(f, info.name);
    add(f, info.version);
    add(f, info.title);
}

void add(Footprint& f, const ClientInfoField& field) {
    add(f, field.key);
    add(f, field.value);
}

void add(Footprint& f, const Account& account) {
    add(f, account.id);
    add(f, account.displayName);
    if (account.clientInfo) add(f, *account.clientInfo);
    if (account.clientInfoFields) addList(f, *account.clientInfoFields);
}

void add(Footprint& f, const LedgerEntry& entry) {
    add(f, entry.id);
    add(f, entry.accountId);
    add(f, entry.memo);
}

void add(Footprint& f, const LiveConnection& connection) {
    add(f, connection.id);
    if (connection.clientInfo) add(f, *connection.clientInfo);
    add(f, connection.accountId);
}

void add(Footprint& f, const ApiLogEntry& record) {
    add(f, record.id);
    add(f, record.connectionId);
    add(f, record.accountId);
    add(f, record.clientLabel);
    add(f, record.method);
    add(f, record.payload);
}

Footprint footprintOf(const Snapshot& state) {
    Footprint f;
    addList(f, state.accounts);
    addList(f, state.entries);
    addList(f, state.connections);
    addList(f, state.recentApiLog);
    add(f, state.hostVersion);
    return f;
}

const Snapshot& snapshotOf(const std::optional<ControlResponse>& decoded) {
    if (!decoded || !std::holds_alternative<ControlResponse::Snapshot>(decoded->value)) {
        std::fprintf(stderr, "the memory run could not decode its snapshot\n");
        std::abort();
    }
    return std::get<ControlResponse::Snapshot>(decoded->value).snapshot;
}

struct Measurement {
    HeapFigures warm;  // this thread's parser already sized for the text
    HeapFigures cold;  // a fresh thread, so the parser's buffers are counted too
    Footprint footprint;
};

Measurement measure(const std::string& text) {
    Measurement m;
    // The thread's parser grows its buffers on first use and keeps them.
    snapshotOf(TallywickCoding::decode<ControlResponse>(text));
    {
        startHeapCounting();
        const auto decoded = TallywickCoding::decode<ControlResponse>(text);
        m.warm = stopHeapCounting();
        m.footprint = footprintOf(snapshotOf(decoded));
    }
    std::thread([&] {
        startHeapCounting();
        const auto decoded = TallywickCoding::decode<ControlResponse>(text);
        m.cold = stopHeapCounting();
        snapshotOf(decoded);
    }).join();
    return m;
}

double mb(double bytes) {
    return bytes / 1e6;
}

}  // namespace

void printMemoryReport(const std::vector<Workload>& workloads) {
    std::printf("\nHeap of one decoded snapshot (MB = 10^6 bytes; blocks counted at malloc's usable size)\n");
    std::printf(
        "sizeof: LedgerEntry %zu, Account %zu, ApiLogEntry %zu, LiveConnection %zu, ClientInfoField %zu, "
        "std::string %zu\n",
        sizeof(LedgerEntry), sizeof(Account), sizeof(ApiLogEntry), sizeof(LiveConnection),
        sizeof(ClientInfoField), sizeof(std::string));
    std::printf("%9s %9s %10s %10s %10s %9s %12s %9s %9s %12s %11s\n", "entries", "text MB", "structs MB",
                "lists MB", "strings MB", "held MB", "held/structs", "<= 2.0", "peak MB", "cold peak MB",
                "parser MB");
    double targetRatio = -1;
    for (const auto& workload : workloads) {
        const Measurement m = measure(workload.text);
        const auto& f = m.footprint;
        const double ratio = double(m.warm.live) / double(f.structs);
        std::printf("%9zu %9.2f %10.2f %10.2f %10.2f %9.2f %12.3f %9s %9.2f %12.2f %11.2f\n",
                    workload.entries, mb(double(workload.text.size())), mb(double(f.structs)),
                    mb(double(f.lists)), mb(double(f.strings)), mb(double(m.warm.live)), ratio,
                    ratio <= kHeldRatioTarget ? "MET" : "NOT MET", mb(double(m.warm.peak)),
                    mb(double(m.cold.peak)), mb(double(m.cold.live - m.warm.live)));
        if (workload.entries == kTargetEntries) targetRatio = ratio;
    }
    if (targetRatio > 0) {
        std::printf("Target at %zu entries: held/structs <= %.1f: %s (%.3f)\n", kTargetEntries,
                    kHeldRatioTarget, targetRatio <= kHeldRatioTarget ? "MET" : "NOT MET", targetRatio);
        for (const auto& workload : workloads) {
            if (workload.entries != kTargetEntries) continue;
            const Measurement m = measure(workload.text);
            recordAtMost("heap of a decoded snapshot, " + scaleName(int(kTargetEntries)),
                         mb(double(m.warm.live)), "MB", "its records' structs",
                         mb(double(m.footprint.structs)), kHeldRatioTarget);
        }
    }
}

}  // namespace tallywick::bench
