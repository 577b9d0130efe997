// SPDX-License-Identifier: MIT
#pragma once

#include <asio/io_context.hpp>

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/SessionReplayCache.h>

#include <tallywick/bridge/LineWriter.h>

namespace tallywick {

// One agent's session with the host. Every line the agent sends becomes one
// handleAgentMessage call, sent at once without waiting for earlier replies;
// replies and pushed notifications go to the output in the order the host
// sends them. The connection is opened on the first line and again on the
// next line after it is lost, replaying the session's handshake and login
// first; when no host runs then, one is started on demand. A request that
// cannot reach the host is answered with an error line, so the agent never
// waits for nothing.
class BridgeSession : public std::enable_shared_from_this<BridgeSession> {
public:
    struct Config {
        std::string runtimeDirectory;
        std::string hostRequirement;
    };
    using Log = std::function<void(const std::string&)>;

    // The output must outlive the I/O context's thread.
    static std::shared_ptr<BridgeSession> create(asio::io_context& context, Config config, LineWriter& output,
                                                 Log log);

    // Call from one thread only: the order of calls is the order of sending.
    void forward(std::string line);
    // Answers a line that was too long to be read.
    void refuseOverlongLine();
    // Blocks until every forwarded line has been answered and its answer written.
    void waitUntilAnswered();
    void close();

private:
    BridgeSession(asio::io_context& context, Config config, LineWriter& output, Log log);

    using Request = std::shared_ptr<const std::string>;

    std::shared_ptr<LinkConnection> linkFor(const std::string& line);
    void startHostIfNeeded();  // a host on demand, waiting for it up to 5 s
    std::shared_ptr<LinkConnection> open();
    void replay(const std::shared_ptr<LinkConnection>& link, const std::string& line);
    void answered(const Request& request, std::string reply);
    void failed(const Request& request, const LinkFailure& failure);
    void lost(const LinkConnection* link, const std::string& reason);
    void settle();
    void report(const std::string& message);  // logs it unless it was the last thing logged
    void note(const std::string& message);    // the same, with mutex_ held

    asio::io_context& context_;
    Config config_;
    LineWriter& output_;
    Log log_;
    SessionReplayCache cache_;

    std::mutex mutex_;
    std::condition_variable settled_;
    std::shared_ptr<LinkConnection> link_;  // none before the first line and after a loss
    std::size_t pending_ = 0;               // lines sent and not yet answered
    std::string lastNote_;                  // so a host that stays away is logged once
    bool closing_ = false;                  // our own close() ended the link
};

}  // namespace tallywick
