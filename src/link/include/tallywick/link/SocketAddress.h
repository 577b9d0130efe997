// SPDX-License-Identifier: MIT
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {

// The address of a Unix socket file, whatever the length of its path. A
// path that does not fit a socket address (108 bytes) is reached through
// /proc/self/fd/N/<name>, N an open descriptor of its folder, which the
// address keeps open for its life: bind and connect resolve it at once.
class SocketAddress {
public:
    // Fails, with the reason, when the folder cannot be opened or even the
    // short form does not fit (a file name near 90 bytes).
    static Result<SocketAddress, std::string> of(const std::string& path);

    SocketAddress(SocketAddress&& other) noexcept;
    SocketAddress& operator=(SocketAddress&& other) noexcept;
    SocketAddress(const SocketAddress&) = delete;
    SocketAddress& operator=(const SocketAddress&) = delete;
    ~SocketAddress();

    // The path to hand to bind or connect: the socket's own path when it fits.
    const std::string& usablePath() const { return usable_; }
    const sockaddr* data() const { return reinterpret_cast<const sockaddr*>(&address_); }
    socklen_t size() const { return sizeof address_; }

    // Removes the socket file; false when it was not there to remove.
    bool unlink() const;

private:
    SocketAddress() = default;

    std::string usable_;
    sockaddr_un address_{};
    int folder_ = -1;  // open only for a path too long to use directly
};

// Whether something accepts connections at the socket path now. A socket
// file alone may be a killed host's leftover: only a listener accepts.
bool acceptsConnections(const std::string& path);

}  // namespace tallywick
