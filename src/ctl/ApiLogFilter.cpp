// SPDX-License-Identifier: MIT
#include "ApiLogFilter.h"

namespace tallywick {

bool ApiLogFilter::admits(const ApiLogEntry& entry) const {
    if (direction && entry.direction != *direction) return false;
    if (method && entry.method != *method) return false;
    return !agent || entry.clientLabel == *agent || entry.accountId == *agent || entry.connectionId == *agent;
}

}  // namespace tallywick
