// SPDX-License-Identifier: MIT
#pragma once

#include <asio/any_io_executor.hpp>
#include <asio/strand.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include <tallywick/link/ControlEndpoint.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/MainThreadPoster.h>
#include <tallywick/protocol/ControlEvent.h>
#include <tallywick/protocol/ControlRequest.h>
#include <tallywick/protocol/ControlResponse.h>

namespace tallywick {

// The application's end of the control connection. Opens the connection on
// the first request and after every drop, never retries, never times out.
// Completions and both callbacks run on the main thread, each as its own
// posted task; decoding happens on the I/O thread before the hop.
class XPCControlClient : public std::enable_shared_from_this<XPCControlClient> {
public:
    using Completion = std::function<void(std::optional<ControlResponse>)>;

    // The client borrows the I/O thread: its owner keeps it for longer and
    // destroys it on the main thread, which also ends the client's connection.
    static std::shared_ptr<XPCControlClient> create(std::shared_ptr<MainThreadPoster> mainThread,
                                                    IoThread& io,
                                                    ControlEndpoint endpoint = ControlEndpoint::standard());

    // Set once on the main thread before the first request; read afterwards.
    std::function<void(ControlEvent)> onEvent;
    std::function<void(bool)> onConnectionChange;

    // Call on the main thread. The completion runs exactly once: with the
    // host's decoded answer, or none when there is no usable answer.
    void send(const ControlRequest& request, Completion completion);

    // From the host, on the I/O thread.
    void controlEvent(std::string_view text);
    void deliverAgentNotification(std::string_view text);

    const std::string& queueLabel() const { return queueLabel_; }

    ~XPCControlClient();

private:
    XPCControlClient(std::shared_ptr<MainThreadPoster> mainThread, IoThread& io, ControlEndpoint endpoint);

    std::shared_ptr<LinkConnection> ensureConnection();
    void handleDrop(const std::shared_ptr<LinkConnection>& dropped);
    void forget(const std::shared_ptr<LinkConnection>& dropped);
    void notifyConnection(bool connected);
    void deliver(std::optional<ControlResponse> response, Completion completion);

    std::shared_ptr<MainThreadPoster> mainThread_;
    IoThread& io_;
    ControlEndpoint endpoint_;
    std::string queueLabel_;
    // The private serial queue: `connection_` is read and written only on it.
    asio::strand<asio::any_io_executor> queue_;
    std::shared_ptr<LinkConnection> connection_;
};

}  // namespace tallywick
