// SPDX-License-Identifier: MIT
#include <tallywick/link/StopSignals.h>

#include <pthread.h>

namespace tallywick {

StopSignals::StopSignals() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGTERM);
    sigaddset(&signals_, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

int StopSignals::wait() const {
    int received = 0;
    sigwait(&signals_, &received);
    return received;
}

}  // namespace tallywick
