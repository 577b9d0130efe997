#include <tallywick/AccountDetailView.h>

#include <tallywick/LoadedAccountView.h>
#include <tallywick/NoSelectionView.h>

namespace tallywick {

AccountDetailView::AccountDetailView(AppModel& model, QWidget* parent)
    : QStackedWidget(parent),
      noSelection_(new NoSelectionView(this)),
      loaded_(new LoadedAccountView(model, this)) {
    setObjectName(QStringLiteral("accountDetail"));
    addWidget(noSelection_);
    addWidget(loaded_);
    setCurrentWidget(noSelection_);
}

void AccountDetailView::setAccount(const std::optional<Account>& account) {
    if (!account) {
        setCurrentWidget(noSelection_);
        return;
    }
    loaded_->setAccount(*account);
    setCurrentWidget(loaded_);
}

bool AccountDetailView::showsAccount() const {
    return currentWidget() == static_cast<QWidget*>(loaded_);
}

void AccountDetailView::setEntries(const std::vector<LedgerEntry>& entries,
                                   std::function<bool()> stillValid) {
    loaded_->setEntries(entries, std::move(stillValid));
}

}  // namespace tallywick
