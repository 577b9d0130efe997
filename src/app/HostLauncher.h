#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace tallywick {

// Starts the host without a service manager. Several may be started at once:
// the host's lock keeps one and the others leave at once.
class HostLauncher {
public:
    HostLauncher(std::string hostPath, std::string endpoint)
        : hostPath_(std::move(hostPath)), endpoint_(std::move(endpoint)) {}

    // Whether a host accepts connections at the endpoint now.
    bool running() const;

    // Starts the host detached and waits until it accepts; the reason when it does not.
    std::optional<std::string> launch(std::chrono::milliseconds patience = std::chrono::seconds(3)) const;

    // Waits until the host accepts; false when the time is up.
    bool waitUntilRunning(std::chrono::milliseconds patience) const;

    const std::string& hostPath() const { return hostPath_; }

private:
    std::string hostPath_;
    std::string endpoint_;
};

}  // namespace tallywick
