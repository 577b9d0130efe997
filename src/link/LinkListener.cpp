// SPDX-License-Identifier: MIT
#include <tallywick/link/LinkListener.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include <asio/post.hpp>

#include <tallywick/link/PeerCheck.h>
#include <tallywick/link/SocketAddress.h>

namespace tallywick {

Result<std::shared_ptr<LinkListener>, std::string> LinkListener::listen(asio::io_context& context,
                                                                        const std::string& path,
                                                                        std::string requirementText,
                                                                        OnConnection onConnection,
                                                                        OnRefused onRefused) {
    using asio::local::stream_protocol;
    auto resolved = SocketAddress::of(path);
    if (!resolved) return fail("cannot listen on " + path + ": " + resolved.error());
    auto& address = *resolved;
    // Bound under a name of its own and renamed into place once listening:
    // whoever watches the folder for the socket finds it ready to accept.
    auto staging = SocketAddress::of(path + ".new");
    if (!staging) return fail("cannot listen on " + path + ": " + staging.error());
    const auto& staged = *staging;
    staged.unlink();
    // On a strand of its own: accepts, retries and the close never overlap.
    stream_protocol::acceptor acceptor(asio::make_strand(context));
    std::error_code error;
    acceptor.open(stream_protocol(), error);
    // The socket file must never exist with looser permissions, even briefly.
    const mode_t previous = ::umask(0177);
    if (!error) acceptor.bind(stream_protocol::endpoint(staged.usablePath()), error);
    ::umask(previous);
    if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error && ::rename(staged.usablePath().c_str(), address.usablePath().c_str()) != 0)
        error = std::error_code(errno, std::generic_category());
    if (error) {
        staged.unlink();
        return fail("cannot listen on " + path + ": " + error.message());
    }
    auto listener = std::shared_ptr<LinkListener>(
        new LinkListener(std::move(acceptor), std::move(address), std::move(requirementText),
                         std::move(onConnection), std::move(onRefused)));
    asio::post(listener->acceptor_.get_executor(), [listener] { listener->acceptNext(); });
    return listener;
}

LinkListener::LinkListener(asio::local::stream_protocol::acceptor acceptor, SocketAddress address,
                           std::string requirementText, OnConnection onConnection, OnRefused onRefused)
    : acceptor_(std::move(acceptor)),
      retry_(acceptor_.get_executor()),
      address_(std::move(address)),
      requirementText_(std::move(requirementText)),
      onConnection_(std::move(onConnection)),
      onRefused_(std::move(onRefused)) {}

void LinkListener::acceptNext() {
    acceptor_.async_accept([self = shared_from_this()](const std::error_code& error,
                                                       asio::local::stream_protocol::socket socket) {
        if (error == asio::error::operation_aborted || !self->acceptor_.is_open()) return;
        if (error) {
            // Out of descriptors or memory: accepting again at once would
            // spin; a moment later some may have been given back.
            self->retry_.expires_after(std::chrono::milliseconds(100));
            self->retry_.async_wait([self](const std::error_code& waited) {
                if (!waited && self->acceptor_.is_open()) self->acceptNext();
            });
            return;
        }
        if (const auto refused = refusePeer(socket.native_handle(), self->requirementText_);
            refused.empty()) {
            self->onConnection_(LinkConnection::adopt(std::move(socket)));
        } else if (self->onRefused_) {
            self->onRefused_(describePeer(socket.native_handle()), refused);
        }
        // A refused socket closes as it goes out of scope, unread.
        self->acceptNext();
    });
}

void LinkListener::close() {
    // Gone at once, so a client never waits on a socket nobody will accept.
    if (!removed_.exchange(true)) address_.unlink();
    asio::post(acceptor_.get_executor(), [self = shared_from_this()] {
        std::error_code ignored;
        self->acceptor_.close(ignored);
        self->retry_.cancel();
    });
}

}  // namespace tallywick
