// SPDX-License-Identifier: MIT
#include <tallywick/ui/AccountsSidebarModel.h>

#include <tallywick/app/DataText.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/KeyedRowUpdate.h>

namespace tallywick {
namespace {

// Section rows carry 0; rows inside a section carry the section's number plus one.
constexpr quintptr kSectionRow = 0;

}  // namespace

AccountsSidebarModel::AccountsSidebarModel(QObject* parent) : QAbstractItemModel(parent) {}

namespace {

// One section's rows follow `next` by identifier; changed rows are reported.
template <class Record>
void follow(std::vector<Record>& rows, const std::vector<Record>& next, const RowChangeSignals& signal,
            const std::function<void(int, int)>& changed) {
    const auto key = [](const Record& record) -> const std::string& { return record.id; };
    reshapeRowsByKey(
        rows, next, key, key, [](const Record& record) { return record; }, signal);
    takeChangedRows(rows, next, changed);
}

}  // namespace

RowChangeSignals AccountsSidebarModel::signalsFor(const QModelIndex& section) {
    return {
        .beginRemove = [this, section](int first, int last) { beginRemoveRows(section, first, last); },
        .endRemove = [this] { endRemoveRows(); },
        .beginInsert = [this, section](int first, int last) { beginInsertRows(section, first, last); },
        .endInsert = [this] { endInsertRows(); },
        .beginMove = [this, section](int from, int to) { beginMoveRows(section, from, from, section, to); },
        .endMove = [this] { endMoveRows(); },
    };
}

void AccountsSidebarModel::setAccounts(const std::vector<Account>& accounts) {
    allAccounts_ = accounts;
    showAccounts();
}

void AccountsSidebarModel::setFilter(const QString& text) {
    if (text.trimmed() == filter_) return;
    filter_ = text.trimmed();
    showAccounts();
}

void AccountsSidebarModel::showAccounts() {
    std::vector<Account> shown;
    if (filter_.isEmpty()) {
        shown = allAccounts_;
    } else {
        for (const Account& account : allAccounts_) {
            if (QString::fromStdString(account.displayName).contains(filter_, Qt::CaseInsensitive) ||
                QString::fromStdString(account.id).contains(filter_, Qt::CaseInsensitive))
                shown.push_back(account);
        }
    }
    const QModelIndex section = sectionIndex(accountsSection);
    follow(accounts_, shown, signalsFor(section), [this, section](int first, int last) {
        emit dataChanged(index(first, 0, section), index(last, 0, section));
    });
}

void AccountsSidebarModel::setConnections(const std::vector<LiveConnection>& connections) {
    const QModelIndex section = sectionIndex(connectionsSection);
    const std::size_t before = connections_.size();
    follow(connections_, connections, signalsFor(section), [this, section](int first, int last) {
        emit dataChanged(index(first, 0, section), index(last, 0, section));
    });
    // The section's title carries the count.
    if (before != connections_.size()) emit dataChanged(section, section);
}

QModelIndex AccountsSidebarModel::indexOfAccount(const std::string& id) const {
    for (std::size_t i = 0; i < accounts_.size(); ++i) {
        if (accounts_[i].id == id) return index(static_cast<int>(i), 0, sectionIndex(accountsSection));
    }
    return {};
}

AccountsSidebarModel::RowKind AccountsSidebarModel::kindOf(const QModelIndex& index) const {
    if (!index.isValid() || index.internalId() == kSectionRow) return RowKind::section;
    return index.internalId() == accountsSection + 1 ? RowKind::account : RowKind::connection;
}

const Account* AccountsSidebarModel::accountAt(const QModelIndex& index) const {
    if (!index.isValid() || kindOf(index) != RowKind::account) return nullptr;
    const auto row = static_cast<std::size_t>(index.row());
    return row < accounts_.size() ? &accounts_[row] : nullptr;
}

const LiveConnection* AccountsSidebarModel::connectionAt(const QModelIndex& index) const {
    if (!index.isValid() || kindOf(index) != RowKind::connection) return nullptr;
    const auto row = static_cast<std::size_t>(index.row());
    return row < connections_.size() ? &connections_[row] : nullptr;
}

QModelIndex AccountsSidebarModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    if (!parent.isValid()) return createIndex(row, column, kSectionRow);
    return createIndex(row, column, static_cast<quintptr>(parent.row()) + 1);
}

QModelIndex AccountsSidebarModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == kSectionRow) return {};
    return createIndex(static_cast<int>(child.internalId() - 1), 0, kSectionRow);
}

int AccountsSidebarModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return 2;
    if (parent.column() != 0 || parent.internalId() != kSectionRow) return 0;
    return static_cast<int>(parent.row() == accountsSection ? accounts_.size() : connections_.size());
}

int AccountsSidebarModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant AccountsSidebarModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.model() != this) return {};
    switch (kindOf(index)) {
        case RowKind::section: return sectionData(index.row(), role);
        case RowKind::account: {
            const Account* account = accountAt(index);
            return account ? accountData(*account, role) : QVariant();
        }
        case RowKind::connection: {
            const LiveConnection* connection = connectionAt(index);
            return connection ? connectionData(*connection, role) : QVariant();
        }
    }
    return {};
}

Qt::ItemFlags AccountsSidebarModel::flags(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this) return Qt::NoItemFlags;
    // Connection rows carry no tag, so they cannot be picked.
    if (kindOf(index) == RowKind::account)
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
    if (kindOf(index) == RowKind::connection) return Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return Qt::ItemIsEnabled;
}

QVariant AccountsSidebarModel::sectionData(int section, int role) const {
    switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            if (section == accountsSection) return tr("Accounts");
            return tr("Live Connections (%1)").arg(static_cast<qulonglong>(connections_.size()));
        case KindRole: return static_cast<int>(RowKind::section);
        default: return {};
    }
}

QVariant AccountsSidebarModel::accountData(const Account& account, int role) const {
    switch (role) {
        case Qt::DisplayRole: return DataText::isolated(account.displayName);
        case NameRole: return QString::fromStdString(account.displayName);
        case Qt::AccessibleTextRole:
            return QStringList{QString::fromStdString(account.displayName),
                               accountData(account, SubtitleRole).toString(),
                               account.isConnected ? tr("connected") : tr("not connected"),
                               AppStyle::plainAmountText(account.balance)}
                .join(QStringLiteral(", "));
        case KindRole: return static_cast<int>(RowKind::account);
        case IdRole: return QString::fromStdString(account.id);
        case SubtitleRole:
            return account.identityMode == IdentityMode::clientInfo ? tr("clientInfo") : tr("credential");
        case BalanceRole: return static_cast<qlonglong>(account.balance);
        case ConnectedRole: return account.isConnected;
        default: return {};
    }
}

QVariant AccountsSidebarModel::connectionData(const LiveConnection& connection, int role) const {
    switch (role) {
        case Qt::DisplayRole:
            return connection.clientInfo ? DataText::isolated(connection.clientInfo->displayLabel())
                                         : tr("connecting…");
        case NameRole:
            return connection.clientInfo ? QString::fromStdString(connection.clientInfo->displayLabel())
                                         : tr("connecting…");
        case Qt::AccessibleTextRole:
            return connectionData(connection, NameRole).toString() + QStringLiteral(", ") +
                   connectionData(connection, SubtitleRole).toString();
        case KindRole: return static_cast<int>(RowKind::connection);
        case IdRole: return QString::fromStdString(connection.id);
        case SubtitleRole: return connection.authenticated ? tr("authenticated") : tr("unauthenticated");
        case ConnectedRole: return connection.authenticated;
        default: return {};
    }
}

}  // namespace tallywick
