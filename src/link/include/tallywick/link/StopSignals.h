// SPDX-License-Identifier: MIT
#pragma once

#include <csignal>

namespace tallywick {

// SIGTERM and SIGINT taken out of ordinary delivery so that a daemon's main
// thread can wait for them and stop in order. Create it first in main, before
// any thread starts: threads inherit the blocked set, so only wait() sees them.
class StopSignals {
public:
    StopSignals();
    // Blocks until one arrives; gives its number.
    int wait() const;

private:
    sigset_t signals_;
};

}  // namespace tallywick
