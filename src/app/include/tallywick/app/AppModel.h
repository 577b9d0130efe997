// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <tallywick/app/HostSocketWatcher.h>
#include <tallywick/app/RegistrationController.h>
#include <tallywick/core.h>
#include <tallywick/link/ControlEndpoint.h>

namespace tallywick {

// The connection's machinery stays out of this header, and so out of the views.
class IoThread;
class XPCControlClient;

// The one store the views read: the host's state as of the last snapshot,
// the user's account selection, and one operation per user command. Every
// command is one request to the host followed by a fresh snapshot; nothing is
// changed here ahead of the host. Main thread only; each field announces its
// own changes, and only real ones.
class AppModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(std::vector<tallywick::Account> accounts READ accounts NOTIFY accountsChanged)
    Q_PROPERTY(std::vector<tallywick::LedgerEntry> entries READ entries NOTIFY entriesChanged)
    Q_PROPERTY(std::vector<tallywick::LiveConnection> connections READ connections NOTIFY connectionsChanged)
    Q_PROPERTY(tallywick::Settings settings READ settings NOTIFY settingsChanged)
    Q_PROPERTY(std::vector<tallywick::ApiLogEntry> apiLog READ apiLog NOTIFY apiLogChanged)
    Q_PROPERTY(std::string hostVersion READ hostVersion NOTIFY hostVersionChanged)
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    Q_PROPERTY(std::optional<std::string> selectedAccountID READ selectedAccountID WRITE setSelectedAccountID
                   NOTIFY selectedAccountIDChanged)

public:
    static constexpr std::size_t apiLogCapacity = kSnapshotApiLogSize;

    struct Options {
        ControlEndpoint endpoint = ControlEndpoint::standard();
        // Run once by start.
        std::function<void()> registerLoginItem = [] { RegistrationController::registerQuietly(); };
    };

    // The client is made here, unconnected; `io` must outlive the model.
    AppModel(IoThread& io, Options options, QObject* parent = nullptr);
    explicit AppModel(IoThread& io, QObject* parent = nullptr);
    ~AppModel() override;

    const std::vector<Account>& accounts() const { return accounts_; }
    const std::vector<LedgerEntry>& entries() const { return entries_; }
    const std::vector<LiveConnection>& connections() const { return connections_; }
    const Settings& settings() const { return settings_; }
    const std::vector<ApiLogEntry>& apiLog() const { return apiLog_; }
    const std::string& hostVersion() const { return hostVersion_; }
    bool isConnected() const { return isConnected_; }
    const std::optional<std::string>& selectedAccountID() const { return selectedAccountID_; }
    void setSelectedAccountID(std::optional<std::string> id);

    // The first account with the selected identifier, if any.
    std::optional<Account> selectedAccount() const;
    // The account's entries in the order of `entries`; empty for an unknown account.
    // Made once per snapshot; the list is valid until `entries` next changes.
    const std::vector<LedgerEntry>& entriesFor(const std::string& accountId) const;
    // Counts replacements of `entries`: a list from `entriesFor` is valid
    // while this stays what it was when the list was taken.
    std::uint64_t entriesRevision() const { return entriesRevision_; }

    // Registers the login item, listens to the host and asks for the first
    // snapshot; only the first call does anything. From then on, a host that
    // starts listening is asked for a snapshot at once.
    void start();
    void refresh();
    // Snapshots asked for so far, and whether one is still on its way: each
    // costs the host a transfer and us a decode of the whole state.
    std::uint64_t snapshotsRequested() const { return snapshotsRequested_; }
    bool awaitingSnapshot() const { return snapshotsAwaited_ > 0; }
    void createEntry(NewLedgerEntry entry);
    // Where an import of many entries stands.
    struct ImportProgress {
        std::size_t created;
        std::size_t total;
        bool finished;
        // Why it stopped early: the host's refusal, or that it did not answer.
        std::optional<std::string> failure;
    };
    // Creates the entries one after another, in their order, each only once
    // the host took the one before; stops at the first that is not taken.
    // `report` hears after each answer and may stop the rest by returning
    // false. One refresh follows the whole, not one per entry.
    void importEntries(std::vector<NewLedgerEntry> entries,
                       std::function<bool(const ImportProgress&)> report);
    void updateEntry(LedgerEntry entry);
    void deleteEntry(std::string id);
    void renameAccount(std::string id, std::string displayName);
    void deleteAccount(const std::string& id);
    void setAllowUnauthenticated(bool allow);
    void setStartingPoints(std::int64_t points);

    // What the host's answers and events do to the model.
    void applySnapshot(Snapshot snapshot);
    void apply(ControlEvent event);

signals:
    void accountsChanged();
    void entriesChanged();
    void connectionsChanged();
    void settingsChanged();
    void apiLogChanged();
    void hostVersionChanged();
    void isConnectedChanged();
    void selectedAccountIDChanged();
    // After every snapshot, changed or not, once its fields have announced
    // their changes: for whoever must tell a connection's first snapshot
    // from the ones after it.
    void snapshotApplied();

private:
    void send(const ControlRequest& request,
              std::function<void(AppModel&, std::optional<ControlResponse>)> then);
    void command(const ControlRequest& request);
    struct ImportJob;
    void importNext(const std::shared_ptr<ImportJob>& job);
    void setConnected(bool connected);

    std::vector<Account> accounts_;
    std::vector<LedgerEntry> entries_;
    std::vector<LiveConnection> connections_;
    Settings settings_{.allowUnauthenticated = true,
                       .startingPoints = 50000};  // shown until the first snapshot
    std::vector<ApiLogEntry> apiLog_;
    std::string hostVersion_;
    bool isConnected_ = false;
    std::uint64_t entriesRevision_ = 0;
    std::optional<std::string> selectedAccountID_;

    std::string socketPath_;
    std::shared_ptr<XPCControlClient> client_;
    std::function<void()> registerLoginItem_;
    HostSocketWatcher* hostWatcher_ = nullptr;  // made by start
    bool started_ = false;
    std::uint64_t snapshotsRequested_ = 0;
    int snapshotsAwaited_ = 0;
    // A change event was left to a snapshot already on its way; should that
    // one fail, the change is still to be fetched.
    bool changeUnfetched_ = false;

    // Per snapshot: where each account's entries are, found in one pass on
    // first use, and the lists asked for so far.
    mutable std::optional<std::unordered_map<std::string, std::vector<std::size_t>>> entryPositions_;
    mutable std::unordered_map<std::string, std::vector<LedgerEntry>> entriesByAccount_;
};

}  // namespace tallywick
