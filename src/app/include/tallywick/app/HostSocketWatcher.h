// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>
#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <string>

namespace tallywick {

// Tells when a host's socket appears at a path, from the kernel's notice
// that its folder changed: no timer, no polling. A folder that does not exist
// yet is waited for through the nearest folder above it that does. A socket
// replaced by a new one (a restarted host renaming over a killed one's
// leftover) counts as appearing again.
class HostSocketWatcher : public QObject {
    Q_OBJECT

public:
    explicit HostSocketWatcher(const std::string& socketPath, QObject* parent = nullptr);

    // The folder being watched now; empty when none could be.
    const QString& watchedFolder() const { return watched_; }

signals:
    void socketAppeared();

private:
    void rearm();
    void check();

    QFileSystemWatcher watcher_;
    QString socket_;
    QString folder_;
    QString watched_;
    ino_t seen_ = 0;  // the socket file's inode last seen; 0 when absent
};

}  // namespace tallywick
