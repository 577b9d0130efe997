// SPDX-License-Identifier: MIT
#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/SocketAddress.h>

namespace tallywick {

// Accepts link connections on a Unix socket path (never the abstract
// namespace). Each peer is checked (own uid first, then the requirement text)
// before any of its bytes are read; a refused peer is simply closed.
class LinkListener : public std::enable_shared_from_this<LinkListener> {
public:
    // Called on the I/O thread with each accepted, not yet started connection.
    using OnConnection = std::function<void(std::shared_ptr<LinkConnection>)>;
    // Called on the I/O thread with each refused peer (see describePeer) and why.
    using OnRefused = std::function<void(const std::string& peer, const std::string& reason)>;

    // Binds the path (mode 0600, any length), replacing a stale socket file
    // left there. The file appears only once it accepts connections, so a
    // watcher of the folder may connect as soon as it sees it.
    // The caller must own the path (the host holds its single-instance lock).
    static Result<std::shared_ptr<LinkListener>, std::string> listen(asio::io_context& context,
                                                                     const std::string& path,
                                                                     std::string requirementText,
                                                                     OnConnection onConnection,
                                                                     OnRefused onRefused = {});
    // Removes the socket file and stops accepting.
    void close();

private:
    LinkListener(asio::local::stream_protocol::acceptor acceptor, SocketAddress address,
                 std::string requirementText, OnConnection onConnection, OnRefused onRefused);
    void acceptNext();

    asio::local::stream_protocol::acceptor acceptor_;
    asio::steady_timer retry_;  // after a failed accept
    SocketAddress address_;     // keeps a long path's folder open until the socket is removed
    std::atomic<bool> removed_{false};
    std::string requirementText_;
    OnConnection onConnection_;
    OnRefused onRefused_;
};

}  // namespace tallywick
