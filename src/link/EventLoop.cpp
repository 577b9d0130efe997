// SPDX-License-Identifier: MIT
#include <tallywick/link/EventLoop.h>

namespace tallywick {

void EventLoop::post(std::function<void()> task) {
    {
        std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    wake_.notify_one();
}

void EventLoop::run() {
    runUntil([] { return false; }, std::chrono::milliseconds::max());
}

bool EventLoop::runUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = limit == std::chrono::milliseconds::max()
                              ? std::chrono::steady_clock::time_point::max()
                              : std::chrono::steady_clock::now() + limit;
    if (done()) return true;
    while (true) {
        std::function<void()> task;
        {
            std::unique_lock lock(mutex_);
            if (!wake_.wait_until(lock, deadline, [this] { return !tasks_.empty() || stopped_; }))
                return false;
            if (stopped_) {
                stopped_ = false;
                return done();
            }
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task();
        if (done()) return true;
    }
}

void EventLoop::stop() {
    {
        std::lock_guard lock(mutex_);
        stopped_ = true;
    }
    wake_.notify_one();
}

}  // namespace tallywick
