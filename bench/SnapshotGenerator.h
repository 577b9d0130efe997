// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <tallywick/core.h>

namespace tallywick::bench {

// The size of one generated host state. The same shape and seed always give
// the same state, so runs on different machines read the same text.
struct SnapshotShape {
    std::size_t entries = 1000;
    std::size_t accounts = 100;
    std::size_t apiLogRecords = 500;
    std::size_t connections = 24;
    std::uint64_t seed = 0x7a11'5eedULL;
};

Snapshot generateSnapshot(const SnapshotShape& shape);

// The snapshot answer exactly as the host writes it: built as records and
// written by encodeToString. Aborts should our own writer refuse it.
std::string snapshotResponseText(const SnapshotShape& shape);

// One benchmarked text and the number of ledger entries in it.
struct Workload {
    std::size_t entries = 0;
    std::string text;
};

}  // namespace tallywick::bench
