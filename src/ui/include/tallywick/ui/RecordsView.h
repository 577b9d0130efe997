// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QSplitter>

namespace tallywick {

class AccountsSidebar;
class AppModel;
class ConnectionStatusView;
class DetailContainerView;
class TextField;

// The records pane: the accounts sidebar beside the selected account's
// detail. Its toolbar item, the host connection indicator, is made here and
// placed in the window's toolbar by whoever owns the window.
class RecordsView : public QSplitter {
    Q_OBJECT

public:
    explicit RecordsView(AppModel& model, QWidget* parent = nullptr);
    ~RecordsView() override;

    AccountsSidebar* sidebar() const { return sidebar_; }
    TextField* accountFilter() const { return filter_; }
    DetailContainerView* detailContainer() const { return detail_; }
    // Made without a parent; the toolbar that shows it takes it over.
    ConnectionStatusView* toolbarItem() const;

private:
    AccountsSidebar* sidebar_;
    TextField* filter_;
    DetailContainerView* detail_;
    QPointer<ConnectionStatusView> status_;
};

}  // namespace tallywick
