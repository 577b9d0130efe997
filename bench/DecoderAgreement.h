// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "SnapshotGenerator.h"

namespace tallywick::bench {

// A speed comparison means nothing unless both readers do the same job.
// Aborts unless ours and the Qt baseline read every workload back to the
// very text it was written from, and agree on a set of small faulty texts.
void verifyDecodersAgree(const std::vector<Workload>& workloads);

}  // namespace tallywick::bench
