// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace tallywick::bench {

// Prints as the console reporter does and keeps each benchmark's measured
// bytes per second for the summary. With repetitions, the median is kept.
class CapturingReporter : public benchmark::ConsoleReporter {
public:
    CapturingReporter() : ConsoleReporter(OO_Tabular) {}
    void ReportRuns(const std::vector<Run>& runs) override;

    // Bytes per second of the named run, or a negative number.
    double bytesPerSecond(const std::string& name) const;

private:
    std::map<std::string, double> rates_;
    std::map<std::string, bool> fromMedian_;
};

// Benchmarks are named "<decoder>/<entries>", e.g. "ours/100000".
std::string benchmarkName(const char* decoder, std::size_t entries);

struct SummaryRow {
    std::size_t entries = 0;
    std::size_t textBytes = 0;
};

// The decoders' throughput side by side, and whether the targets are met at
// the largest size.
void printThroughputSummary(const CapturingReporter& reporter, const std::vector<SummaryRow>& rows);

}  // namespace tallywick::bench
