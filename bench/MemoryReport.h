// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "SnapshotGenerator.h"

namespace tallywick::bench {

// Heap held by one decoded snapshot against the plain size of its records,
// and the high-water mark while decoding, for each workload.
void printMemoryReport(const std::vector<Workload>& workloads);

}  // namespace tallywick::bench
