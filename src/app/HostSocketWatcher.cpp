// SPDX-License-Identifier: MIT
#include <tallywick/app/HostSocketWatcher.h>

#include <sys/stat.h>

#include <QFileInfo>
#include <cstdio>

#include <tallywick/link/LogLine.h>

namespace tallywick {
namespace {

ino_t socketInode(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !S_ISSOCK(info.st_mode)) return 0;
    return info.st_ino;
}

}  // namespace

HostSocketWatcher::HostSocketWatcher(const std::string& socketPath, QObject* parent)
    : QObject(parent),
      socket_(QFileInfo(QString::fromStdString(socketPath)).absoluteFilePath()),
      folder_(QFileInfo(socket_).path()),
      seen_(socketInode(socket_)) {
    connect(&watcher_, &QFileSystemWatcher::directoryChanged, this, [this] {
        rearm();
        check();
    });
    rearm();
}

void HostSocketWatcher::rearm() {
    QString target = folder_;
    while (!QFileInfo(target).isDir()) {
        const QString above = QFileInfo(target).path();
        if (above == target) break;
        target = above;
    }
    if (target == watched_) return;
    if (!watched_.isEmpty()) watcher_.removePath(watched_);
    watched_.clear();
    if (watcher_.addPath(target)) {
        watched_ = target;
    } else {
        LogLine::write("tallywick: ", LogLine::Priority::warning,
                       "cannot watch " + target.toStdString() +
                           " for the host's socket, so a restarted host is reached on your next command "
                           "only; if inotify watches ran out, raise fs.inotify.max_user_watches.");
    }
}

void HostSocketWatcher::check() {
    const ino_t now = socketInode(socket_);
    const bool appeared = now != 0 && now != seen_;
    seen_ = now;
    if (appeared) emit socketAppeared();
}

}  // namespace tallywick
