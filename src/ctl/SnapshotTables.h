// SPDX-License-Identifier: MIT
#pragma once
#include <string>

#include <tallywick/core.h>

namespace tallywick {

// The host's state as a person reads it in a terminal: one table per section.
std::string renderSnapshot(const Snapshot& snapshot);

// API log records, oldest first, as a table; with `payloads`, each record's
// line followed by its whole payload indented.
std::string renderApiLog(const std::vector<ApiLogEntry>& oldestFirst, bool payloads);

}  // namespace tallywick
