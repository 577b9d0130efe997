// SPDX-License-Identifier: MIT
#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <asio.hpp>

#include <tallywick/link/FileLock.h>
#include <tallywick/link/LinkConnection.h>
#include <tallywick/link/LinkListener.h>

#include <tallywick/host/AgentService.h>
#include <tallywick/host/ApiLog.h>
#include <tallywick/host/ControlService.h>
#include <tallywick/host/EntryCache.h>
#include <tallywick/host/KeyHasher.h>
#include <tallywick/host/LedgerStore.h>
#include <tallywick/host/LoginThrottle.h>
#include <tallywick/host/RuntimeFolderKeeper.h>

namespace tallywick {

// The running host: the single-instance lock, the store, the listener and
// every connection. Sockets are served on a small pool of I/O threads; all
// host state (store, sessions, log) lives on one strand, the host's serial
// queue, so requests are carried out one at a time in arrival order.
class HostServer {
public:
    struct Config {
        std::string databasePath;
        std::string runtimeDirectory;
        std::string callerRequirement;  // what every peer must satisfy
        int ioThreads = 2;
    };
    struct StartFailure {
        bool alreadyRunning = false;  // another host holds the lock
        std::string message;
        std::string servedFrom{};  // the runtime folder of the host that holds the ledger
    };

    // Raises the open-file limit to the hard limit, takes the locks, opens
    // the store and listens.
    static Result<std::unique_ptr<HostServer>, StartFailure> start(const Config& config);

    // Connections served at once, at most (fewer when descriptors are scarce).
    static constexpr std::size_t kMaxConnections = 1024;

    // Finishes the request in hand, lets answers already given reach their
    // peers, then closes every connection and releases the lock.
    ~HostServer();

    const std::string& endpoint() const { return endpoint_; }

    // Whether the ledger could not be loaded after start; the host then
    // signals itself to stop, and exits with a failure.
    bool failed() const { return failed_; }

private:
    struct Peer {
        std::shared_ptr<LinkConnection> link;
        bool control = false;                 // has sent control requests: gets events
        std::optional<AgentSession> session;  // has sent agent lines
        bool keyWorkPending = false;          // a line waits for its key to be hashed or checked
        std::deque<std::pair<std::uint64_t, std::string>> waitingLines;  // arrived behind it
    };

    struct Locks {
        RuntimeFolderKeeper folder;  // one host per runtime folder
        FileLock database;           // one host per database file
    };

    HostServer(Locks locks, std::unique_ptr<LedgerStore> store, std::string endpoint);
    Result<void, std::string> listen();
    void run(int threads);

    // All below run on the host's strand.
    void adopt(const std::shared_ptr<LinkConnection>& link);
    void handleCall(std::uint64_t peerKey, std::uint64_t callId, const std::string& method,
                    std::string payload);
    void handleControl(Peer& peer, std::uint64_t callId, const std::string& payload);
    void handleAgent(std::uint64_t peerKey, Peer& peer, std::uint64_t callId, const std::string& payload);
    void answerAgent(Peer& peer, std::uint64_t callId, AgentService::Effects effects,
                     bool connectionsChanged);
    void startKeyWork(std::uint64_t peerKey, Peer& peer, std::uint64_t callId,
                      const std::shared_ptr<AgentService::Effects::KeyWork>& work);
    void finishKeyWork(std::uint64_t peerKey, std::uint64_t callId,
                       const AgentService::Effects::KeyWork& work, const KeyOutcome& outcome);
    void drop(std::uint64_t peerKey);
    void notifySubscribers(const std::string& accountId);
    // Ends the binding and subscriptions of every agent the test picks.
    void unbind(const std::function<bool(const AgentSession&)>& which);
    void log(const AgentSession& session, Direction direction, std::optional<std::string> method,
             std::string_view payload);
    void broadcast(const ControlEvent& event);
    // The snapshot answer as parts to send: kept until the state changes.
    std::vector<EntryCache::Text> snapshotParts();
    void stateChanged();
    void ledgersChanged(const std::vector<std::string>& accountIds);
    void reloadLedger(const std::string& accountId);
    void shutdown();
    void backUpWhenDue();
    void keepFolder();
    void loadLedger();

    Locks locks_;  // first, so released last
    std::string endpoint_;
    std::unique_ptr<LedgerStore> store_;
    EntryCache entries_;
    KeyHasher hasher_;
    LoginThrottle throttle_;
    ApiLog log_;
    ControlService control_;
    AgentService agents_;
    std::size_t maxConnections_ = kMaxConnections;
    std::uint64_t nextPeerKey_ = 1;
    std::uint64_t nextConnection_ = 1;
    bool stopping_ = false;
    std::atomic<bool> failed_{false};

    asio::io_context context_;
    asio::strand<asio::io_context::executor_type> strand_;
    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> work_;
    std::shared_ptr<LinkListener> listener_;
    std::map<std::uint64_t, Peer> peers_;     // in connection order
    std::vector<EntryCache::Text> snapshot_;  // empty when stale
    std::vector<std::thread> threads_;
    std::string databasePath_;
    asio::steady_timer backupTimer_{strand_};
    bool backingUp_ = false;
    bool toldOfFutureCopy_ = false;
    std::optional<Date> lastBackupWarning_;  // when a failed backup was last logged
    std::string callerRequirement_;          // what every peer must satisfy
    asio::steady_timer folderTimer_{strand_};
    asio::thread_pool keyWorkers_{2};  // Argon2id, off the serial path

    // Connections not yet ended, so shutdown can wait for answers to drain.
    std::mutex openMutex_;
    std::condition_variable openChanged_;
    int openLinks_ = 0;
};

}  // namespace tallywick
