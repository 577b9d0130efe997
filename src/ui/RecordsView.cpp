// SPDX-License-Identifier: MIT
#include <tallywick/ui/RecordsView.h>

#include <tallywick/ui/AccountsSidebar.h>
#include <tallywick/ui/ConnectionStatusView.h>
#include <tallywick/ui/DetailContainerView.h>

namespace tallywick {

RecordsView::RecordsView(AppModel& model, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent),
      sidebar_(new AccountsSidebar(model, this)),
      detail_(new DetailContainerView(model, this)),
      status_(new ConnectionStatusView(model)) {
    setObjectName(QStringLiteral("recordsView"));
    setChildrenCollapsible(false);
    setHandleWidth(1);
    addWidget(sidebar_);
    addWidget(detail_);
    // Extra width goes to the detail; the sidebar keeps what the user gave it.
    setStretchFactor(0, 0);
    setStretchFactor(1, 1);
    setSizes({AccountsSidebar::minimumWidth + 40, DetailContainerView::minimumWidth * 2});
}

RecordsView::~RecordsView() {
    // Never placed in a toolbar: still ours.
    if (status_ && !status_->parent()) delete status_.data();
}

ConnectionStatusView* RecordsView::toolbarItem() const {
    return status_.data();
}

}  // namespace tallywick
