// SPDX-License-Identifier: MIT
// Decode throughput of the snapshot answer: simdjson's parse alone (the
// floor), our decoder, and the same strict decode written with Qt's JSON
// classes (the baseline); then the heap a decoded snapshot holds.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <simdjson.h>

#include <tallywick/core.h>

#include "DecoderAgreement.h"
#include "MemoryReport.h"
#include "QtSnapshotDecoder.h"
#include "SnapshotGenerator.h"
#include "ThroughputSummary.h"

namespace {

using namespace tallywick;
using namespace tallywick::bench;

constexpr std::size_t kEntryCounts[] = {1000, 10000, 100000};

void setBytes(benchmark::State& state, const std::string& text) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(text.size()));
}

// Our decoder parses with one long-lived parser per thread, set up from the
// decoder's configuration; the floor does the same, minus the records.
void floorParse(benchmark::State& state, const std::string* text) {
    const auto& config = TallywickCoding::decoder();
    simdjson::dom::parser parser(config.maxCapacity);
    simdjson::dom::element root;
    if (parser.allocate(simdjson::SIMDJSON_PADDING, config.maxDepth) != simdjson::SUCCESS ||
        parser.parse(text->data(), text->size()).get(root) != simdjson::SUCCESS) {
        state.SkipWithError("simdjson refused the text");
        return;
    }
    for (auto _ : state) {
        const auto error = parser.parse(text->data(), text->size()).get(root);
        benchmark::DoNotOptimize(root);
        if (error != simdjson::SUCCESS) {
            state.SkipWithError("simdjson refused the text");
            break;
        }
    }
    setBytes(state, *text);
}

// Freeing the records afterwards is the caller's cost, not the decoder's, so
// both decoders free theirs with the clock stopped.
template <class Decode>
void decodeRecords(benchmark::State& state, const std::string* text, Decode decode) {
    for (auto _ : state) {
        auto decoded = decode(*text);
        if (!decoded) {
            state.SkipWithError("the text did not decode");
            break;
        }
        benchmark::DoNotOptimize(decoded);
        state.PauseTiming();
        decoded.reset();
        state.ResumeTiming();
    }
    setBytes(state, *text);
}

void oursDecode(benchmark::State& state, const std::string* text) {
    decodeRecords(state, text,
                  [](std::string_view t) { return TallywickCoding::decode<ControlResponse>(t); });
}

void baselineDecode(benchmark::State& state, const std::string* text) {
    decodeRecords(state, text, [](std::string_view t) { return decodeWithQt(t); });
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    std::vector<Workload> workloads;
    std::vector<SummaryRow> rows;
    for (const auto entries : kEntryCounts) {
        workloads.push_back({entries, snapshotResponseText({.entries = entries})});
        rows.push_back({entries, workloads.back().text.size()});
    }
    std::printf("simdjson implementation: %s\n", simdjson::get_active_implementation()->name().c_str());
    verifyDecodersAgree(workloads);
    std::fflush(stdout);

    for (const auto& workload : workloads) {
        benchmark::RegisterBenchmark(benchmarkName("floor", workload.entries).c_str(), floorParse,
                                     &workload.text)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(benchmarkName("ours", workload.entries).c_str(), oursDecode,
                                     &workload.text)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(benchmarkName("baseline", workload.entries).c_str(), baselineDecode,
                                     &workload.text)
            ->Unit(benchmark::kMillisecond);
    }
    CapturingReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::fflush(stdout);

    printThroughputSummary(reporter, rows);
    printMemoryReport(workloads);
    benchmark::Shutdown();
    return 0;
}
