// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <tallywick/link/EventLoop.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/XPCControlClient.h>

namespace tallywick::testing {

// The desktop manager's side of a host, driven synchronously: each request
// runs the main-thread loop until its completion, events are collected.
class ControlSession {
public:
    explicit ControlSession(std::string socketPath)
        : loop_(std::make_shared<EventLoop>()),
          client_(XPCControlClient::create(loop_, io_, {std::move(socketPath), tallywickHostRequirement()})) {
        client_->onEvent = [this](ControlEvent event) { events_.push_back(std::move(event)); };
        client_->onConnectionChange = [](bool) {};
    }
    ~ControlSession() { client_.reset(); }

    std::optional<ControlResponse> request(const ControlRequest& request,
                                           std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        bool done = false;
        std::optional<ControlResponse> answer;
        client_->send(request, [&](std::optional<ControlResponse> response) {
            answer = std::move(response);
            done = true;
        });
        loop_->runUntil([&] { return done; }, limit);
        return answer;
    }

    // The snapshot, or none when the answer is not one.
    std::optional<Snapshot> snapshot() {
        auto answer = request(ControlRequest::snapshot());
        if (!answer) return std::nullopt;
        if (auto* state = std::get_if<ControlResponse::Snapshot>(&answer->value)) return state->snapshot;
        return std::nullopt;
    }

    // "ok", or the failure's reason, or "no answer".
    std::string change(const ControlRequest& changeRequest) {
        auto answer = request(changeRequest);
        if (!answer) return "no answer";
        if (std::holds_alternative<ControlResponse::Ok>(answer->value)) return "ok";
        if (auto* failure = std::get_if<ControlResponse::Failure>(&answer->value)) return failure->reason;
        return "snapshot";
    }

    // Runs the loop until `count` events arrived in all; gives all so far.
    const std::vector<ControlEvent>& waitForEvents(
        std::size_t count, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        loop_->runUntil([&] { return events_.size() >= count; }, limit);
        return events_;
    }
    // Runs the loop until the events so far satisfy `done`; says whether they did.
    template <class Done>
    bool waitUntil(Done done, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
        return loop_->runUntil([&] { return done(events_); }, limit) || done(events_);
    }
    std::vector<ControlEvent>& events() { return events_; }

private:
    IoThread io_;
    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<XPCControlClient> client_;
    std::vector<ControlEvent> events_;
};

// A bridge's side of a host: sends agent lines, collects pushed notifications.
class AgentLink {
public:
    explicit AgentLink(const std::string& socketPath)
        : link_(LinkConnection::connect(io_.context(), socketPath, tallywickHostRequirement())) {
        link_->start({.onCall = [](std::uint64_t, const std::string&, std::string) { return false; },
                      .onMessage =
                          [this](const std::string& method, std::string payload) {
                              std::lock_guard lock(mutex_);
                              methods_.push_back(method);
                              if (method == "deliverAgentNotification")
                                  notifications_.push_back(std::move(payload));
                          },
                      .onInterrupted = [](const std::string&) {},
                      .onInvalidated = [](const std::string&) {}});
    }
    ~AgentLink() { link_->close(); }

    // The host's reply (empty for a notification), or none when the call failed.
    std::optional<std::string> send(const std::string& line,
                                    std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        return call("handleAgentMessage", line, limit);
    }

    // Any call on the link; the reply, or none when it failed.
    std::optional<std::string> call(const std::string& method, const std::string& payload,
                                    std::chrono::milliseconds limit = std::chrono::seconds(20)) {
        auto promise = std::make_shared<std::promise<std::optional<std::string>>>();
        auto future = promise->get_future();
        link_->call(
            method, payload, [promise](std::string reply) { promise->set_value(std::move(reply)); },
            [promise](const LinkFailure&) { promise->set_value(std::nullopt); });
        if (future.wait_for(limit) != std::future_status::ready) return std::nullopt;
        return future.get();
    }

    std::vector<std::string> notifications() {
        std::lock_guard lock(mutex_);
        return notifications_;
    }
    // The method of every message the host sent, in order.
    std::vector<std::string> messageMethods() {
        std::lock_guard lock(mutex_);
        return methods_;
    }

private:
    std::mutex mutex_;
    std::vector<std::string> notifications_;
    std::vector<std::string> methods_;
    IoThread io_;  // stopped before the members above go
    std::shared_ptr<LinkConnection> link_;
};

}  // namespace tallywick::testing
