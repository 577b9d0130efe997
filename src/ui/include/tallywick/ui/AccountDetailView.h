// SPDX-License-Identifier: MIT
#pragma once

#include <QStackedWidget>
#include <functional>
#include <optional>
#include <vector>

#include <tallywick/model/Account.h>
#include <tallywick/model/LedgerEntry.h>

class QScrollArea;

namespace tallywick {

class AppModel;
class LoadedAccountView;
class NoSelectionView;

// The detail column's content: the loaded account (scrolling when the window
// is too small for it), or the hint to select one when there is none.
class AccountDetailView : public QStackedWidget {
    Q_OBJECT

public:
    explicit AccountDetailView(AppModel& model, QWidget* parent = nullptr);

    void setAccount(const std::optional<Account>& account);
    // The ledger shows `entries` without a copy, while `stillValid` says they live.
    void setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid = {});

    bool showsAccount() const;
    LoadedAccountView* loaded() const { return loaded_; }
    NoSelectionView* noSelection() const { return noSelection_; }
    // The loaded account scrolls in here when it does not fit.
    QScrollArea* scroller() const { return scroller_; }

private:
    NoSelectionView* noSelection_;
    LoadedAccountView* loaded_;
    QScrollArea* scroller_;
};

}  // namespace tallywick
