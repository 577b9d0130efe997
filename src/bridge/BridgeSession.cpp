// SPDX-License-Identifier: MIT
#include <tallywick/bridge/BridgeSession.h>

#include <tallywick/link/HostLauncher.h>
#include <tallywick/link/HostLocator.h>
#include <tallywick/link/RuntimeDirectory.h>

#include <tallywick/bridge/AgentLine.h>

namespace tallywick {

namespace {

constexpr std::string_view kMethod = "handleAgentMessage";
constexpr std::string_view kNotificationMethod = "deliverAgentNotification";

std::string lossNote(const std::string& reason) {
    return "no connection to the host: " + reason;
}

}  // namespace

std::shared_ptr<BridgeSession> BridgeSession::create(asio::io_context& context, Config config,
                                                     LineWriter& output, Log log) {
    return std::shared_ptr<BridgeSession>(
        new BridgeSession(context, std::move(config), output, std::move(log)));
}

BridgeSession::BridgeSession(asio::io_context& context, Config config, LineWriter& output, Log log)
    : context_(context), config_(std::move(config)), output_(output), log_(std::move(log)) {}

void BridgeSession::forward(std::string line) {
    cache_.observeRequest(line);
    auto request = std::make_shared<const std::string>(std::move(line));
    {
        std::lock_guard lock(mutex_);
        ++pending_;
    }
    auto link = linkFor(*request);
    if (!link) return failed(request, {LinkFailure::Kind::invalidated, "no usable runtime folder"});
    std::weak_ptr<BridgeSession> weak = weak_from_this();
    link->call(
        std::string(kMethod), *request,
        [weak, request](std::string reply) {
            if (auto self = weak.lock()) self->answered(request, std::move(reply));
        },
        [weak, request](const LinkFailure& failure) {
            if (auto self = weak.lock()) self->failed(request, failure);
        });
}

void BridgeSession::refuseOverlongLine() {
    output_.write(AgentLine::error("null", AgentLine::kInvalidRequest,
                                   "Invalid Request: the line is longer than 4 MiB and was skipped"));
}

void BridgeSession::waitUntilAnswered() {
    std::unique_lock lock(mutex_);
    settled_.wait(lock, [this] { return pending_ == 0; });
}

void BridgeSession::close() {
    std::shared_ptr<LinkConnection> link;
    {
        std::lock_guard lock(mutex_);
        link = std::move(link_);
        closing_ = true;  // our own close is no news for the log
    }
    if (link) link->close();
}

// The current connection, or a new one with the session replayed on it when
// there is none. Calls are queued on a connection while it is still connecting.
std::shared_ptr<LinkConnection> BridgeSession::linkFor(const std::string& line) {
    {
        std::lock_guard lock(mutex_);
        if (link_) return link_;
    }
    // Outside the lock, so earlier lines are still answered while a host
    // starts. Only this thread opens links, so none appears meanwhile.
    startHostIfNeeded();
    std::lock_guard lock(mutex_);
    link_ = open();
    if (link_) replay(link_, line);
    return link_;
}

void BridgeSession::startHostIfNeeded() {
    const auto runtime = prepareRuntimeDirectory(config_.runtimeDirectory);
    if (!runtime.usable()) return;  // open() reports it
    // The ledger's host may serve from another folder: nothing to start.
    if (HostLocator::folderFor(runtime.path) != runtime.path) return;
    const auto launcher = HostLauncher::forClient(runtime.path);
    if (launcher.running()) return;
    if (auto started = launcher.ensureRunning(); !started)
        report("no host was running and none could be started: " + started.error());
    else
        report("no host was running: started " + launcher.hostPath());
}

std::shared_ptr<LinkConnection> BridgeSession::open() {
    const auto runtime = prepareRuntimeDirectory(config_.runtimeDirectory);
    if (!runtime.usable()) {
        note(runtime.path + ": " + runtime.problem);
        return nullptr;
    }
    auto link = LinkConnection::connect(context_, endpointPath(HostLocator::folderFor(runtime.path)),
                                        config_.hostRequirement);
    std::weak_ptr<BridgeSession> weak = weak_from_this();
    const LinkConnection* raw = link.get();
    auto ended = [weak, raw](const std::string& reason) {
        if (auto self = weak.lock()) self->lost(raw, reason);
    };
    link->start({
        .onMessage =
            [weak](const std::string& method, const std::string& payload) {
                auto self = weak.lock();
                if (self && method == kNotificationMethod && !payload.empty()) self->output_.write(payload);
            },
        .onInterrupted = ended,
        .onInvalidated = ended,
    });
    return link;
}

// The host's answers to replayed lines are for the cache only: the agent
// did not send those lines again and expects nothing for them.
void BridgeSession::replay(const std::shared_ptr<LinkConnection>& link, const std::string& line) {
    if (!cache_.canReestablish()) return;
    for (auto& cached : cache_.replayLines(line)) {
        auto request = std::make_shared<const std::string>(std::move(cached));
        std::weak_ptr<BridgeSession> weak = weak_from_this();
        link->call(
            std::string(kMethod), *request,
            [weak, request](std::string reply) {
                if (auto self = weak.lock()) {
                    self->cache_.observeResponse(
                        *request, reply.empty() ? std::nullopt : std::optional<std::string_view>(reply));
                }
            },
            [](const LinkFailure&) {});  // the line behind it reports the loss
    }
}

void BridgeSession::answered(const Request& request, std::string reply) {
    cache_.observeResponse(*request, reply.empty() ? std::nullopt : std::optional<std::string_view>(reply));
    if (!reply.empty()) output_.write(reply);
    {
        std::lock_guard lock(mutex_);
        lastNote_.clear();  // the host is there: the next trouble is news again
    }
    settle();
}

void BridgeSession::failed(const Request& request, const LinkFailure& failure) {
    const auto id = AgentLine::requestId(*request);
    switch (failure.kind) {
        case LinkFailure::Kind::interrupted:
        case LinkFailure::Kind::invalidated:
            report(lossNote(failure.reason));  // here too: the bridge may exit before lost() runs
            if (id) {
                output_.write(
                    AgentLine::error(*id, AgentLine::kHostNotRunning, "Tallywick host is not running"));
            }
            break;
        case LinkFailure::Kind::remoteFailure:
            report("the host refused a message: " + failure.reason);
            if (id) {
                output_.write(AgentLine::error(*id, AgentLine::kInternalError,
                                               "Internal error: the Tallywick host refused the message"));
            }
            break;
        case LinkFailure::Kind::unsendable:
            // Only a line that is not UTF-8 gets here, and such a line has no readable id.
            output_.write(AgentLine::error(id ? *id : "null", AgentLine::kParseError,
                                           "Parse error: the line is not valid UTF-8"));
            break;
    }
    settle();
}

void BridgeSession::lost(const LinkConnection* link, const std::string& reason) {
    std::lock_guard lock(mutex_);
    if (link_.get() == link) link_.reset();
    if (!closing_) note(lossNote(reason));
}

void BridgeSession::settle() {
    std::lock_guard lock(mutex_);
    if (--pending_ == 0) settled_.notify_all();
}

void BridgeSession::report(const std::string& message) {
    std::lock_guard lock(mutex_);
    note(message);
}

// Called with mutex_ held.
void BridgeSession::note(const std::string& message) {
    if (message == lastNote_) return;
    lastNote_ = message;
    if (log_) log_(message);
}

}  // namespace tallywick
