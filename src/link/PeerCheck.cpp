// SPDX-License-Identifier: MIT
#include <tallywick/link/PeerCheck.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include <tallywick/link/Requirement.h>

// Debian 12's headers predate these; the kernel has had them since 6.5 and 5.1.
#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77
#endif
#ifndef SYS_pidfd_send_signal
#define SYS_pidfd_send_signal 424
#endif

namespace tallywick {
namespace {

// Field 22 of /proc/<pid>/stat, the start time in clock ticks; it tells a
// process apart from a later one that got the same pid.
std::optional<unsigned long long> startTime(int pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string stat;
    if (!std::getline(in, stat)) return std::nullopt;
    const auto close = stat.rfind(')');  // the command name may hold spaces and parentheses
    if (close == std::string::npos) return std::nullopt;
    std::istringstream fields(stat.substr(close + 2));
    std::string field;
    for (int i = 3; i <= 22; ++i) {
        if (!(fields >> field)) return std::nullopt;
    }
    try {
        return std::stoull(field);
    } catch (...) {
        return std::nullopt;
    }
}

class Fd {
public:
    explicit Fd(int fd) : fd_(fd) {}
    ~Fd() {
        if (fd_ >= 0) ::close(fd_);
    }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

}  // namespace

std::optional<PeerProcess> inspectPeer(int socketFd) {
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(socketFd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) return std::nullopt;
    PeerProcess peer{credentials.pid, credentials.uid, std::nullopt};
    if (peer.pid <= 0) return std::nullopt;

    int rawPidfd = -1;
    length = sizeof rawPidfd;
    if (::getsockopt(socketFd, SOL_SOCKET, SO_PEERPIDFD, &rawPidfd, &length) != 0) rawPidfd = -1;
    const Fd pidfd(rawPidfd);
    const auto startedBefore = pidfd.get() < 0 ? startTime(peer.pid) : std::nullopt;
    if (pidfd.get() < 0 && !startedBefore) return std::nullopt;

    peer.note = readIdentityNote("/proc/" + std::to_string(peer.pid) + "/exe");

    const bool stillSame = pidfd.get() >= 0
                               ? ::syscall(SYS_pidfd_send_signal, pidfd.get(), 0, nullptr, 0) == 0
                               : startTime(peer.pid) == startedBefore;
    if (!stillSame) return std::nullopt;
    return peer;
}

std::string refusePeer(int socketFd, std::string_view requirementText) {
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(socketFd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0) {
        return "peer credentials unavailable";
    }
    if (credentials.uid != ::geteuid()) return "peer runs as another user";
    if (requirementText.empty()) return {};
    const auto peer = inspectPeer(socketFd);
    if (!peer) return "peer process could not be inspected";
    if (!satisfies(peer->note, requirementText)) return "peer does not satisfy the requirement";
    return {};
}

std::string describePeer(int socketFd) {
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(socketFd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0 || credentials.pid <= 0)
        return "an unknown process";
    std::string description = "pid " + std::to_string(credentials.pid);
    char executable[4096];
    const auto link = "/proc/" + std::to_string(credentials.pid) + "/exe";
    const ssize_t size = ::readlink(link.c_str(), executable, sizeof executable);
    if (size > 0 && static_cast<std::size_t>(size) < sizeof executable)
        description += " (" + std::string(executable, static_cast<std::size_t>(size)) + ")";
    return description + ", uid " + std::to_string(credentials.uid);
}

}  // namespace tallywick
