// SPDX-License-Identifier: MIT
#include <tallywick/link/SocketAddress.h>

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tallywick {

Result<SocketAddress, std::string> SocketAddress::of(const std::string& path) {
    SocketAddress address;
    address.address_.sun_family = AF_UNIX;
    constexpr std::size_t room = sizeof address.address_.sun_path;  // with its terminating NUL
    if (path.empty() || path.find('\0') != std::string::npos)
        return fail(std::string("the socket path is empty"));
    if (path.size() < room) {
        address.usable_ = path;
    } else {
        const auto slash = path.rfind('/');
        if (slash == std::string::npos || slash + 1 == path.size())
            return fail("the socket path is too long and names no folder: " + path);
        const std::string folder = slash == 0 ? std::string("/") : path.substr(0, slash);
        address.folder_ = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (address.folder_ < 0)
            return fail("cannot open the socket's folder " + folder + ": " + std::strerror(errno));
        address.usable_ = "/proc/self/fd/" + std::to_string(address.folder_) + path.substr(slash);
        if (address.usable_.size() >= room)
            return fail("the socket's file name is too long: " + path.substr(slash + 1));
    }
    std::memcpy(address.address_.sun_path, address.usable_.c_str(), address.usable_.size() + 1);
    return address;
}

SocketAddress::SocketAddress(SocketAddress&& other) noexcept
    : usable_(std::move(other.usable_)), address_(other.address_), folder_(other.folder_) {
    other.folder_ = -1;
}

SocketAddress& SocketAddress::operator=(SocketAddress&& other) noexcept {
    if (this != &other) {
        if (folder_ >= 0) ::close(folder_);
        usable_ = std::move(other.usable_);
        address_ = other.address_;
        folder_ = other.folder_;
        other.folder_ = -1;
    }
    return *this;
}

SocketAddress::~SocketAddress() {
    if (folder_ >= 0) ::close(folder_);
}

bool SocketAddress::unlink() const {
    return !usable_.empty() && ::unlink(usable_.c_str()) == 0;
}

bool acceptsConnections(const std::string& path) {
    auto address = SocketAddress::of(path);
    if (!address) return false;
    const auto* usable = &*address;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const bool accepted = ::connect(fd, usable->data(), usable->size()) == 0;
    ::close(fd);
    return accepted;
}

}  // namespace tallywick
