// SPDX-License-Identifier: MIT
#include <tallywick/host/RuntimeFolderKeeper.h>

#include <sys/stat.h>
#include <unistd.h>

#include <tallywick/link/RuntimeDirectory.h>

#include <tallywick/host/HostLog.h>

namespace tallywick {

RuntimeFolderKeeper::RuntimeFolderKeeper(std::string folder, FileLock lock)
    : folder_(std::move(folder)), folderIdentity_(identityOf(folder_)) {
    lock_.emplace(std::move(lock));
}

std::optional<RuntimeFolderKeeper::Identity> RuntimeFolderKeeper::identityOf(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
    return Identity{info.st_dev, info.st_ino};
}

void RuntimeFolderKeeper::listened(const std::string& endpoint) {
    endpoint_ = endpoint;
    socketIdentity_ = identityOf(endpoint);
}

bool RuntimeFolderKeeper::intact() const {
    const auto folder = identityOf(folder_);
    return folder && folder == folderIdentity_ && lock_ && lock_->heldAt(folder_ + "/host.lock") &&
           (endpoint_.empty() || (socketIdentity_ && identityOf(endpoint_) == socketIdentity_));
}

Result<void, std::string> RuntimeFolderKeeper::restore() {
    const auto prepared = prepareRuntimeDirectory(folder_);
    if (!prepared.usable()) return fail(folder_ + ": " + prepared.problem);
    const std::string lockPath = folder_ + "/host.lock";
    if (!lock_ || !lock_->heldAt(lockPath)) {
        auto taken = FileLock::acquire(lockPath, std::to_string(::getpid()));
        if (!taken)
            return fail(taken.error().heldByOther ? "another host has taken " + folder_
                                                  : taken.error().reason);
        lock_.reset();
        lock_.emplace(std::move(taken).value());
    }
    folderIdentity_ = identityOf(folder_);
    return {};
}

void RuntimeFolderKeeper::keep(const std::function<Result<void, std::string>()>& listenAgain) {
    if (intact()) return;
    auto restored = restore();
    if (restored) restored = listenAgain();
    if (restored) {
        HostLog::notice("the runtime folder " + folder_ + " or its socket was removed; made them again");
        toldOfLoss_ = false;
    } else if (!toldOfLoss_) {
        toldOfLoss_ = true;
        HostLog::error("the runtime folder " + folder_ + " was removed and cannot be made again (" +
                       restored.error() + "); trying again");
    }
}

}  // namespace tallywick
