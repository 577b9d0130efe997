// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

#include <tallywick/link/FileLock.h>
#include <tallywick/model/Result.h>

namespace tallywick {

// The host's hold on its runtime folder: the folder, the single-instance
// lock in it and the socket the host listens on. Someone may delete the
// folder under a running host (a cleanup script, rm -rf); the host then makes
// it again, so that its clients find it where they look.
class RuntimeFolderKeeper {
public:
    RuntimeFolderKeeper(std::string folder, FileLock lock);

    // After the host listened: the socket file it made.
    void listened(const std::string& endpoint);

    // Whether the folder, its lock file and the socket are still the ones
    // this host made.
    bool intact() const;

    // When the folder, its lock or the socket went missing: makes the folder
    // again (with the same checks and mode), takes its lock again and calls
    // `listenAgain`. Logs what it did, or once per loss why it cannot yet.
    void keep(const std::function<Result<void, std::string>()>& listenAgain);

    const std::string& folder() const { return folder_; }

private:
    Result<void, std::string> restore();

    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        bool operator==(const Identity&) const = default;
    };
    static std::optional<Identity> identityOf(const std::string& path);

    std::string folder_;
    std::optional<FileLock> lock_;
    std::optional<Identity> folderIdentity_, socketIdentity_;
    std::string endpoint_;
    bool toldOfLoss_ = false;
};

}  // namespace tallywick
