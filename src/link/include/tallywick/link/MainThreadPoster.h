// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace tallywick {

// Hands work to the thread that runs views, the model and every completion.
// The application gives a Qt-backed one; tallywickctl and tests an EventLoop.
class MainThreadPoster {
public:
    virtual ~MainThreadPoster() = default;
    // Callable from any thread; tasks run one at a time, in the order posted.
    virtual void post(std::function<void()> task) = 0;
};

}  // namespace tallywick
