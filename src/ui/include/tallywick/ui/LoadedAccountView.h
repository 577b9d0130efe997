// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include <tallywick/model/Account.h>
#include <tallywick/model/LedgerEntry.h>

namespace tallywick {

class AccountHeaderView;
class AddEntryView;
class AppModel;
class ClientInfoView;
class LedgerListView;

// The detail of one account, top to bottom: header, client information,
// the add form and the ledger. One instance serves every account, so the
// add form keeps what is typed when another account is picked.
class LoadedAccountView : public QWidget {
    Q_OBJECT

public:
    explicit LoadedAccountView(AppModel& model, QWidget* parent = nullptr);

    void setAccount(const Account& account);
    // The ledger shows `entries` without a copy, while `stillValid` says they live.
    void setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid = {});

    AccountHeaderView* header() const { return header_; }
    ClientInfoView* clientInfo() const { return clientInfo_; }
    AddEntryView* addEntry() const { return addEntry_; }
    LedgerListView* ledger() const { return ledger_; }

private:
    AccountHeaderView* header_;
    ClientInfoView* clientInfo_;
    AddEntryView* addEntry_;
    LedgerListView* ledger_;
};

}  // namespace tallywick
