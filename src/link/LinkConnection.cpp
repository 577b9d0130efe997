// SPDX-License-Identifier: MIT
#include <tallywick/link/LinkConnection.h>

#include <asio/bind_executor.hpp>
#include <asio/buffer.hpp>
#include <asio/dispatch.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <unordered_set>

#include <tallywick/link/FrameCodec.h>
#include <tallywick/link/PeerCheck.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/SocketAddress.h>
#include <tallywick/model/JsonWriter.h>
#include <tallywick/model/TallywickCoding.h>

namespace tallywick {

namespace {

// Small frames are gathered in a buffer of this size; a frame that does not
// fit is read straight into its own payload.
constexpr std::size_t kReadChunk = std::size_t{64} * 1024;
// A large payload is made ready a step at a time ahead of what arrives, so
// memory grows with the bytes received, never with the length announced.
constexpr std::size_t kPayloadStep = 4u << 20;
// Room in the kernel for a large reply to move in few rounds (the system's
// maximum applies when it is lower).
constexpr int kSocketBufferBytes = 4 << 20;

// From this size a payload asks for huge pages where the system gives them
// on request: a 200 MB answer then takes some hundred page faults, not fifty thousand.
constexpr std::size_t kHugePayload = 8u << 20;

void adviseHugePages(char* data, std::size_t size) {
    constexpr std::uintptr_t huge = 2u << 20;
    const auto begin = (reinterpret_cast<std::uintptr_t>(data) + huge - 1) & ~(huge - 1);
    const auto end = (reinterpret_cast<std::uintptr_t>(data) + size) & ~(huge - 1);
    // A hint only; the page-aligned address is arithmetic on the buffer's own.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    if (end > begin) ::madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

}  // namespace

std::shared_ptr<LinkConnection> LinkConnection::connect(asio::io_context& context, std::string endpointPath,
                                                        std::string requirementText) {
    return std::shared_ptr<LinkConnection>(
        new LinkConnection(Socket(context), std::move(endpointPath), std::move(requirementText), true));
}

std::shared_ptr<LinkConnection> LinkConnection::adopt(Socket socket,
                                                      std::chrono::milliseconds helloDeadline) {
    return std::shared_ptr<LinkConnection>(
        new LinkConnection(std::move(socket), {}, {}, false, helloDeadline));
}

LinkConnection::LinkConnection(Socket socket, std::string endpointPath, std::string requirementText,
                               bool connectFirst, std::chrono::milliseconds helloDeadline)
    : socket_(std::move(socket)),
      strand_(asio::make_strand(socket_.get_executor())),
      endpointPath_(std::move(endpointPath)),
      requirementText_(std::move(requirementText)),
      connectFirst_(connectFirst),
      helloDeadline_(helloDeadline) {}

LinkConnection::~LinkConnection() = default;

void LinkConnection::start(Handlers handlers) {
    asio::post(strand_, [self = shared_from_this(), handlers = std::move(handlers)]() mutable {
        self->handlers_ = std::move(handlers);
        // Hello goes first, ahead of any call made before the socket is up.
        auto hello = encodeFrameHead(FrameKind::hello, 0, kHelloName, kLinkVersion);
        const std::size_t size = hello->size() + kLinkVersion.size();
        self->queuedBytes_ += size;
        self->writes_.push_front({std::move(*hello), std::string(kLinkVersion), {}, size});
        if (self->helloDeadline_.count() > 0) {
            // A peer that connects and says nothing holds a descriptor of ours.
            self->helloTimer_.emplace(self->strand_, self->helloDeadline_);
            self->helloTimer_->async_wait([self](const std::error_code& error) {
                if (!error && !self->helloReceived_)
                    self->end(LinkFailure::Kind::invalidated, "no hello in time");
            });
        }
        if (self->connectFirst_) {
            self->beginConnect();
        } else {
            self->beginSession();
        }
    });
}

void LinkConnection::beginConnect() {
    // A socket in a folder that someone else could have prepared is not ours to trust.
    const auto folder = std::filesystem::path(endpointPath_).parent_path().string();
    if (const auto checked = checkRuntimeDirectory(folder); !checked.usable())
        return end(LinkFailure::Kind::invalidated, checked.problem);
    auto resolved = SocketAddress::of(endpointPath_);
    if (!resolved) return end(LinkFailure::Kind::invalidated, resolved.error());
    // A long path's folder stays open until the connect is done.
    auto address = std::make_shared<SocketAddress>(std::move(resolved).value());
    socket_.async_connect(
        asio::local::stream_protocol::endpoint(address->usablePath()),
        asio::bind_executor(strand_, [self = shared_from_this(), address](const std::error_code& error) {
            if (self->ended_) return;
            if (error)
                return self->end(LinkFailure::Kind::invalidated,
                                 "no host at the endpoint: " + error.message());
            // The peer is checked before a single frame is read from it.
            const auto refusal = refusePeer(self->socket_.native_handle(), self->requirementText_);
            if (!refusal.empty()) return self->end(LinkFailure::Kind::invalidated, refusal);
            self->beginSession();
        }));
}

void LinkConnection::beginSession() {
    connected_ = true;
    std::error_code ignored;
    socket_.set_option(asio::socket_base::send_buffer_size(kSocketBufferBytes), ignored);
    socket_.set_option(asio::socket_base::receive_buffer_size(kSocketBufferBytes), ignored);
    writeNext();
    readMore();
}

void LinkConnection::call(std::string method, std::string payload, ReplyHandler onReply,
                          ErrorHandler onError) {
    asio::post(strand_, [self = shared_from_this(), method = std::move(method), payload = std::move(payload),
                         onReply = std::move(onReply), onError = std::move(onError)]() mutable {
        if (self->ended_) return onError({LinkFailure::Kind::invalidated, "the connection has ended"});
        const std::uint64_t id = self->nextId_++;
        auto head = encodeFrameHead(FrameKind::call, id, method, payload);
        if (!head) return onError({LinkFailure::Kind::unsendable, "the call cannot be framed"});
        self->pending_.emplace(id, Pending{std::move(onReply), std::move(onError)});
        if (self->push({std::move(*head), std::move(payload)})) self->writeNext();
    });
}

// Answers and messages are usually made from inside a handler, already on the
// strand: dispatch frames and writes them at once instead of queueing a turn.
void LinkConnection::send(std::string method, std::string payload) {
    asio::dispatch(strand_, [self = shared_from_this(), method = std::move(method),
                             payload = std::move(payload)]() mutable {
        self->enqueue(FrameKind::message, 0, method, std::move(payload));
    });
}

void LinkConnection::reply(std::uint64_t id, std::string payload) {
    asio::dispatch(strand_, [self = shared_from_this(), id, payload = std::move(payload)]() mutable {
        self->enqueue(FrameKind::reply, id, {}, std::move(payload));
    });
}

void LinkConnection::reply(std::uint64_t id, std::vector<SharedText> parts) {
    asio::dispatch(strand_, [self = shared_from_this(), id, parts = std::move(parts)]() mutable {
        if (self->ended_) return;
        std::size_t length = 0;
        for (const auto& part : parts) length += part->size();
        auto head = encodeFrameHead(FrameKind::reply, id, std::string_view(), length);
        if (!head) return self->enqueue(FrameKind::failure, id, {}, "reply cannot be framed");
        if (self->push({std::move(*head), {}, std::move(parts)})) self->writeNext();
    });
}

void LinkConnection::fail(std::uint64_t id, std::string reason) {
    asio::dispatch(strand_, [self = shared_from_this(), id, reason = std::move(reason)]() mutable {
        self->enqueue(FrameKind::failure, id, {}, std::move(reason));
    });
}

void LinkConnection::close() {
    asio::post(strand_, [self = shared_from_this()] { self->end(LinkFailure::Kind::invalidated, "closed"); });
}

void LinkConnection::finish() {
    asio::post(strand_, [self = shared_from_this()] {
        self->finishing_ = true;
        if (!self->writing_) self->end(LinkFailure::Kind::invalidated, "closed");
    });
}

void LinkConnection::enqueue(FrameKind kind, std::uint64_t id, const std::string& name, std::string payload) {
    if (ended_) return;
    auto head = encodeFrameHead(kind, id, name, payload);
    if (!head) {
        // A reply we cannot frame must still answer the call.
        if (kind == FrameKind::reply) enqueue(FrameKind::failure, id, {}, "reply cannot be framed");
        return;
    }
    if (push({std::move(*head), std::move(payload)})) writeNext();
}

bool LinkConnection::push(Outgoing frame) {
    std::size_t size = frame.head.size() + frame.payload.size();
    for (const auto& part : frame.parts)
        if (partHolders_[part.get()]++ == 0) size += part->size();
    frame.counted = size;
    // The frame being written is on its way; what waits behind it is the
    // backlog. One frame alone may be large (a snapshot), a pile may not.
    const std::size_t inFlight = writing_ && !writes_.empty() ? writes_.front().counted : 0;
    const std::size_t backlog = queuedBytes_ - inFlight;
    if (backlog > 0 && backlog + size > kMaxBacklog && heldForThisPeer(frame) > kMaxBacklog) {
        end(LinkFailure::Kind::invalidated, "the peer does not read: over 64 MiB waited to be sent");
        return false;
    }
    queuedBytes_ += size;
    writes_.push_back(std::move(frame));
    return true;
}

// The count above takes every part at its size; a part its maker still
// keeps (a kept answer) costs nothing more for being queued here. Only when
// that count passes the bound is the exact figure worth a walk.
std::size_t LinkConnection::heldForThisPeer(const Outgoing& next) const {
    std::unordered_set<const std::string*> seen;
    std::size_t held = 0;
    const auto add = [&](const Outgoing& frame) {
        held += frame.head.size() + frame.payload.size();
        for (const auto& part : frame.parts) {
            // partHolders_ counts every hold of our queue, `next` included.
            if (seen.insert(part.get()).second && part.use_count() <= long(partHolders_.at(part.get())))
                held += part->size();
        }
    };
    for (std::size_t i = writing_ ? 1 : 0; i < writes_.size(); ++i) add(writes_[i]);
    add(next);
    return held;
}

void LinkConnection::writeNext() {
    if (writing_ || writes_.empty() || !connected_ || ended_) return;
    writing_ = true;
    const Outgoing& frame = writes_.front();
    std::vector<asio::const_buffer> buffers{asio::buffer(frame.head), asio::buffer(frame.payload)};
    for (const auto& part : frame.parts) buffers.push_back(asio::buffer(*part));
    asio::async_write(
        socket_, buffers,
        asio::bind_executor(strand_, [self = shared_from_this()](const std::error_code& error, std::size_t) {
            self->writing_ = false;
            if (self->ended_) return;
            if (error) {
                return self->end(
                    self->helloReceived_ ? LinkFailure::Kind::interrupted : LinkFailure::Kind::invalidated,
                    "write failed: " + error.message());
            }
            self->queuedBytes_ -= self->writes_.front().counted;
            for (const auto& part : self->writes_.front().parts) {
                const auto holder = self->partHolders_.find(part.get());
                if (--holder->second == 0) self->partHolders_.erase(holder);
            }
            self->writes_.pop_front();
            if (self->finishing_ && self->writes_.empty())
                return self->end(LinkFailure::Kind::invalidated, "closed");
            self->writeNext();
        }));
}

void LinkConnection::readMore() {
    const auto then = [self = shared_from_this()](auto handle) {
        return asio::bind_executor(
            self->strand_, [self, handle](const std::error_code& error, std::size_t count) {
                if (self->ended_) return;
                if (error) {
                    // Before the greeting, a closed socket means the peer refused us.
                    return self->end(self->helloReceived_ ? LinkFailure::Kind::interrupted
                                                          : LinkFailure::Kind::invalidated,
                                     self->helloReceived_ ? "the peer went away: " + error.message()
                                                          : "the peer closed before greeting");
                }
                ((*self).*handle)(count);
            });
    };
    if (largeHead_) {
        if (largeFilled_ == largePayload_.size() && largeFilled_ < largeHead_->payloadLength)
            largePayload_.resize(std::min(largeHead_->payloadLength, largeFilled_ + kPayloadStep));
        return socket_.async_read_some(
            asio::buffer(largePayload_.data() + largeFilled_, largePayload_.size() - largeFilled_),
            then(&LinkConnection::handleLargeBytes));
    }
    if (!readBuffer_) readBuffer_ = std::make_unique_for_overwrite<char[]>(kReadChunk);
    socket_.async_read_some(asio::buffer(readBuffer_.get() + filled_, kReadChunk - filled_),
                            then(&LinkConnection::handleBytes));
}

void LinkConnection::handleBytes(std::size_t count) {
    filled_ += count;
    auto scan = scanFrames({readBuffer_.get(), filled_});
    for (auto& frame : scan.frames) {
        if (!handleFrame(std::move(frame))) return;
        if (ended_) return;  // a handler closed the connection
    }
    if (scan.violation) return end(LinkFailure::Kind::invalidated, std::string(describe(*scan.violation)));
    filled_ -= scan.consumed;
    if (filled_ > 0) std::memmove(readBuffer_.get(), readBuffer_.get() + scan.consumed, filled_);
    // What remains is the start of one frame; when it cannot fit here, the
    // rest goes straight into its payload (the head fits: it is short).
    auto next = readFrameHead({readBuffer_.get(), filled_});
    if (auto* head = std::get_if<FrameHead>(&next);
        head && head->headLength + head->payloadLength > kReadChunk) {
        largePayload_ = std::string();
        // With room after it for the decoder to read the payload where it lies.
        largePayload_.reserve(head->payloadLength + TallywickCoding::kReadPadding);
        if (head->payloadLength >= kHugePayload)
            adviseHugePages(largePayload_.data(), largePayload_.capacity());
        largePayload_.assign(readBuffer_.get() + head->headLength, filled_ - head->headLength);
        largeFilled_ = largePayload_.size();
        largeChecked_ = 0;
        largeHead_ = std::move(*head);
        filled_ = 0;
    }
    readMore();
}

void LinkConnection::handleLargeBytes(std::size_t count) {
    largeFilled_ += count;
    // Checked as it arrives, while the sender is still sending and the bytes
    // are still in the cache, up to the last character begun so far.
    std::size_t upTo = largeFilled_;
    if (largeFilled_ < largeHead_->payloadLength) {
        // A character has at most three continuation bytes; more are caught below.
        for (int step = 0; step < 4 && upTo > largeChecked_; ++step) {
            const bool continuation = (static_cast<unsigned char>(largePayload_[--upTo]) & 0xc0) == 0x80;
            if (!continuation) break;  // the character begun here may be incomplete
        }
    }
    if (!isValidUtf8(std::string_view(largePayload_).substr(largeChecked_, upTo - largeChecked_)))
        return end(LinkFailure::Kind::invalidated, std::string(describe(FrameViolation::payloadNotUtf8)));
    largeChecked_ = upTo;
    if (largeFilled_ < largeHead_->payloadLength) return readMore();
    FrameHead head = std::move(*largeHead_);
    largeHead_.reset();
    std::string payload = std::exchange(largePayload_, std::string());
    largeFilled_ = largeChecked_ = 0;
    if (!handleFrame(Frame{head.kind, head.id, std::move(head.name), std::move(payload)}) || ended_) return;
    readMore();
}

bool LinkConnection::handleFrame(Frame frame) {
    const auto violation = [this](const char* reason) {
        end(LinkFailure::Kind::invalidated, reason);
        return false;
    };
    if (frame.kind == FrameKind::hello) {
        if (helloReceived_ || frame.name != kHelloName || frame.payload != kLinkVersion) {
            return violation("wrong hello");
        }
        helloReceived_ = true;
        greeted_.store(true, std::memory_order_relaxed);
        if (helloTimer_) helloTimer_->cancel();
        return true;
    }
    if (!helloReceived_) return violation("a frame before hello");
    switch (frame.kind) {
        case FrameKind::call:
            if (!handlers_.onCall || !handlers_.onCall(frame.id, frame.name, std::move(frame.payload))) {
                enqueue(FrameKind::failure, frame.id, {}, "no such method: " + frame.name);
            }
            return true;
        case FrameKind::message:
            if (handlers_.onMessage) handlers_.onMessage(frame.name, std::move(frame.payload));
            return true;
        case FrameKind::reply:
        case FrameKind::failure: {
            auto it = pending_.find(frame.id);
            if (it == pending_.end()) return violation("an answer to no pending call");
            Pending pending = std::move(it->second);
            pending_.erase(it);
            if (frame.kind == FrameKind::reply) {
                pending.onReply(std::move(frame.payload));
            } else {
                pending.onError({LinkFailure::Kind::remoteFailure, std::move(frame.payload)});
            }
            return true;
        }
        case FrameKind::hello: break;
    }
    return true;
}

void LinkConnection::end(LinkFailure::Kind kind, const std::string& reason) {
    if (ended_) return;
    ended_ = true;
    std::error_code ignored;
    socket_.shutdown(Socket::shutdown_both, ignored);
    socket_.close(ignored);
    auto pending = std::move(pending_);
    pending_.clear();
    writes_.clear();
    queuedBytes_ = 0;
    partHolders_.clear();
    if (helloTimer_) helloTimer_->cancel();
    // Handlers may hold their owner; dropping them here breaks the cycle.
    auto handlers = std::move(handlers_);
    handlers_ = {};
    for (auto& [id, call] : pending) call.onError({kind, reason});
    const auto& onEnd =
        kind == LinkFailure::Kind::interrupted ? handlers.onInterrupted : handlers.onInvalidated;
    if (onEnd) onEnd(reason);
}

}  // namespace tallywick
