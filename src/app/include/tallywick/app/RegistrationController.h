// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <tallywick/app/LoginItem.h>

// Registers the host as the user's login item: headless from the command
// line, quietly at every start of the application, and from the settings.
// Registration is attempted every time, whatever the item's status.
namespace tallywick::RegistrationController {

// Enabled 0, awaiting the user's approval 2, anything else 1.
int exitStatus(LoginItemStatus status);

// Registers, then reads the status back; says nothing, whatever happens.
int runHeadless();
int runHeadless(LoginItem& item);

// Takes the login item back and stops the host it started: 0 when nothing
// is registered any more, 1 (with the reason on stderr) otherwise.
int runUnregister();
int runUnregister(LoginItem& item);

// Registers; a failure writes the one diagnostic line, success nothing.
void registerQuietly();
void registerQuietly(LoginItem& item);

// This build's item: the systemd user service, or the autostart entry.
std::unique_ptr<LoginItem> standardItem();

// What a repair from the settings came to: the status read afresh after
// registering and, when the user has blocked the item, whether the desktop's
// autostart settings were opened, or else the commands that lift the block.
struct RepairOutcome {
    LoginItemStatus status = LoginItemStatus::notRegistered;
    bool settingsOpened = false;
    std::vector<std::string> unblockCommands{};

    friend bool operator==(const RepairOutcome&, const RepairOutcome&) = default;
};

using LoginItemFactory = std::function<std::unique_ptr<LoginItem>()>;

// Registers quietly with one item, reads the status from a fresh one, and
// when the item awaits the user, opens the place where the user allows it.
RepairOutcome repair(const LoginItemFactory& makeItem);

// Starts the first of the desktop's autostart settings that starts; false when none does.
bool openLoginItemSettings();

// Shell commands, one per line, that lift the user's block on the item.
std::vector<std::string> unblockCommands(const LoginItem& item);

// The host executable beside this program's own.
std::string hostExecutablePath();

// The one diagnostic line for a failed registration, at the error priority.
void logFailure(std::string_view reason);

}  // namespace tallywick::RegistrationController
