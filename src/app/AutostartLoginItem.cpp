// SPDX-License-Identifier: MIT
#include <tallywick/app/AutostartLoginItem.h>

#include <sys/stat.h>
#include <unistd.h>

#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/HostLauncher.h>
#include "TextFile.h"

namespace tallywick {
namespace {

std::string_view trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t\r");
    if (begin == std::string_view::npos) return {};
    const auto end = text.find_last_not_of(" \t\r");
    return text.substr(begin, end - begin + 1);
}

std::string unescapeValue(std::string_view value) {
    std::string out;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        switch (value[++i]) {
            case 's': out += ' '; break;
            case 'n': out += '\n'; break;
            case 't': out += '\t'; break;
            case 'r': out += '\r'; break;
            case '\\': out += '\\'; break;
            default: out += '\\'; out += value[i];
        }
    }
    return out;
}

bool hasControlCharacters(const std::string& text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) return true;
    }
    return false;
}

// A string value: only the backslash needs escaping in a path without
// control characters that starts with a slash.
std::string escapeValue(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\') out += '\\';
        out += c;
    }
    return out;
}

// Exec's program as one quoted argument: inside quotes ", `, $ and \ take a
// backslash, % is doubled as it starts a field code, and then the whole is
// escaped again as a string value.
std::string execArgument(const std::string& path) {
    std::string quoted = "\"";
    for (const char c : path) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') quoted += '\\';
        if (c == '%') quoted += '%';
        quoted += c;
    }
    return escapeValue(quoted + "\"");
}

// The program of an unescaped Exec value.
std::string execProgram(std::string_view exec) {
    exec = trimmed(exec);
    std::string program;
    if (exec.empty() || exec.front() != '"') {
        const auto end = exec.find_first_of(" \t");
        return std::string(exec.substr(0, end));
    }
    for (std::size_t i = 1; i < exec.size(); ++i) {
        if (exec[i] == '"') break;
        if ((exec[i] == '\\' || exec.substr(i, 2) == "%%") && i + 1 < exec.size()) ++i;
        program += exec[i];
    }
    return program;
}

bool turnedOffByUser(const std::map<std::string, std::string>& entry) {
    const auto hidden = entry.find("Hidden");
    const auto gnome = entry.find("X-GNOME-Autostart-enabled");
    return (hidden != entry.end() && hidden->second == "true") ||
           (gnome != entry.end() && gnome->second == "false");
}

}  // namespace

AutostartLoginItem::AutostartLoginItem(LoginItemSetup setup) : setup_(std::move(setup)) {}

std::filesystem::path AutostartLoginItem::entryPath() const {
    return setup_.configHome / "autostart" / (setup_.hostIdentifier + ".desktop");
}

std::optional<std::string> AutostartLoginItem::entryText() const {
    if (hasControlCharacters(setup_.hostPath)) return std::nullopt;
    std::string text =
        "[Desktop Entry]\n"
        "Type=Application\n"
        "Name=Tallywick Host\n"
        "Comment=Keeps the points ledger for AI agents\n";
    text += "Exec=" + execArgument(setup_.hostPath) + "\n";
    text += "TryExec=" + escapeValue(setup_.hostPath) + "\n";
    text +=
        "Terminal=false\n"
        "NoDisplay=true\n"
        "X-GNOME-Autostart-enabled=true\n";
    return text;
}

std::map<std::string, std::string> AutostartLoginItem::readEntry(std::string_view text) {
    std::map<std::string, std::string> keys;
    bool inMainGroup = false;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
        if (line.empty() || line.front() == '#') continue;
        if (line.front() == '[') {
            inMainGroup = line == "[Desktop Entry]";
            continue;
        }
        const auto equals = line.find('=');
        if (!inMainGroup || equals == std::string_view::npos) continue;
        const std::string_view key = trimmed(line.substr(0, equals));
        if (key.empty() || key.find('[') != std::string_view::npos) continue;
        // The first occurrence counts; a desktop file must not repeat a key.
        keys.emplace(std::string(key), unescapeValue(trimmed(line.substr(equals + 1))));
    }
    return keys;
}

Result<void, std::string> AutostartLoginItem::registerItem() {
    // An entry for a missing program would be a dead entry: the one there stays as it is.
    if (auto installed = setup_.hostInstalled(); !installed) return installed;
    if (const auto existing = TextFile::read(entryPath());
        existing && turnedOffByUser(readEntry(*existing))) {
        return fail("the host's autostart entry is turned off in the desktop's settings: " +
                    entryPath().string());
    }
    const auto text = entryText();
    if (!text) return fail("the host's path cannot be written into an autostart entry: " + setup_.hostPath);
    if (const auto written = TextFile::write(entryPath(), *text); !written) return fail(written.error());
    HostLauncher launcher(setup_.hostPath, setup_.endpoint);
    if (launcher.running()) return {};
    return launcher.launch();
}

Result<void, std::string> AutostartLoginItem::unregisterItem() {
    if (auto stopped = setup_.stopHost(); !stopped) return stopped;
    std::error_code error;
    if (!std::filesystem::remove(entryPath(), error) && error)
        return fail("cannot remove " + entryPath().string() + ": " + error.message());
    return {};
}

LoginItemStatus AutostartLoginItem::status() const {
    const auto text = TextFile::read(entryPath());
    if (!text) return LoginItemStatus::notRegistered;
    const auto entry = readEntry(*text);
    if (turnedOffByUser(entry)) return LoginItemStatus::requiresApproval;
    const auto tryExec = entry.find("TryExec");
    const auto exec = entry.find("Exec");
    std::string program;
    if (tryExec != entry.end()) {
        program = tryExec->second;
    } else if (exec != entry.end()) {
        program = execProgram(exec->second);
    }
    if (!setup_.hostInstalled()) return LoginItemStatus::notFound;
    return isExecutable(program) ? LoginItemStatus::enabled : LoginItemStatus::notFound;
}

}  // namespace tallywick
