// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include <tallywick/link/MainThreadPoster.h>

namespace tallywick {

// A main-thread loop without a GUI: the thread that calls run() or runUntil()
// executes the posted tasks.
class EventLoop final : public MainThreadPoster {
public:
    void post(std::function<void()> task) override;

    // Runs tasks until stop() is called.
    void run();
    // Runs tasks until `done` holds after a task, or the time is up; says whether `done` held.
    bool runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit);
    void stop();

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> tasks_;
    bool stopped_ = false;
};

}  // namespace tallywick
