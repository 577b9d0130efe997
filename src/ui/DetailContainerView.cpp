// SPDX-License-Identifier: MIT
#include <tallywick/ui/DetailContainerView.h>

#include <QVBoxLayout>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/AccountDetailView.h>

namespace tallywick {

DetailContainerView::DetailContainerView(AppModel& model, QWidget* parent)
    : QWidget(parent), model_(model), detail_(new AccountDetailView(model, this)) {
    setObjectName(QStringLiteral("detailContainer"));
    setMinimumWidth(minimumWidth);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(detail_);

    showAccount();
    connect(&model_, &AppModel::selectedAccountIDChanged, this, &DetailContainerView::showAccount);
    connect(&model_, &AppModel::accountsChanged, this, &DetailContainerView::showAccount);
    connect(&model_, &AppModel::entriesChanged, this, &DetailContainerView::showEntries);
}

void DetailContainerView::showAccount() {
    const std::optional<Account> account = model_.selectedAccount();
    detail_->setAccount(account);
    // A ledger is only read again when it belongs to another account, or when entries change.
    const std::optional<std::string> id = account ? std::optional(account->id) : std::nullopt;
    if (id != ledgerOf_) showEntries();
}

void DetailContainerView::showEntries() {
    const std::optional<Account> account = model_.selectedAccount();
    ledgerOf_ = account ? std::optional(account->id) : std::nullopt;
    static const std::vector<LedgerEntry> none;
    if (!account) {
        detail_->setEntries(none);
        return;
    }
    // The model's list for the account is shared, not copied. It lives until
    // the model's entries are next replaced, which the revision tells at
    // once, before the model has announced it.
    detail_->setEntries(model_.entriesFor(account->id),
                        [model = &model_, revision = model_.entriesRevision()] {
                            return model->entriesRevision() == revision;
                        });
}

}  // namespace tallywick
