// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <string>

#include <tallywick/core.h>

namespace tallywick {

// Which API log records `events` and `log` show: all when nothing is asked.
// An agent is named by the label its records show (its client's title or
// name), its account or its connection.
struct ApiLogFilter {
    std::optional<std::string> agent;
    std::optional<std::string> method;
    std::optional<Direction> direction;

    bool isEmpty() const { return !agent && !method && !direction; }
    bool admits(const ApiLogEntry& entry) const;

    friend bool operator==(const ApiLogFilter&, const ApiLogFilter&) = default;
};

}  // namespace tallywick
