// SPDX-License-Identifier: MIT
#include <tallywick/ui/LoadedAccountView.h>

#include <QVBoxLayout>

#include <tallywick/ui/AccountHeaderView.h>
#include <tallywick/ui/AddEntryView.h>
#include <tallywick/ui/ClientInfoView.h>
#include <tallywick/ui/LedgerListView.h>

namespace tallywick {

LoadedAccountView::LoadedAccountView(AppModel& model, QWidget* parent)
    : QWidget(parent),
      header_(new AccountHeaderView(model, this)),
      clientInfo_(new ClientInfoView(this)),
      addEntry_(new AddEntryView(model, this)),
      ledger_(new LedgerListView(model, this)) {
    setObjectName(QStringLiteral("loadedAccountView"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(16);
    column->addWidget(header_);
    column->addWidget(clientInfo_);
    column->addWidget(addEntry_);
    column->addWidget(ledger_, 1);
}

void LoadedAccountView::setAccount(const Account& account) {
    header_->setAccount(account);
    clientInfo_->setFields(account.clientInfoFields);
    addEntry_->setAccountID(account.id);
}

void LoadedAccountView::setEntries(const std::vector<LedgerEntry>& entries,
                                   std::function<bool()> stillValid) {
    ledger_->setEntries(entries, std::move(stillValid));
}

}  // namespace tallywick
