// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {

// Where a login item stands, with the values the desktop manager's exit
// statuses are defined against.
enum class LoginItemStatus {
    notRegistered = 0,
    enabled = 1,
    requiresApproval = 2,  // the user turned it off; only the user turns it back on
    notFound = 3,
};

// What every login item is made from.
struct LoginItemSetup {
    std::string hostIdentifier;        // names the files on disk
    std::string hostPath;              // the host executable the item runs
    std::string endpoint;              // the host's socket, to tell whether it runs
    std::filesystem::path dataHome;    // $XDG_DATA_HOME or ~/.local/share
    std::filesystem::path configHome;  // $XDG_CONFIG_HOME or ~/.config

    friend bool operator==(const LoginItemSetup&, const LoginItemSetup&) = default;

    // This build's host identifier and the environment's folders.
    static LoginItemSetup fromEnvironment(std::string hostPath);

    // Whether the host program is an executable file, or why it cannot be
    // registered (a copy of the application without the host beside it).
    Result<void, std::string> hostInstalled() const;

    // Stops the host serving the endpoint when it is this setup's host
    // program, and waits until it is gone; the reason when it would not stop.
    Result<void, std::string> stopHost() const;
};

// A program to run: a path naming an executable file, or a name found on PATH.
bool isExecutable(const std::string& program);

// One way of having the host run for the user: installed, enabled and started
// by registerItem, read back by status. Neither throws.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    // Installs and enables the item and makes sure the host runs; the reason
    // when that could not be done.
    virtual Result<void, std::string> registerItem() = 0;
    // Takes back what registerItem did: stops the host it started and
    // removes the item it wrote; the reason when that could not be done.
    virtual Result<void, std::string> unregisterItem() = 0;
    virtual LoginItemStatus status() const = 0;

    // The systemd user service when systemctl is on PATH, else an XDG autostart entry.
    static std::unique_ptr<LoginItem> standard(const LoginItemSetup& setup);
};

}  // namespace tallywick
