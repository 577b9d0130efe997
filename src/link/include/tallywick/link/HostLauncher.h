// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {

// Starts the host for a runtime folder when nobody serves it. Several may be
// started at once: the host's lock keeps one and the others leave at once.
class HostLauncher {
public:
    HostLauncher(std::string hostPath, std::string endpoint)
        : hostPath_(std::move(hostPath)), endpoint_(std::move(endpoint)) {}

    // What a client (the bridge, tallywickctl) does when it finds no host:
    // the host beside its own executable, for that runtime folder.
    static HostLauncher forClient(const std::string& runtimeDirectory);

    // Whether a host accepts connections at the endpoint now.
    bool running() const;

    // Where a host started here writes its log: $XDG_STATE_HOME/tallywick/host.log,
    // else ~/.local/state/tallywick/host.log.
    static std::string logPath();

    // Starts the host detached, serving the endpoint's folder and writing its
    // log to logPath(), and waits until it accepts; the reason when it does not.
    Result<void, std::string> launch(std::chrono::milliseconds patience = std::chrono::seconds(3)) const;

    // A host on demand, as the desktop manager's login item starts it: the
    // systemd user unit when it is installed, not masked and would serve
    // this folder, else the host executable directly. Waits up to the
    // patience in all; nothing when a host serves.
    Result<void, std::string> ensureRunning(
        std::chrono::milliseconds patience = std::chrono::seconds(5)) const;

    // Waits until the host accepts; false when the time is up.
    bool waitUntilRunning(std::chrono::milliseconds patience) const;

    const std::string& hostPath() const { return hostPath_; }

private:
    bool startUnit(std::chrono::steady_clock::time_point deadline) const;

    std::string hostPath_;
    std::string endpoint_;
};

}  // namespace tallywick
