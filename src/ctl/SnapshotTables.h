// SPDX-License-Identifier: MIT
#pragma once
#include <string>

#include <tallywick/core.h>

namespace tallywick {

// The host's state as a person reads it in a terminal: one table per section.
std::string renderSnapshot(const Snapshot& snapshot);

}  // namespace tallywick
