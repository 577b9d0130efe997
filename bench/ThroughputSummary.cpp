// SPDX-License-Identifier: MIT
#include "ThroughputSummary.h"

#include <cstdio>

#include "BenchTable.h"

namespace tallywick::bench {
namespace {

constexpr double kFloorShareTarget = 0.5;    // ours at least half as fast as parsing alone
constexpr double kBaselineRatioTarget = 10;  // and ten times Qt's reader
constexpr std::size_t kTargetEntries = 100000;

double megabytes(double bytes) {
    return bytes / 1e6;
}

// A benchmark left out by a filter shows as "-".
std::string rate(double bytesPerSecond) {
    if (bytesPerSecond <= 0) return "-";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", megabytes(bytesPerSecond));
    return text;
}

std::string ratio(double top, double bottom, const char* unit) {
    if (top <= 0 || bottom <= 0) return "-";
    char text[32];
    std::snprintf(text, sizeof text, unit[0] ? "%.1f%s" : "%.3f%s", top / bottom, unit);
    return text;
}

}  // namespace

std::string benchmarkName(const char* decoder, std::size_t entries) {
    std::string name = decoder;
    name += '/';
    name += std::to_string(entries);
    return name;
}

void CapturingReporter::ReportRuns(const std::vector<Run>& runs) {
    for (const auto& run : runs) {
        if (run.error_occurred) continue;
        const auto counter = run.counters.find("bytes_per_second");
        if (counter == run.counters.end()) continue;
        const std::string name = run.run_name.str();
        const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
        if (run.run_type == Run::RT_Aggregate && !median) continue;
        // A median, once there, wins over any single repetition.
        if (!median && fromMedian_[name]) continue;
        rates_[name] = counter->second.value;
        fromMedian_[name] = median;
    }
    ConsoleReporter::ReportRuns(runs);
}

double CapturingReporter::bytesPerSecond(const std::string& name) const {
    const auto found = rates_.find(name);
    return found == rates_.end() ? -1 : found->second;
}

void printThroughputSummary(const CapturingReporter& reporter, const std::vector<SummaryRow>& rows) {
    std::printf("\nDecode throughput of the snapshot answer (MB/s = 10^6 bytes of JSON text per second)\n");
    std::printf("%9s %9s %11s %11s %11s %11s %14s\n", "entries", "text MB", "floor MB/s", "ours MB/s",
                "Qt MB/s", "ours/floor", "ours/baseline");
    bool targetMeasured = false;
    bool floorMet = false;
    bool baselineMet = false;
    double floorShare = 0;
    double baselineRatio = 0;
    for (const auto& row : rows) {
        const double floor = reporter.bytesPerSecond(benchmarkName("floor", row.entries));
        const double ours = reporter.bytesPerSecond(benchmarkName("ours", row.entries));
        const double baseline = reporter.bytesPerSecond(benchmarkName("baseline", row.entries));
        std::printf("%9zu %9.2f %11s %11s %11s %11s %14s\n", row.entries, megabytes(double(row.textBytes)),
                    rate(floor).c_str(), rate(ours).c_str(), rate(baseline).c_str(),
                    ratio(ours, floor, "").c_str(), ratio(ours, baseline, "x").c_str());
        if (row.entries == kTargetEntries && floor > 0 && ours > 0 && baseline > 0) {
            targetMeasured = true;
            floorShare = ours / floor;
            baselineRatio = ours / baseline;
            floorMet = floorShare >= kFloorShareTarget;
            baselineMet = baselineRatio >= kBaselineRatioTarget;
        }
    }
    if (!targetMeasured) {
        std::printf("Targets at %zu entries: not all three measured in this run\n", kTargetEntries);
        return;
    }
    std::printf("Target at %zu entries: ours/floor >= %.2f: %s (%.3f)\n", kTargetEntries, kFloorShareTarget,
                floorMet ? "MET" : "NOT MET", floorShare);
    std::printf("Target at %zu entries: ours/baseline >= %.0fx: %s (%.1fx)\n", kTargetEntries,
                kBaselineRatioTarget, baselineMet ? "MET" : "NOT MET", baselineRatio);
    const auto scale = ", " + scaleName(int(kTargetEntries));
    for (const auto& row : rows) {
        if (row.entries != kTargetEntries) continue;
        const double floor = reporter.bytesPerSecond(benchmarkName("floor", row.entries)) / 1e6;
        const double ours = reporter.bytesPerSecond(benchmarkName("ours", row.entries)) / 1e6;
        const double baseline = reporter.bytesPerSecond(benchmarkName("baseline", row.entries)) / 1e6;
        recordAtLeast("snapshot decode" + scale, ours, "MB/s", "simdjson's bare parse", floor,
                      kFloorShareTarget);
        recordAtLeast("snapshot decode" + scale, ours, "MB/s", "Qt's QJsonDocument", baseline,
                      kBaselineRatioTarget);
    }
}

}  // namespace tallywick::bench
