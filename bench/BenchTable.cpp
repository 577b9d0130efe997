// SPDX-License-Identifier: MIT
#include "BenchTable.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace tallywick::bench {

void recordRow(const TableRow& row) {
    const char* path = std::getenv("TALLYWICK_BENCH_TABLE");
    if (!path || !*path) return;
    FILE* file = std::fopen(path, "a");
    if (!file) return;
    std::string baseline = row.baseline;
    if (row.baselineValue > 0) {
        char value[48];
        std::snprintf(value, sizeof value, ": %.4g %s", row.baselineValue, row.unit.c_str());
        baseline += value;
    }
    char ratio[16] = "-";
    if (row.ratio > 0) std::snprintf(ratio, sizeof ratio, "%.2f", row.ratio);
    std::fprintf(file, "%s\t%s\t%.4g %s\t%s\t%s\t%s\n", row.metric.c_str(), row.goal.c_str(), row.value,
                 row.unit.c_str(), baseline.c_str(), ratio, row.met ? "met" : "NOT MET");
    std::fclose(file);
}

namespace {

// ratio = value / baselineValue, met when on the bound's side of it.
void recordRatio(std::string metric, double value, std::string unit, std::string baseline,
                 double baselineValue, double bound, bool atMost) {
    const double ratio = baselineValue > 0 ? value / baselineValue : 0;
    char goal[32];
    std::snprintf(goal, sizeof goal, "%s %.2g", atMost ? "<=" : ">=", bound);
    const bool met = baselineValue > 0 && (atMost ? ratio <= bound : ratio >= bound);
    recordRow(
        {std::move(metric), goal, value, std::move(unit), std::move(baseline), baselineValue, ratio, met});
}

}  // namespace

void recordAtMost(std::string metric, double value, std::string unit, std::string baseline,
                  double baselineValue, double most) {
    recordRatio(std::move(metric), value, std::move(unit), std::move(baseline), baselineValue, most, true);
}

void recordAtLeast(std::string metric, double value, std::string unit, std::string baseline,
                   double baselineValue, double least) {
    recordRatio(std::move(metric), value, std::move(unit), std::move(baseline), baselineValue, least, false);
}

void recordWithin(std::string metric, double value, std::string unit, double most) {
    char goal[48];
    std::snprintf(goal, sizeof goal, "<= %g %s", most, unit.c_str());
    recordRow({std::move(metric), goal, value, std::move(unit), "-", 0, value / most, value <= most});
}

int entriesArgument(int argc, char** argv, int fallback) {
    constexpr std::string_view flag = "--entries=";
    for (int i = 1; i < argc; ++i) {
        const std::string_view argument = argv[i];
        if (argument.starts_with(flag)) return std::atoi(argument.substr(flag.size()).data());
    }
    return fallback;
}

std::string scaleName(int entries) {
    if (entries % 1'000'000 == 0) return std::to_string(entries / 1'000'000) + "M";
    if (entries % 1'000 == 0) return std::to_string(entries / 1'000) + "k";
    return std::to_string(entries);
}

}  // namespace tallywick::bench
