// SPDX-License-Identifier: MIT
#include <tallywick/app/QtMainThreadPoster.h>

#include <QThread>

namespace tallywick {

QtMainThreadPoster::QtMainThreadPoster() : receiver_(new QObject) {}

QtMainThreadPoster::~QtMainThreadPoster() {
    // The last owner may be the I/O thread; a receiver must die on its own
    // thread, after the calls already queued for it.
    if (receiver_->thread() == QThread::currentThread()) {
        delete receiver_;
    } else {
        receiver_->deleteLater();
    }
}

void QtMainThreadPoster::post(std::function<void()> task) {
    // Queued calls to one receiver run in the order they were posted.
    QMetaObject::invokeMethod(receiver_, std::move(task), Qt::QueuedConnection);
}

}  // namespace tallywick
