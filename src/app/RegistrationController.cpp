// SPDX-License-Identifier: MIT
#include <tallywick/app/RegistrationController.h>

#include <sys/stat.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QProcess>
#include <QStringList>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <tallywick/app/AutostartLoginItem.h>
#include <tallywick/app/SystemdLoginItem.h>
#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/LogLine.h>
#include <tallywick/link/ServiceIdentity.h>

namespace tallywick::RegistrationController {
namespace {

// A word the shell reads back as it is.
std::string shellWord(const std::string& text) {
    static constexpr std::string_view safe =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789@%+=:,./_-";
    const bool plain = !text.empty() && text.find_first_not_of(safe) == std::string::npos;
    if (plain) return text;
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace

std::unique_ptr<LoginItem> standardItem() {
    return LoginItem::standard(LoginItemSetup::fromEnvironment(hostExecutablePath()));
}

RepairOutcome repair(const LoginItemFactory& makeItem) {
    registerQuietly(*makeItem());
    // A fresh look, as another program would take it.
    const auto item = makeItem();
    RepairOutcome outcome{.status = item->status()};
    if (outcome.status != LoginItemStatus::requiresApproval) return outcome;
    outcome.settingsOpened = openLoginItemSettings();
    if (!outcome.settingsOpened) outcome.unblockCommands = unblockCommands(*item);
    return outcome;
}

bool openLoginItemSettings() {
    // KDE's autostart page in either of its shells, then GNOME's tweaks.
    const std::vector<std::pair<QString, QStringList>> candidates{
        {QStringLiteral("systemsettings"), {QStringLiteral("kcm_autostart")}},
        {QStringLiteral("kcmshell6"), {QStringLiteral("kcm_autostart")}},
        {QStringLiteral("gnome-tweaks"), {}},
    };
    for (const auto& [program, arguments] : candidates) {
        if (QProcess::startDetached(program, arguments)) return true;
    }
    return false;
}

std::vector<std::string> unblockCommands(const LoginItem& item) {
    if (const auto* service = dynamic_cast<const SystemdLoginItem*>(&item)) {
        const std::string unit = shellWord(service->unitName());
        return {"systemctl --user unmask " + unit, "systemctl --user enable " + unit,
                "systemctl --user start " + unit};
    }
    if (const auto* entry = dynamic_cast<const AutostartLoginItem*>(&item)) {
        // The entry is the user's file; only the two keys that turn it off go.
        return {"sed -i -e '/^Hidden=/d' -e '/^X-GNOME-Autostart-enabled=/d' " +
                shellWord(entry->entryPath().string())};
    }
    return {};
}

int exitStatus(LoginItemStatus status) {
    switch (status) {
        case LoginItemStatus::enabled: return 0;
        case LoginItemStatus::requiresApproval: return 2;
        case LoginItemStatus::notRegistered:
        case LoginItemStatus::notFound: return 1;
    }
    return 1;
}

int runHeadless() {
    (void)standardItem()->registerItem();  // the reason is not reported in this mode
    // A fresh look, as another program would take it.
    return exitStatus(standardItem()->status());
}

int runHeadless(LoginItem& item) {
    (void)item.registerItem();  // the status says how it went
    return exitStatus(item.status());
}

int runUnregister() {
    return runUnregister(*standardItem());
}

int runUnregister(LoginItem& item) {
    if (auto removed = item.unregisterItem(); !removed) {
        const std::string line = "tallywick: the login item could not be removed: " + removed.error() + "\n";
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
        return 1;
    }
    // A unit the user masked, or one a package installs and nobody enabled, runs nothing.
    if (item.status() == LoginItemStatus::enabled) {
        const std::string line =
            "tallywick: the host's login item is still enabled, by something other than "
            "this application; see systemctl --user status " +
            buildIdentity().hostIdentifier + ".service\n";
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
        return 1;
    }
    return 0;
}

void registerQuietly() {
    registerQuietly(*standardItem());
}

void registerQuietly(LoginItem& item) {
    if (auto registered = item.registerItem(); !registered) logFailure(registered.error());
}

std::string hostExecutablePath() {
    return ChildProcess::siblingExecutable("tallywick-host");
}

void logFailure(std::string_view reason) {
    LogLine::write("", LogLine::Priority::error,
                   "Tallywick: LaunchAgent registration failed: " + std::string(reason));
}

}  // namespace tallywick::RegistrationController
