// SPDX-License-Identifier: MIT
#include <tallywick/link/XPCControlClient.h>

#include <asio/post.hpp>

#include <tallywick/link/HostLocator.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/model/TallywickCoding.h>

namespace tallywick {

ControlEndpoint ControlEndpoint::standard() {
    return {endpointPath(runtimeDirectoryPath()), tallywickHostRequirement(),
            [] { return endpointPath(HostLocator::folderFor(runtimeDirectoryPath())); }};
}

std::shared_ptr<XPCControlClient> XPCControlClient::create(std::shared_ptr<MainThreadPoster> mainThread,
                                                           IoThread& io, ControlEndpoint endpoint) {
    return std::shared_ptr<XPCControlClient>(
        new XPCControlClient(std::move(mainThread), io, std::move(endpoint)));
}

XPCControlClient::XPCControlClient(std::shared_ptr<MainThreadPoster> mainThread, IoThread& io,
                                   ControlEndpoint endpoint)
    : mainThread_(std::move(mainThread)),
      io_(io),
      endpoint_(std::move(endpoint)),
      queueLabel_(buildIdentity().clientQueueLabel),
      queue_(asio::make_strand(io_.context().get_executor())) {}

XPCControlClient::~XPCControlClient() {
    // Its owner let go: the connection ends with it.
    if (connection_) connection_->close();
}

void XPCControlClient::send(const ControlRequest& request, Completion completion) {
    auto text = TallywickCoding::encodeToString(request);
    if (!text) return deliver(std::nullopt, std::move(completion));  // nothing opened, nothing reported
    asio::post(
        queue_, [self = shared_from_this(), text = std::move(*text), completion = std::move(completion)] {
            auto connection = self->ensureConnection();
            connection->call(
                "control", text,
                [self, completion](
                    std::string reply) {  // NOLINT(performance-unnecessary-value-param): decoded in place
                    // Any answer, even an unreadable one, shows the host is there.
                    self->deliver(TallywickCoding::decodeInPlace<ControlResponse>(reply), completion);
                    self->notifyConnection(true);
                },
                [self, completion, connection](const LinkFailure& failure) {
                    // The host answered this call with a failure, or the call
                    // could not be framed: that call ends, the connection stays.
                    if (failure.kind == LinkFailure::Kind::remoteFailure ||
                        failure.kind == LinkFailure::Kind::unsendable)
                        return self->deliver(std::nullopt, completion);
                    asio::post(self->queue_, [self, completion, connection] {
                        self->forget(connection);
                        self->deliver(std::nullopt, completion);
                        self->notifyConnection(false);
                    });
                });
        });
}

std::shared_ptr<LinkConnection> XPCControlClient::ensureConnection() {
    if (connection_) return connection_;
    auto connection = LinkConnection::connect(
        io_.context(), endpoint_.locate ? endpoint_.locate() : endpoint_.path, endpoint_.hostRequirement);
    std::weak_ptr<LinkConnection> weakConnection = connection;
    // The client owns the connection, so its handlers must not own the client:
    // a cycle would outlive the client's owner. Calls in flight hold it instead.
    std::weak_ptr<XPCControlClient> weakSelf = shared_from_this();
    auto dropped = [weakSelf, weakConnection](const std::string&) {
        if (auto self = weakSelf.lock()) self->handleDrop(weakConnection.lock());
    };
    connection->start({
        .onCall = [](std::uint64_t, const std::string&, const std::string&) { return false; },
        .onMessage =
            [weakSelf](const std::string& method, const std::string& payload) {
                auto self = weakSelf.lock();
                if (!self) return;
                if (method == "controlEvent") self->controlEvent(payload);
                if (method == "deliverAgentNotification") self->deliverAgentNotification(payload);
            },
        .onInterrupted = dropped,
        .onInvalidated = dropped,
    });
    connection_ = connection;
    return connection_;
}

void XPCControlClient::handleDrop(const std::shared_ptr<LinkConnection>& dropped) {
    asio::post(queue_, [self = shared_from_this(), dropped] { self->forget(dropped); });
    notifyConnection(false);
}

void XPCControlClient::forget(const std::shared_ptr<LinkConnection>& dropped) {
    // Only the connection that failed: a newer one opened meanwhile stays.
    if (connection_ == dropped || !dropped) connection_.reset();
}

void XPCControlClient::notifyConnection(bool connected) {
    if (auto callback = onConnectionChange) {
        mainThread_->post([callback = std::move(callback), connected] { callback(connected); });
    }
}

void XPCControlClient::deliver(std::optional<ControlResponse> response, Completion completion) {
    mainThread_->post([completion = std::move(completion), response = std::move(response)]() mutable {
        completion(std::move(response));
    });
}

void XPCControlClient::controlEvent(std::string_view text) {
    auto event = TallywickCoding::decode<ControlEvent>(text);
    if (!event) return;  // dropped without a trace
    if (auto callback = onEvent) {
        mainThread_->post([callback = std::move(callback), event = std::move(*event)]() mutable {
            callback(std::move(event));
        });
    }
}

void XPCControlClient::deliverAgentNotification(std::string_view) {
    // Meant for agents; the application has none.
}

}  // namespace tallywick
