// SPDX-License-Identifier: MIT
#pragma once

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>
#include <asio/strand.hpp>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <tallywick/link/Frame.h>
#include <tallywick/link/FrameCodec.h>

namespace tallywick {

// Why a call got no reply. Interrupted: an established connection ended (the
// peer may come back). Invalidated: the connection cannot be used or never
// could (no endpoint, refused, a protocol violation, an explicit close).
struct LinkFailure {
    enum class Kind {
        interrupted,
        invalidated,
        remoteFailure,  // the peer answered with a failure frame
        unsendable,     // the call itself cannot be framed (payload not UTF-8, too long)
    } kind;
    std::string reason;
};

// One end of a link connection over a Unix stream socket. Every operation
// may be called from any thread; all state lives on one strand of the I/O
// context, and every handler runs there, one at a time, in the order frames
// arrive. Each pending call's error handler runs exactly once when the
// connection ends, before the interruption or invalidation handler.
class LinkConnection : public std::enable_shared_from_this<LinkConnection> {
public:
    using Socket = asio::local::stream_protocol::socket;
    using ReplyHandler = std::function<void(std::string payload)>;
    using ErrorHandler = std::function<void(const LinkFailure&)>;

    struct Handlers {
        // A call from the peer; answer with reply() or fail() and the same id.
        // Return false for a method this side does not serve: the peer gets a failure.
        std::function<bool(std::uint64_t id, const std::string& method, std::string payload)> onCall{};
        // A one-way message; unknown methods are the handler's to drop.
        std::function<void(const std::string& method, std::string payload)> onMessage{};
        std::function<void(const std::string& reason)> onInterrupted{};
        std::function<void(const std::string& reason)> onInvalidated{};
    };

    // A client end: connects to the endpoint, then checks the peer against
    // the requirement text (empty: the uid check only) before reading anything.
    static std::shared_ptr<LinkConnection> connect(asio::io_context& context, std::string endpointPath,
                                                   std::string requirementText);
    // A server end, for a socket whose peer was already checked. A peer that
    // has not sent its whole hello when the deadline passes is closed.
    static std::shared_ptr<LinkConnection> adopt(Socket socket,
                                                 std::chrono::milliseconds helloDeadline = kHelloDeadline);

    // Frames waiting behind the one being written, at most: a peer that
    // stops reading is disconnected before it can make us hold more.
    static constexpr std::size_t kMaxBacklog = 64u << 20;
    static constexpr std::chrono::milliseconds kHelloDeadline{10'000};

    // Whether the peer's hello has arrived. Any thread.
    bool greeted() const { return greeted_.load(std::memory_order_relaxed); }

    // Begins the connection's life; handlers are fixed from here on.
    void start(Handlers handlers);

    void call(std::string method, std::string payload, ReplyHandler onReply, ErrorHandler onError);
    void send(std::string method, std::string payload);
    void reply(std::uint64_t id, std::string payload);
    // A reply made of parts held elsewhere (a cached answer): written as one
    // gather, never copied or read again, so every part must be UTF-8 our
    // own writer made.
    using SharedText = std::shared_ptr<const std::string>;
    void reply(std::uint64_t id, std::vector<SharedText> parts);
    void fail(std::uint64_t id, std::string reason);
    void close();
    // Closes once the frames already queued are written, so that answers
    // given just before a shutdown still reach the peer.
    void finish();

    ~LinkConnection();

private:
    struct Pending {
        ReplyHandler onReply;
        ErrorHandler onError;
    };

    LinkConnection(Socket socket, std::string endpointPath, std::string requirementText, bool connectFirst,
                   std::chrono::milliseconds helloDeadline = {});

    void beginConnect();
    void beginSession();
    // A frame to send: its head, then its payload, written as one gather.
    struct Outgoing {
        std::string head;
        std::string payload;
        std::vector<SharedText> parts{};  // after the payload
        std::size_t counted = 0;          // what it added to queuedBytes_
    };
    void enqueue(FrameKind kind, std::uint64_t id, const std::string& name, std::string payload);
    // Queues a framed write unless the backlog bound is passed; false then, and the connection has ended.
    bool push(Outgoing frame);
    std::size_t heldForThisPeer(const Outgoing& next) const;
    void writeNext();
    void readMore();
    void handleBytes(std::size_t count);
    void handleLargeBytes(std::size_t count);
    bool handleFrame(Frame frame);
    void end(LinkFailure::Kind kind, const std::string& reason);

    Socket socket_;
    asio::strand<asio::any_io_executor> strand_;
    std::string endpointPath_;
    std::string requirementText_;
    bool connectFirst_;

    Handlers handlers_;
    std::map<std::uint64_t, Pending> pending_;  // by id, so that failures run in call order
    std::uint64_t nextId_ = 1;
    std::deque<Outgoing> writes_;
    // Bytes held by the frames in writes_, each shared part counted once
    // however many frames hold it (a kept answer sent again costs nothing).
    std::size_t queuedBytes_ = 0;
    std::unordered_map<const std::string*, std::size_t> partHolders_;
    bool writing_ = false;
    std::chrono::milliseconds helloDeadline_;
    std::optional<asio::steady_timer> helloTimer_;
    std::atomic<bool> greeted_{false};
    // Received bytes not yet taken as frames.
    std::unique_ptr<char[]> readBuffer_;
    std::size_t filled_ = 0;
    // A frame too large for that buffer is read straight into its payload.
    std::optional<FrameHead> largeHead_;
    std::string largePayload_;
    std::size_t largeFilled_ = 0;
    std::size_t largeChecked_ = 0;  // bytes known to be UTF-8
    bool connected_ = false;
    bool helloReceived_ = false;
    bool ended_ = false;
    bool finishing_ = false;
};

}  // namespace tallywick
