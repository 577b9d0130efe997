#pragma once

#include <QStackedWidget>
#include <functional>
#include <optional>
#include <vector>

#include <tallywick/Account.h>
#include <tallywick/LedgerEntry.h>

namespace tallywick {

class AppModel;
class LoadedAccountView;
class NoSelectionView;

// The detail column's content: the loaded account, or the hint to select
// one when there is none.
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

private:
    NoSelectionView* noSelection_;
    LoadedAccountView* loaded_;
};

}  // namespace tallywick
