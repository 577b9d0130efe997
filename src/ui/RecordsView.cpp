// SPDX-License-Identifier: MIT
#include <tallywick/ui/RecordsView.h>

#include <QVBoxLayout>

#include <tallywick/ui/AccountsSidebar.h>
#include <tallywick/ui/ConnectionStatusView.h>
#include <tallywick/ui/DetailContainerView.h>
#include <tallywick/ui/TextField.h>

namespace tallywick {

RecordsView::RecordsView(AppModel& model, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent),
      sidebar_(new AccountsSidebar(model)),
      filter_(new TextField),
      detail_(new DetailContainerView(model, this)),
      status_(new ConnectionStatusView(model)) {
    setObjectName(QStringLiteral("recordsView"));
    setChildrenCollapsible(false);
    setHandleWidth(1);
    // The filter sits above the list it narrows, in the sidebar's column.
    auto* column = new QWidget(this);
    auto* layout = new QVBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* around = new QVBoxLayout;
    around->setContentsMargins(8, 8, 8, 8);
    filter_->setObjectName(QStringLiteral("accountFilter"));
    filter_->setPlaceholderText(tr("Filter by name or ID"));
    filter_->setAccessibleName(tr("Filter accounts"));
    filter_->setClearButtonEnabled(true);
    filter_->clearOnEscape();
    connect(filter_, &QLineEdit::textChanged, sidebar_, &AccountsSidebar::setFilter);
    around->addWidget(filter_);
    layout->addLayout(around);
    layout->addWidget(sidebar_);
    addWidget(column);
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
