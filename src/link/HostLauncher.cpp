// SPDX-License-Identifier: MIT
#include <tallywick/link/HostLauncher.h>

#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <thread>

#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/HostLocator.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/SocketAddress.h>

namespace tallywick {
namespace {

std::string folderOf(const std::string& endpoint) {
    return std::filesystem::path(endpoint).parent_path().string();
}

bool isSet(const char* name) {
    const char* value = std::getenv(name);
    return value && *value;
}

std::string firstWord(const std::string& text) {
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) return {};
    return text.substr(begin, text.find_first_of(" \t\r\n", begin) - begin);
}

std::string homeDirectory() {
    if (const char* home = std::getenv("HOME"); home && *home == '/') return home;
    if (const passwd* entry = ::getpwuid(::geteuid()); entry && entry->pw_dir) return entry->pw_dir;
    return "/";
}

}  // namespace

std::string HostLauncher::logPath() {
    // Relative XDG paths are invalid and must be ignored.
    if (const char* state = std::getenv("XDG_STATE_HOME"); state && *state == '/')
        return std::string(state) + "/tallywick/host.log";
    return homeDirectory() + "/.local/state/tallywick/host.log";
}

HostLauncher HostLauncher::forClient(const std::string& runtimeDirectory) {
    return HostLauncher(ChildProcess::siblingExecutable("tallywick-host"), endpointPath(runtimeDirectory));
}

bool HostLauncher::running() const {
    return acceptsConnections(endpoint_);
}

Result<void, std::string> HostLauncher::launch(std::chrono::milliseconds patience) const {
    if (::access(hostPath_.c_str(), X_OK) != 0) return fail("the host executable is missing: " + hostPath_);
    // The host tells through the pipe why it could not serve, or closes it
    // once it serves; its end (the pipe's EOF) ends the wait at once.
    int report[2];
    if (::pipe2(report, O_CLOEXEC) != 0)
        return fail(std::string("cannot create a pipe: ") + std::strerror(errno));
    // The folder is named, so a host started from a small environment serves
    // the folder its client looked in.
    std::vector<std::string> arguments{
        hostPath_, "--runtime-dir", folderOf(endpoint_), "--log-file", logPath(), "--report-fd", "3"};
    // The ledger the folder's host served before, so a restart serves it again.
    if (const auto ledger = HostLocator::recordedLedger(folderOf(endpoint_));
        !ledger.empty() && ::access(ledger.c_str(), F_OK) == 0)
        arguments.insert(arguments.end(), {"--database", ledger});
    auto spawned = ChildProcess::spawnDetached(arguments, report[1]);
    ::close(report[1]);
    if (!spawned) {
        ::close(report[0]);
        return spawned;
    }
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::string told;
    bool ended = false;
    while (!running()) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) break;
        if (ended) break;  // it closed its end: serving now, or gone
        pollfd wait{report[0], POLLIN, 0};
        if (::poll(&wait, 1, static_cast<int>(std::min<long>(left.count(), 20))) <= 0) continue;
        char buffer[512];
        const ssize_t got = ::read(report[0], buffer, sizeof buffer);
        if (got > 0 && told.size() < 4096) told.append(buffer, static_cast<std::size_t>(got));
        ended = got == 0;
    }
    ::close(report[0]);
    if (running()) return {};
    while (!told.empty() && (told.back() == '\n' || told.back() == '\r')) told.pop_back();
    if (!told.empty()) return fail("the host it started could not serve: " + told);
    if (ended) return fail("the host it started ended at once; its log is " + logPath());
    return fail("the host was started but does not accept connections at " + endpoint_);
}

Result<void, std::string> HostLauncher::ensureRunning(std::chrono::milliseconds patience) const {
    if (running()) return {};
    const auto deadline = std::chrono::steady_clock::now() + patience;
    if (startUnit(deadline)) return {};
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return launch(std::max(left, std::chrono::milliseconds(0)));
}

// The unit's host takes its folders from the user manager's environment, so
// it only helps a client that looks where that host will listen.
bool HostLauncher::startUnit(std::chrono::steady_clock::time_point deadline) const {
    if (isSet("TALLYWICK_RUNTIME_DIR") || isSet("TALLYWICK_DATA_DIR")) return false;
    if (folderOf(endpoint_) != runtimeDirectoryPath()) return false;
    if (!ChildProcess::findOnPath("systemctl")) return false;
    const std::string unit = buildIdentity().hostIdentifier + ".service";
    const std::string state =
        firstWord(ChildProcess::run({"systemctl", "--user", "is-enabled", unit}).output);
    // Masked is the user's no; not-found or nothing means it is not installed.
    for (std::string_view no : {"", "masked", "masked-runtime", "not-found"}) {
        if (state == no) return false;
    }
    if (ChildProcess::run({"systemctl", "--user", "start", unit}).exitStatus != 0) return false;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return waitUntilRunning(left);
}

bool HostLauncher::waitUntilRunning(std::chrono::milliseconds patience) const {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!running()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

}  // namespace tallywick
