// SPDX-License-Identifier: MIT
#include <tallywick/app/AppModel.h>

#include <QPointer>
#include <algorithm>

#include <tallywick/app/QtMainThreadPoster.h>
#include <tallywick/link/LogLine.h>
#include <tallywick/link/XPCControlClient.h>

namespace tallywick {
namespace {

// Replaces the value and says whether it differed.
template <class T>
bool replace(T& field, T value) {
    if (field == value) return false;
    field = std::move(value);
    return true;
}

}  // namespace

AppModel::AppModel(IoThread& io, Options options, QObject* parent)
    : QObject(parent),
      socketPath_(options.endpoint.path),
      client_(
          XPCControlClient::create(std::make_shared<QtMainThreadPoster>(), io, std::move(options.endpoint))),
      registerLoginItem_(std::move(options.registerLoginItem)) {}

AppModel::AppModel(IoThread& io, QObject* parent) : AppModel(io, Options{}, parent) {}

// The client may outlive the model by the calls still in flight; their
// completions find the model gone and do nothing.
AppModel::~AppModel() = default;

void AppModel::setSelectedAccountID(std::optional<std::string> id) {
    if (replace(selectedAccountID_, std::move(id))) emit selectedAccountIDChanged();
}

std::optional<Account> AppModel::selectedAccount() const {
    if (!selectedAccountID_) return std::nullopt;
    const auto found = std::find_if(accounts_.begin(), accounts_.end(), [&](const Account& account) {
        return account.id == *selectedAccountID_;
    });
    if (found == accounts_.end()) return std::nullopt;
    return *found;
}

const std::vector<LedgerEntry>& AppModel::entriesFor(const std::string& accountId) const {
    static const std::vector<LedgerEntry> none;
    if (const auto cached = entriesByAccount_.find(accountId); cached != entriesByAccount_.end()) {
        return cached->second;
    }
    if (!entryPositions_) {
        entryPositions_.emplace();
        for (std::size_t i = 0; i < entries_.size(); ++i)
            (*entryPositions_)[entries_[i].accountId].push_back(i);
    }
    const auto positions = entryPositions_->find(accountId);
    if (positions == entryPositions_->end()) return none;
    std::vector<LedgerEntry> list;
    list.reserve(positions->second.size());
    for (const std::size_t i : positions->second) list.push_back(entries_[i]);
    return entriesByAccount_.emplace(accountId, std::move(list)).first->second;
}

void AppModel::start() {
    if (started_) return;
    started_ = true;
    if (registerLoginItem_) registerLoginItem_();
    QPointer<AppModel> weak(this);
    client_->onEvent = [weak](ControlEvent event) {
        if (weak) weak->apply(std::move(event));
    };
    client_->onConnectionChange = [weak](bool connected) {
        if (weak) weak->setConnected(connected);
    };
    // A host that (re)starts is met without waiting for the user's next
    // command; its socket appears only once it accepts.
    hostWatcher_ = new HostSocketWatcher(socketPath_, this);
    connect(hostWatcher_, &HostSocketWatcher::socketAppeared, this, &AppModel::refresh);
    refresh();
}

void AppModel::refresh() {
    ++snapshotsRequested_;
    ++snapshotsAwaited_;
    send(ControlRequest::snapshot(), [](AppModel& model, std::optional<ControlResponse> response) {
        --model.snapshotsAwaited_;
        if (!response) {
            if (model.changeUnfetched_ && model.snapshotsAwaited_ == 0) {
                model.changeUnfetched_ = false;
                model.refresh();
            }
            return;
        }
        model.changeUnfetched_ = false;
        if (auto* answer = std::get_if<ControlResponse::Snapshot>(&response->value)) {
            model.applySnapshot(std::move(answer->snapshot));
        } else if (auto* failure = std::get_if<ControlResponse::Failure>(&response->value)) {
            // The window keeps what it shows; the reason ("Snapshot too large") goes to the log.
            LogLine::write("tallywick: ", LogLine::Priority::warning,
                           "the host did not send its state: " + failure->reason);
        }
    });
}

void AppModel::createEntry(NewLedgerEntry entry) {
    command(ControlRequest::createEntry(std::move(entry)));
}

struct AppModel::ImportJob {
    std::vector<NewLedgerEntry> entries;
    std::function<bool(const ImportProgress&)> report;
    std::size_t created = 0;
};

void AppModel::importEntries(std::vector<NewLedgerEntry> entries,
                             std::function<bool(const ImportProgress&)> report) {
    auto job =
        std::make_shared<ImportJob>(ImportJob{.entries = std::move(entries), .report = std::move(report)});
    importNext(job);
}

void AppModel::importNext(const std::shared_ptr<ImportJob>& job) {
    const std::size_t total = job->entries.size();
    if (job->created == total) {
        refresh();
        job->report({.created = total, .total = total, .finished = true, .failure = std::nullopt});
        return;
    }
    send(ControlRequest::createEntry(job->entries[job->created]),
         [job](AppModel& model, const std::optional<ControlResponse>& response) {
             std::optional<std::string> failure;
             if (!response) {
                 failure = tr("the host did not answer").toStdString();
             } else if (const auto* refused = std::get_if<ControlResponse::Failure>(&response->value)) {
                 failure = refused->reason;
             }
             const std::size_t total = job->entries.size();
             if (failure) {
                 model.refresh();
                 job->report({.created = job->created, .total = total, .finished = true, .failure = failure});
                 return;
             }
             ++job->created;
             if (job->created < total &&
                 !job->report(
                     {.created = job->created, .total = total, .finished = false, .failure = std::nullopt})) {
                 model.refresh();
                 return;
             }
             model.importNext(job);
         });
}

void AppModel::updateEntry(LedgerEntry entry) {
    command(ControlRequest::updateEntry(std::move(entry)));
}

void AppModel::deleteEntry(std::string id) {
    command(ControlRequest::deleteEntry(std::move(id)));
}

void AppModel::renameAccount(std::string id, std::string displayName) {
    command(ControlRequest::renameAccount(std::move(id), std::move(displayName)));
}

void AppModel::deleteAccount(const std::string& id) {
    send(ControlRequest::deleteAccount(id), [id](AppModel& model, const std::optional<ControlResponse>&) {
        // Whatever the answer; the refresh then selects the first account left.
        if (model.selectedAccountID_ == id) model.setSelectedAccountID(std::nullopt);
        model.refresh();
    });
}

void AppModel::setAllowUnauthenticated(bool allow) {
    command(ControlRequest::setAllowUnauthenticated(allow));
}

void AppModel::setStartingPoints(std::int64_t points) {
    command(ControlRequest::setStartingPoints(std::max<std::int64_t>(points, 0)));
}

void AppModel::applySnapshot(Snapshot snapshot) {
    // Every field is in place before anyone is told, so a view reacting to
    // one change reads a consistent model.
    const bool accountsDiffer = replace(accounts_, std::move(snapshot.accounts));
    const bool entriesDiffer = replace(entries_, std::move(snapshot.entries));
    if (entriesDiffer) {
        ++entriesRevision_;
        entryPositions_.reset();
        entriesByAccount_.clear();
    }
    const bool connectionsDiffer = replace(connections_, std::move(snapshot.connections));
    const bool settingsDiffer = replace(settings_, snapshot.settings);
    // Newest first; records of the same second keep the host's order.
    std::stable_sort(snapshot.recentApiLog.begin(), snapshot.recentApiLog.end(),
                     [](const ApiLogEntry& a, const ApiLogEntry& b) { return a.timestamp > b.timestamp; });
    const bool apiLogDiffers = replace(apiLog_, std::move(snapshot.recentApiLog));
    const bool hostVersionDiffers = replace(hostVersion_, std::move(snapshot.hostVersion));
    const bool connectedDiffers = replace(isConnected_, true);
    // A selection that is set stays, even when its account has gone.
    bool selectionDiffers = false;
    if (!selectedAccountID_ && !accounts_.empty()) {
        selectedAccountID_ = accounts_.front().id;
        selectionDiffers = true;
    }

    if (accountsDiffer) emit accountsChanged();
    if (entriesDiffer) emit entriesChanged();
    if (connectionsDiffer) emit connectionsChanged();
    if (settingsDiffer) emit settingsChanged();
    if (apiLogDiffers) emit apiLogChanged();
    if (hostVersionDiffers) emit hostVersionChanged();
    if (connectedDiffers) emit isConnectedChanged();
    if (selectionDiffers) emit selectedAccountIDChanged();
    emit snapshotApplied();
}

void AppModel::apply(ControlEvent event) {
    if (auto* call = std::get_if<ControlEvent::ApiCall>(&event.value)) {
        apiLog_.insert(apiLog_.begin(), std::move(call->entry));
        if (apiLog_.size() > apiLogCapacity) apiLog_.resize(apiLogCapacity);
        emit apiLogChanged();
        return;
    }
    // Neither change event carries data: the snapshot brings it. A snapshot
    // still on its way is answered after this event on the same ordered
    // connection, so the host made it after the change: it brings it too
    // (after a command, the event would otherwise fetch the state twice).
    if (snapshotsAwaited_ > 0) {
        changeUnfetched_ = true;
        return;
    }
    refresh();
}

void AppModel::send(const ControlRequest& request,
                    std::function<void(AppModel&, std::optional<ControlResponse>)> then) {
    QPointer<AppModel> weak(this);
    client_->send(request, [weak, then = std::move(then)](std::optional<ControlResponse> response) {
        if (weak) then(*weak, std::move(response));
    });
}

void AppModel::command(const ControlRequest& request) {
    send(request, [](AppModel& model, const std::optional<ControlResponse>&) { model.refresh(); });
}

void AppModel::setConnected(bool connected) {
    if (replace(isConnected_, connected)) emit isConnectedChanged();
}

}  // namespace tallywick
