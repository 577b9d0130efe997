// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include <tallywick/link/MainThreadPoster.h>

namespace tallywick {

// Posts work to Qt's main thread as queued calls on a receiver living there.
// Make it on the main thread.
class QtMainThreadPoster final : public MainThreadPoster {
public:
    QtMainThreadPoster();
    ~QtMainThreadPoster() override;
    QtMainThreadPoster(const QtMainThreadPoster&) = delete;
    QtMainThreadPoster& operator=(const QtMainThreadPoster&) = delete;

    void post(std::function<void()> task) override;

private:
    QObject* receiver_;
};

}  // namespace tallywick
