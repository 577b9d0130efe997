// SPDX-License-Identifier: MIT
#include <tallywick/ui/AccountDetailView.h>

#include <QScrollArea>

#include <tallywick/ui/LoadedAccountView.h>
#include <tallywick/ui/NoSelectionView.h>

namespace tallywick {

AccountDetailView::AccountDetailView(AppModel& model, QWidget* parent)
    : QStackedWidget(parent),
      noSelection_(new NoSelectionView(this)),
      loaded_(new LoadedAccountView(model)),
      scroller_(new QScrollArea(this)) {
    setObjectName(QStringLiteral("accountDetail"));
    // In a small window the account's parts keep their sizes and the column
    // scrolls, rather than squeezing lines until they are cut.
    scroller_->setObjectName(QStringLiteral("accountDetailScroller"));
    scroller_->setFrameShape(QFrame::NoFrame);
    scroller_->setWidgetResizable(true);
    scroller_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Not a stop of its own for Tab, where it could show no focus: it
    // scrolls to whichever of its controls takes the focus.
    scroller_->setFocusPolicy(Qt::NoFocus);
    scroller_->viewport()->setAutoFillBackground(false);
    scroller_->setWidget(loaded_);
    loaded_->setAutoFillBackground(false);
    addWidget(noSelection_);
    addWidget(scroller_);
    setCurrentWidget(noSelection_);
}

void AccountDetailView::setAccount(const std::optional<Account>& account) {
    if (!account) {
        setCurrentWidget(noSelection_);
        return;
    }
    loaded_->setAccount(*account);
    setCurrentWidget(scroller_);
}

bool AccountDetailView::showsAccount() const {
    return currentWidget() == static_cast<QWidget*>(scroller_);
}

void AccountDetailView::setEntries(const std::vector<LedgerEntry>& entries,
                                   std::function<bool()> stillValid) {
    loaded_->setEntries(entries, std::move(stillValid));
}

}  // namespace tallywick
