// SPDX-License-Identifier: MIT
#include <tallywick/app/LoginItem.h>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <tallywick/app/AutostartLoginItem.h>
#include <tallywick/app/SystemdLoginItem.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/SocketAddress.h>

#include <tallywick/link/ChildProcess.h>

namespace tallywick {
namespace {

std::filesystem::path homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
    return "/";
}

// The XDG base folder, or its default under the home folder; relative values
// are invalid and ignored.
std::filesystem::path baseFolder(const char* variable, const char* fallbackUnderHome) {
    if (const char* value = std::getenv(variable); value && *value == '/') return value;
    return homeFolder() / fallbackUnderHome;
}

}  // namespace

LoginItemSetup LoginItemSetup::fromEnvironment(std::string hostPath) {
    return {
        .hostIdentifier = buildIdentity().hostIdentifier,
        .hostPath = std::move(hostPath),
        .endpoint = endpointPath(runtimeDirectoryPath()),
        .dataHome = baseFolder("XDG_DATA_HOME", ".local/share"),
        .configHome = baseFolder("XDG_CONFIG_HOME", ".config"),
    };
}

bool isExecutable(const std::string& program) {
    if (program.empty()) return false;
    if (program.find('/') == std::string::npos) return ChildProcess::findOnPath(program).has_value();
    struct stat info {};
    return ::stat(program.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           ::access(program.c_str(), X_OK) == 0;
}

Result<void, std::string> LoginItemSetup::hostInstalled() const {
    if (!hostPath.empty() && hostPath.front() == '/' && isExecutable(hostPath)) return {};
    return fail("the host executable is missing" +
                (hostPath.empty() ? std::string() : " (" + hostPath + ")") +
                "; install Tallywick again, or start the application from where it was installed");
}

Result<void, std::string> LoginItemSetup::stopHost() const {
    auto address = SocketAddress::of(endpoint);
    if (!address) return {};  // nothing can listen there
    const auto* usable = &*address;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return fail("cannot make a socket: " + std::string(std::strerror(errno)));
    ucred peer{};
    socklen_t length = sizeof peer;
    const bool reached = ::connect(fd, usable->data(), usable->size()) == 0 &&
                         ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) == 0 && peer.pid > 0;
    ::close(fd);
    if (!reached) return {};  // no host runs
    // Only our own host program: another build's host serves its own user.
    std::error_code error;
    const auto running = std::filesystem::read_symlink("/proc/" + std::to_string(peer.pid) + "/exe", error);
    const auto ours = std::filesystem::weakly_canonical(hostPath, error);
    if (running != ours) return {};
    ::kill(peer.pid, SIGTERM);
    // Gone once its program is no longer there: exited, or a zombie nobody reaped yet.
    const auto exe = "/proc/" + std::to_string(peer.pid) + "/exe";
    for (int waited = 0; waited < 250; ++waited) {
        if (std::filesystem::read_symlink(exe, error) != running) return {};
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return fail("the host (pid " + std::to_string(peer.pid) +
                ") did not stop within 5 s; stop it with kill " + std::to_string(peer.pid));
}

std::unique_ptr<LoginItem> LoginItem::standard(const LoginItemSetup& setup) {
    if (ChildProcess::findOnPath("systemctl")) return std::make_unique<SystemdLoginItem>(setup);
    return std::make_unique<AutostartLoginItem>(setup);
}

}  // namespace tallywick
