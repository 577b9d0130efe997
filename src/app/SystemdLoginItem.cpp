// SPDX-License-Identifier: MIT
#include <tallywick/app/SystemdLoginItem.h>

#include <string_view>

#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/HostLauncher.h>
#include "TextFile.h"

namespace tallywick {
namespace {

ChildProcess::Finished systemctl(std::string_view verb, const std::string& unit) {
    return ChildProcess::run({"systemctl", "--user", std::string(verb), unit});
}

std::string firstLine(const std::string& text) {
    std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) return {};
    std::size_t end = text.find_first_of("\r\n", begin);
    if (end == std::string::npos) end = text.size();
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
    return text.substr(begin, end - begin);
}

std::string failureOf(std::string_view what, const ChildProcess::Finished& result) {
    if (result.exitStatus < 0) return "systemctl --user " + std::string(what) + " could not be run";
    if (auto line = firstLine(result.errors); !line.empty()) return line;
    return "systemctl --user " + std::string(what) + " exited with status " +
           std::to_string(result.exitStatus);
}

// ExecStart takes a quoted word with C escapes; % starts a specifier and $ a
// variable, so both are doubled.
std::optional<std::string> execWord(const std::string& path) {
    std::string word = "\"";
    for (const char c : path) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return std::nullopt;
        if (c == '\\' || c == '"') word += '\\';
        if (c == '%' || c == '$') word += c;
        word += c;
    }
    return word + "\"";
}

LoginItemStatus statusOf(const std::string& state, bool unitInstalled) {
    for (std::string_view on : {"enabled", "enabled-runtime", "alias", "indirect", "generated"}) {
        if (state == on) return LoginItemStatus::enabled;
    }
    if (state == "masked" || state == "masked-runtime") return LoginItemStatus::requiresApproval;
    // Older systemctl says nothing at all for a unit it cannot find.
    if (state == "not-found" || (state.empty() && !unitInstalled)) return LoginItemStatus::notFound;
    return LoginItemStatus::notRegistered;
}

}  // namespace

SystemdLoginItem::SystemdLoginItem(LoginItemSetup setup) : setup_(std::move(setup)) {}

std::filesystem::path SystemdLoginItem::unitPath() const {
    return setup_.dataHome / "systemd" / "user" / unitName();
}

std::optional<std::string> SystemdLoginItem::unitText() const {
    auto exec = execWord(setup_.hostPath);
    if (!exec) return std::nullopt;
    std::string text =
        "# Written by the Tallywick desktop manager at each start; mask the unit to keep the host off.\n"
        "[Unit]\n"
        "Description=Tallywick host: the agents' points ledger\n"
        "\n"
        "# A removed program leaves the unit skipped, not failing at every login.\n";
    text += "ConditionFileIsExecutable=" + *exec + "\n";
    text +=
        "\n"
        "[Service]\n"
        "Type=simple\n";
    text += "ExecStart=" + *exec + "\n";
    text +=
        "Restart=on-failure\n"
        "RestartSec=2\n"
        "\n"
        "[Install]\n"
        "WantedBy=default.target\n";
    return text;
}

Result<void, std::string> SystemdLoginItem::registerItem() {
    // A unit for a missing program would fail at every login: the one there stays as it is.
    if (auto installed = setup_.hostInstalled(); !installed) return installed;
    const auto text = unitText();
    if (!text) return fail("the host's path cannot be written into a unit: " + setup_.hostPath);
    const auto written = TextFile::write(unitPath(), *text);
    if (!written) return fail(written.error());
    // A running manager must read the new text before it starts the unit;
    // without one there is nothing to reload, and that is fine.
    if (*written) ChildProcess::run({"systemctl", "--user", "daemon-reload"});

    // Enabling only edits files, so it works without a user manager. It
    // refuses a masked unit, which is what we want.
    const auto enabled = systemctl("enable", unitName());
    if (enabled.exitStatus != 0) return fail(failureOf("enable", enabled));

    HostLauncher launcher(setup_.hostPath, setup_.endpoint);
    if (launcher.running()) return {};
    if (systemctl("start", unitName()).exitStatus == 0) {
        if (launcher.waitUntilRunning(std::chrono::seconds(3))) return {};
        return fail(std::string("the host's service started but the host does not accept connections"));
    }
    // No user manager (a container, a session without systemd): start the host
    // ourselves so that the first start of the application finds it running.
    return launcher.launch();
}

Result<void, std::string> SystemdLoginItem::unregisterItem() {
    std::error_code error;
    const bool written = std::filesystem::exists(unitPath(), error);
    if (written) {
        // The manager stops the host it runs; without one this does nothing.
        systemctl("stop", unitName());
        const auto disabled = systemctl("disable", unitName());
        if (disabled.exitStatus != 0 &&
            statusOf(firstLine(systemctl("is-enabled", unitName()).output), true) == LoginItemStatus::enabled)
            return fail(failureOf("disable", disabled));
    }
    // A host started without the manager, by the registration itself.
    if (auto stopped = setup_.stopHost(); !stopped) return stopped;
    if (written) {
        if (!std::filesystem::remove(unitPath(), error) && error)
            return fail("cannot remove " + unitPath().string() + ": " + error.message());
        ChildProcess::run({"systemctl", "--user", "daemon-reload"});
    }
    return {};
}

LoginItemStatus SystemdLoginItem::status() const {
    if (!setup_.hostInstalled()) return LoginItemStatus::notFound;
    const auto answer = systemctl("is-enabled", unitName());
    std::error_code error;
    return statusOf(firstLine(answer.output), std::filesystem::exists(unitPath(), error));
}

}  // namespace tallywick
