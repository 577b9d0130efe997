// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace tallywick::bench {

// This program replaces the global operator new and delete. While counting is
// on they add up the bytes malloc really sets aside for each block (its usable
// size), so figures include the allocator's rounding. Counting is off during
// the timed runs, which then pay for no more than one flag test per call.
struct HeapFigures {
    std::int64_t live = 0;  // allocated minus freed since counting started
    std::int64_t peak = 0;  // highest `live` seen since counting started
};

void startHeapCounting();
HeapFigures heapFigures();
HeapFigures stopHeapCounting();

}  // namespace tallywick::bench
