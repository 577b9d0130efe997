// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractItemModel>
#include <optional>
#include <string>
#include <vector>

#include <tallywick/model/Account.h>
#include <tallywick/protocol/LiveConnection.h>

namespace tallywick {

struct RowChangeSignals;

// The sidebar's two sections as a tree: "Accounts" with one row per account,
// then "Live Connections (n)" with one row per open agent connection. Only
// account rows can be selected. Rows are kept by identifier across updates.
class AccountsSidebarModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum class RowKind { section, account, connection };
    enum Role {
        KindRole = Qt::UserRole + 1,  // RowKind as int
        IdRole,                       // the account's or connection's identifier
        SubtitleRole,                 // the second line
        BalanceRole,                  // accounts: qlonglong
        ConnectedRole,                // accounts: isConnected; connections: authenticated
        NameRole,                     // the first line as it is; the display role shows it isolated
    };
    static constexpr int accountsSection = 0;
    static constexpr int connectionsSection = 1;

    explicit AccountsSidebarModel(QObject* parent = nullptr);

    void setAccounts(const std::vector<Account>& accounts);
    // Shows only the accounts whose name or identifier holds `text`, in any
    // case; an empty text shows them all.
    void setFilter(const QString& text);
    void setConnections(const std::vector<LiveConnection>& connections);
    const std::vector<Account>& accounts() const { return accounts_; }  // as shown
    const std::vector<LiveConnection>& connections() const { return connections_; }

    QModelIndex sectionIndex(int section) const { return index(section, 0); }
    // The first row of the account with this identifier; invalid when there is none.
    QModelIndex indexOfAccount(const std::string& id) const;
    RowKind kindOf(const QModelIndex& index) const;
    const Account* accountAt(const QModelIndex& index) const;
    const LiveConnection* connectionAt(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    RowChangeSignals signalsFor(const QModelIndex& section);
    QVariant sectionData(int section, int role) const;
    QVariant accountData(const Account& account, int role) const;
    QVariant connectionData(const LiveConnection& connection, int role) const;

    void showAccounts();

    std::vector<Account> allAccounts_;
    QString filter_;
    std::vector<Account> accounts_;
    std::vector<LiveConnection> connections_;
};

}  // namespace tallywick
