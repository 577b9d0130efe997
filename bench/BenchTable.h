// SPDX-License-Identifier: MIT
#pragma once
#include <string>

namespace tallywick::bench {

// One line of the table `./dev bench` ends with: a measured figure beside
// its baseline from the same run and the goal the ratio must meet. Appended
// to the file named by TALLYWICK_BENCH_TABLE; nothing happens without it.
struct TableRow {
    std::string metric;    // what was measured, with its scale ("snapshot ready after a change, 1M")
    std::string goal;      // the ratio's bound, as text ("<= 1.5")
    double value = 0;      // this run's median
    std::string unit;      // of value and baseline
    std::string baseline;  // what the value is compared with
    double baselineValue = 0;
    double ratio = 0;
    bool met = false;
};
void recordRow(const TableRow& row);

// Convenience for the common case: ratio = value / baselineValue, met when at most `most`.
void recordAtMost(std::string metric, double value, std::string unit, std::string baseline,
                  double baselineValue, double most);
void recordAtLeast(std::string metric, double value, std::string unit, std::string baseline,
                   double baselineValue, double least);

// A figure with a fixed bound and no baseline of its own: ratio = value / most.
void recordWithin(std::string metric, double value, std::string unit, double most);

// `--entries=N` from the command line, else the fallback.
int entriesArgument(int argc, char** argv, int fallback);
// "100k", "1M": how the table names a scale.
std::string scaleName(int entries);

}  // namespace tallywick::bench
