#include "HostLauncher.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <thread>

#include "ChildProcess.h"

namespace tallywick {

bool HostLauncher::running() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (endpoint_.empty() || endpoint_.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, endpoint_.c_str(), endpoint_.size() + 1);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    // A socket file alone may be left over from a host that was killed; only a listener accepts.
    const bool accepted = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return accepted;
}

std::optional<std::string> HostLauncher::launch(std::chrono::milliseconds patience) const {
    if (::access(hostPath_.c_str(), X_OK) != 0) return "the host executable is missing: " + hostPath_;
    if (auto failure = ChildProcess::spawnDetached(hostPath_)) return failure;
    if (!waitUntilRunning(patience)) return "the host was started but does not accept connections";
    return std::nullopt;
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
