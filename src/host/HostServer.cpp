// SPDX-License-Identifier: MIT
#include <tallywick/host/HostServer.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <future>
#include <set>

#include <tallywick/link/Frame.h>
#include <tallywick/link/HostLocator.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/model/TallywickVersion.h>

#include <tallywick/host/DescriptorLimit.h>
#include <tallywick/host/HostLog.h>
#include <tallywick/host/LedgerBackups.h>
#include <tallywick/host/LogRedaction.h>

namespace tallywick {

namespace {

Date now() {
    return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
}

// How long a stopping host waits for answers already given to be written.
constexpr auto drainLimit = std::chrono::seconds(2);

}  // namespace

Result<std::unique_ptr<HostServer>, HostServer::StartFailure> HostServer::start(const Config& config) {
    const std::size_t maxConnections = raiseDescriptorLimit(kMaxConnections);
    const auto runtime = prepareRuntimeDirectory(config.runtimeDirectory);
    if (!runtime.usable()) return fail(StartFailure{.message = runtime.path + ": " + runtime.problem});

    auto userLock = FileLock::acquire(runtime.path + "/host.lock", std::to_string(::getpid()));
    if (!userLock) {
        if (!userLock.error().heldByOther) return fail(StartFailure{.message = userLock.error().reason});
        return fail(
            StartFailure{.alreadyRunning = true,
                         .message = "another host is already running for this user in " + runtime.path});
    }

    // A folder records its ledger, so that a host started there on demand
    // serves that one; another ledger may not take it while that file exists.
    if (const auto recorded = HostLocator::recordedLedger(runtime.path);
        !recorded.empty() && recorded != config.databasePath && std::filesystem::exists(recorded))
        return fail(StartFailure{.message = "the runtime folder " + runtime.path + " belongs to the ledger " +
                                            recorded + "; serve that one with --database, or give " +
                                            config.databasePath + " another --runtime-dir"});

    // Two hosts on one file would each keep balances of their own.
    if (auto folders = createPrivateFolders(std::filesystem::path(config.databasePath).parent_path());
        !folders)
        return fail(StartFailure{.message = std::move(folders).error()});
    auto databaseLock = FileLock::acquire(config.databasePath + ".lock", runtime.path);
    if (!databaseLock) {
        const auto& refused = databaseLock.error();
        if (!refused.heldByOther) return fail(StartFailure{.message = refused.reason});
        return fail(StartFailure{
            .message =
                "another host already serves " + config.databasePath +
                (refused.note.empty() ? std::string() : " (its runtime folder: " + refused.note + ")") +
                "; stop it first, or give this one another --database",
            .servedFrom = refused.note});
    }
    if (!HostLocator::recordLedger(runtime.path, config.databasePath))
        HostLog::warning("cannot record the ledger in " + runtime.path +
                         "; a host started there on demand "
                         "may open the default one");

    auto opened = LedgerStore::open(config.databasePath);
    if (!opened) return fail(StartFailure{.message = std::move(opened).error()});
    std::unique_ptr<HostServer> server(
        new HostServer(Locks{RuntimeFolderKeeper(runtime.path, std::move(userLock).value()),
                             std::move(databaseLock).value()},
                       std::move(opened).value(), endpointPath(runtime.path)));
    server->maxConnections_ = maxConnections;
    server->databasePath_ = config.databasePath;
    server->callerRequirement_ = config.callerRequirement;
    if (auto listening = server->listen(); !listening)
        return fail(StartFailure{.message = std::move(listening).error()});
    // Listening comes first, so clients connect at once; their requests wait
    // on the serial path behind the ledger's load, which is queued there
    // before any thread runs, so nothing can come before it.
    asio::post(server->strand_, [raw = server.get()] {
        raw->loadLedger();
        raw->backUpWhenDue();
        raw->keepFolder();
    });
    server->run(std::max(1, config.ioThreads));
    return server;
}

HostServer::HostServer(Locks locks, std::unique_ptr<LedgerStore> store, std::string endpoint)
    : locks_(std::move(locks)),
      endpoint_(std::move(endpoint)),
      store_(std::move(store)),
      entries_(*store_),
      log_(store_->runNumber()),
      control_(*store_),
      agents_(*store_, hasher_),
      strand_(asio::make_strand(context_)),
      work_(asio::make_work_guard(context_)) {}

Result<void, std::string> HostServer::listen() {
    auto listening = LinkListener::listen(
        context_, endpoint_, callerRequirement_,
        [this](const std::shared_ptr<LinkConnection>& link) {
            asio::post(strand_, [this, link] { adopt(link); });
        },
        [](const std::string& peer, const std::string& reason) {
            HostLog::warning("refused a connection from " + peer + ": " + reason);
        });
    if (!listening) return fail(std::move(listening).error());
    listener_ = std::move(listening).value();
    locks_.folder.listened(endpoint_);
    return {};
}

// Checked often, so a client that finds the folder gone finds it back within
// a second.
void HostServer::keepFolder() {
    if (stopping_) return;
    locks_.folder.keep([this] {
        (void)HostLocator::recordLedger(locks_.folder.folder(), databasePath_);
        listener_->close();
        return listen();
    });
    folderTimer_.expires_after(std::chrono::milliseconds(100));
    folderTimer_.async_wait([this](const std::error_code& error) {
        if (!error) keepFolder();
    });
}

void HostServer::run(int threads) {
    for (int i = 0; i < threads; ++i) threads_.emplace_back([this] { IoThread::runUntilStopped(context_); });
}

HostServer::~HostServer() {
    // The waits below can only fail if the system cannot lock or signal; the
    // stop then goes on without them rather than ending the process.
    try {
        if (!threads_.empty()) {
            std::promise<void> closed;
            asio::post(strand_, [this, &closed] {
                shutdown();
                closed.set_value();
            });
            closed.get_future().wait();
            std::unique_lock lock(openMutex_);
            openChanged_.wait_for(lock, drainLimit, [this] { return openLinks_ == 0; });
        }
    } catch (const std::exception& error) {
        HostLog::error(std::string("the stop did not wait for the last answers: ") + error.what());
    }
    if (!threads_.empty()) {
        work_.reset();
        context_.stop();
        for (auto& thread : threads_) {
            if (thread.joinable()) thread.join();
        }
    }
    // Work not begun is dropped; what runs finishes into a stopped context.
    keyWorkers_.stop();
    keyWorkers_.join();
    peers_.clear();
    listener_.reset();
    // The locks go last, with the members: only after the last answer went out.
}

void HostServer::loadLedger() {
    stateChanged();
    if (auto loaded = entries_.reloadAll(); !loaded) {
        HostLog::error(databasePath_ + " could not be read: " + loaded.error().reason);
        // Serving a ledger it cannot read would show a wrong one: the host
        // stops as if told to, and exits with the failure.
        failed_ = true;
        shutdown();
        ::kill(::getpid(), SIGTERM);
    }
}

// A copy a day, made by a key worker through a connection of its own, so
// nobody waits for it; checked hourly, so a host left running keeps its copies.
// A failure is logged once a day, not at every hourly try.
void HostServer::backUpWhenDue() {
    if (stopping_) return;
    if (const auto ahead = LedgerBackups::stampedInTheFuture(databasePath_, now());
        ahead && !toldOfFutureCopy_) {
        toldOfFutureCopy_ = true;
        HostLog::warning("the backup " + ahead->string() +
                         " is stamped in the future (the clock was ahead when it was made); it does not "
                         "count as recent, and restoring prefers every other copy");
    }
    if (!backingUp_ && LedgerBackups::due(databasePath_, now())) {
        backingUp_ = true;
        asio::post(keyWorkers_, [this] {
            auto made = LedgerBackups::make(databasePath_, now());
            asio::post(strand_, [this, made = std::move(made)] {
                backingUp_ = false;
                if (made) {
                    lastBackupWarning_.reset();
                    HostLog::info("backed up the ledger to " + made->string());
                } else if (!lastBackupWarning_ || now() - *lastBackupWarning_ >= std::chrono::hours(24)) {
                    lastBackupWarning_ = now();
                    HostLog::error("the daily backup failed: " + made.error().reason);
                }
            });
        });
    }
    backupTimer_.expires_after(std::chrono::hours(1));
    backupTimer_.async_wait([this](const std::error_code& error) {
        if (!error) backUpWhenDue();
    });
}

void HostServer::shutdown() {
    stopping_ = true;
    backupTimer_.cancel();
    folderTimer_.cancel();
    if (listener_) listener_->close();
    for (auto& [key, peer] : peers_) peer.link->finish();
    peers_.clear();
}

void HostServer::adopt(const std::shared_ptr<LinkConnection>& link) {
    if (stopping_) return link->close();
    if (peers_.size() >= maxConnections_) {
        // Room is made by the oldest peer that has not even said hello (our
        // own clients greet at once); when every peer has, the new one waits
        // outside.
        const auto silent = std::find_if(peers_.begin(), peers_.end(),
                                         [](const auto& peer) { return !peer.second.link->greeted(); });
        if (silent == peers_.end()) return link->close();
        silent->second.link->close();
        peers_.erase(silent);
    }
    const std::uint64_t key = nextPeerKey_++;
    {
        std::lock_guard lock(openMutex_);
        ++openLinks_;
    }
    auto ended = [this, key](const std::string&) {
        asio::post(strand_, [this, key] { drop(key); });
        std::lock_guard lock(openMutex_);
        --openLinks_;
        openChanged_.notify_all();
    };
    peers_[key].link = link;
    link->start({
        .onCall =
            [this, key](std::uint64_t id, const std::string& method, std::string payload) {
                if (method != "control" && method != "handleAgentMessage") return false;
                asio::post(strand_, [this, key, id, method, payload = std::move(payload)]() mutable {
                    handleCall(key, id, method, std::move(payload));
                });
                return true;
            },
        .onMessage = [](const std::string&, const std::string&) {},  // we serve no one-way methods
        .onInterrupted = ended,
        .onInvalidated = ended,
    });
}

void HostServer::handleCall(std::uint64_t peerKey, std::uint64_t callId, const std::string& method,
                            std::string payload) {
    const auto found = peers_.find(peerKey);
    if (found == peers_.end()) return;  // gone while the call waited
    Peer& peer = found->second;
    if (method == "control") return handleControl(peer, callId, payload);
    // Replies keep the order of the lines: behind a line that waits for its
    // key work, the connection's next lines wait too.
    if (peer.keyWorkPending)
        peer.waitingLines.emplace_back(callId, std::move(payload));
    else
        handleAgent(peerKey, peer, callId, payload);
}

void HostServer::handleControl(Peer& peer, std::uint64_t callId, const std::string& payload) {
    peer.control = true;
    auto result = control_.handle(payload, now());
    if (result.snapshotWanted)
        peer.link->reply(callId, snapshotParts());
    else
        peer.link->reply(callId, std::move(result.reply));
    if (result.writtenEntry)
        entries_.put(*result.writtenEntry);
    else if (result.removedEntry)
        entries_.remove(*result.removedEntry);
    else
        ledgersChanged(result.changedLedgers);
    if (result.deletedAccount) {
        reloadLedger(*result.deletedAccount);
        unbind([&](const AgentSession& session) { return session.accountId == *result.deletedAccount; });
    }
    // Off means off now, not at each agent's next request.
    if (result.clientInfoBindingsEnd)
        unbind([](const AgentSession& session) { return !session.authenticated; });
    if (result.dataChanged) broadcast(ControlEvent::dataChanged());
    for (const auto& account : result.changedLedgers) notifySubscribers(account);
}

void HostServer::handleAgent(std::uint64_t peerKey, Peer& peer, std::uint64_t callId,
                             const std::string& payload) {
    bool connectionsChanged = false;
    if (!peer.session) {
        peer.session = AgentSession{
            .id = "C" + std::to_string(store_->runNumber()) + "-" + std::to_string(nextConnection_++),
            .connectedAt = now(),
        };
        connectionsChanged = true;
    }
    // The request is logged as the connection stood when it arrived.
    const AgentSession before = *peer.session;
    auto effects = agents_.handle(*peer.session, payload, now());
    const auto redacted = redactedForLog(payload);
    log(before, effects.direction, effects.method, redacted ? std::string_view(*redacted) : payload);
    if (effects.keyWork) {
        if (connectionsChanged) broadcast(ControlEvent::connectionsChanged());
        return startKeyWork(peerKey, peer, callId, effects.keyWork);
    }
    answerAgent(peer, callId, std::move(effects), connectionsChanged);
}

void HostServer::answerAgent(Peer& peer, std::uint64_t callId, AgentService::Effects effects,
                             bool connectionsChanged) {
    if (effects.reply) log(*peer.session, Direction::response, std::nullopt, *effects.reply);
    ledgersChanged(effects.changedAccounts);
    peer.link->reply(callId, effects.reply ? std::move(*effects.reply) : std::string());

    if (effects.dataChanged) broadcast(ControlEvent::dataChanged());
    if (connectionsChanged || effects.connectionsChanged) broadcast(ControlEvent::connectionsChanged());
    for (const auto& account : effects.changedAccounts) notifySubscribers(account);
}

// Argon2id takes tens of milliseconds a key: it runs on the key workers, so
// the desk and every other agent are answered meanwhile. A login waits first
// for as long as earlier failures on its account or connection ask.
void HostServer::startKeyWork(std::uint64_t peerKey, Peer& peer, std::uint64_t callId,
                              const std::shared_ptr<AgentService::Effects::KeyWork>& work) {
    peer.keyWorkPending = true;
    auto start = [this, peerKey, callId, work] {
        asio::post(keyWorkers_, [this, peerKey, callId, work] {
            auto outcome = work->run();
            asio::post(strand_, [this, peerKey, callId, work, outcome = std::move(outcome)] {
                finishKeyWork(peerKey, callId, *work, outcome);
            });
        });
    };
    const auto wait = work->isLogin ? throttle_.wait(work->loginAccount, peerKey, LoginThrottle::Clock::now())
                                    : std::chrono::milliseconds(0);
    if (wait.count() <= 0) return start();
    auto timer = std::make_shared<asio::steady_timer>(strand_, wait);
    timer->async_wait([timer, start](const std::error_code& error) {
        if (!error) start();
    });
}

void HostServer::finishKeyWork(std::uint64_t peerKey, std::uint64_t callId,
                               const AgentService::Effects::KeyWork& work, const KeyOutcome& outcome) {
    if (work.isLogin) {
        if (outcome.matched)
            throttle_.succeeded(work.loginAccount, peerKey);
        else
            throttle_.failed(work.loginAccount, peerKey, LoginThrottle::Clock::now());
    }
    const auto found = peers_.find(peerKey);
    if (found == peers_.end() || stopping_) return;  // gone while its key was checked
    Peer& peer = found->second;
    answerAgent(peer, callId, work.finish(*peer.session, outcome, now()), false);
    peer.keyWorkPending = false;
    while (!peer.keyWorkPending && !peer.waitingLines.empty()) {
        auto [nextId, line] = std::move(peer.waitingLines.front());
        peer.waitingLines.pop_front();
        handleAgent(peerKey, peer, nextId, line);
    }
}

void HostServer::drop(std::uint64_t peerKey) {
    throttle_.forgetConnection(peerKey);
    const auto found = peers_.find(peerKey);
    if (found == peers_.end()) return;
    const bool wasAgent = found->second.session.has_value();
    peers_.erase(found);
    if (wasAgent) broadcast(ControlEvent::connectionsChanged());
}

void HostServer::notifySubscribers(const std::string& accountId) {
    const std::string uri = AgentService::historyUri(accountId);
    std::string line;
    for (auto& [key, peer] : peers_) {
        auto& session = peer.session;
        if (!session || session->accountId != accountId || !session->subscriptions.contains(uri)) continue;
        if (line.empty()) line = AgentService::resourceUpdatedLine(uri);
        log(*session, Direction::notification, "notifications/resources/updated", line);
        peer.link->send("deliverAgentNotification", line);
    }
}

void HostServer::unbind(const std::function<bool(const AgentSession&)>& which) {
    bool changed = false;
    for (auto& [key, peer] : peers_) {
        auto& session = peer.session;
        if (!session || !session->accountId || !which(*session)) continue;
        session->accountId.reset();
        session->authenticated = false;
        session->subscriptions.clear();
        changed = true;
    }
    if (changed) broadcast(ControlEvent::connectionsChanged());
}

void HostServer::log(const AgentSession& session, Direction direction, std::optional<std::string> method,
                     std::string_view payload) {
    std::optional<std::string> label;
    if (session.clientInfo) label = session.clientInfo->displayLabel();
    const ApiLogEntry& entry = log_.record({.connectionId = session.id,
                                            .accountId = session.accountId,
                                            .clientLabel = std::move(label),
                                            .direction = direction,
                                            .method = std::move(method),
                                            .payload = payload},
                                           now());
    broadcast(ControlEvent::apiCall(entry));
}

void HostServer::broadcast(const ControlEvent& event) {
    stateChanged();  // every change the desk hears of changes the snapshot
    auto text = TallywickCoding::encodeToString(event);
    if (!text) return;
    for (auto& [key, peer] : peers_)
        if (peer.control) peer.link->send("controlEvent", *text);
}

void HostServer::ledgersChanged(const std::vector<std::string>& accountIds) {
    for (const auto& id : accountIds) reloadLedger(id);
}

void HostServer::reloadLedger(const std::string& accountId) {
    stateChanged();
    // The change is committed; only the copy we serve from is behind, and says so.
    if (auto loaded = entries_.reloadAccount(accountId); !loaded)
        HostLog::error("the ledger of " + accountId + " could not be read again: " + loaded.error().reason);
}

std::vector<EntryCache::Text> HostServer::snapshotParts() {
    if (!snapshot_.empty()) return snapshot_;
    const auto failed = [](const std::string& reason) {
        return std::vector{std::make_shared<const std::string>(
            *TallywickCoding::encodeToString(ControlResponse::failure(reason)))};
    };
    auto accounts = store_->accounts(LedgerStore::Balances::omitted);
    auto settings = store_->settings();
    if (!accounts) return failed(accounts.error().reason);
    if (!settings) return failed(settings.error().reason);
    Snapshot state{
        .accounts = std::move(accounts).value(),
        .entries = {},      // sent as the cache's encoded parts
        .connections = {},  // filled below
        .settings = *settings,
        .recentApiLog = log_.recent(kSnapshotApiLogSize),
        .hostVersion = std::string(TallywickVersion::displayString),
    };
    std::set<std::string> bound;
    for (const auto& [key, peer] : peers_) {
        if (!peer.session) continue;
        state.connections.push_back(peer.session->live());
        if (peer.session->accountId) bound.insert(*peer.session->accountId);
    }
    for (auto& account : state.accounts) {
        account.balance = entries_.balance(account.id);
        account.isConnected = bound.contains(account.id);
    }
    auto envelope = TallywickCoding::encodeSnapshotEnvelope(state);
    if (!envelope) return failed("The state could not be encoded");
    // Said in words, so the desk can tell it from a host that went away.
    if (envelope->head.size() + entries_.bytes() + entries_.size() + envelope->tail.size() > kMaxReplyPayload)
        return failed("Snapshot too large");
    std::vector<EntryCache::Text> parts{std::make_shared<const std::string>(std::move(envelope->head))};
    for (auto& part : entries_.parts()) parts.push_back(std::move(part));
    parts.push_back(std::make_shared<const std::string>(std::move(envelope->tail)));
    snapshot_ = parts;
    return parts;
}

void HostServer::stateChanged() {
    snapshot_.clear();
}

}  // namespace tallywick
