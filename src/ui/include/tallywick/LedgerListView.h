#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>
#include <vector>

#include <tallywick/LedgerEntry.h>

class QTableView;

namespace tallywick {

class AppModel;
class EditEntrySheet;
class LedgerItemModel;
class LedgerRowDelegate;
class StyledLabel;

// The account's ledger under the header "Transactions (n)": one row per
// entry with edit and delete buttons. Delete goes to the host at once,
// without asking; edit opens one sheet at a time. Nothing changes here until
// the host's new state arrives.
class LedgerListView : public QWidget {
    Q_OBJECT

public:
    explicit LedgerListView(AppModel& model, QWidget* parent = nullptr);

    // Shows `entries` without copying them; see LedgerItemModel::setEntries.
    void setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid = {});

    // Opens the edit sheet for the entry, unless one is open already.
    void editEntry(const LedgerEntry& entry);
    EditEntrySheet* editingSheet() const;

    QTableView* list() const { return list_; }
    LedgerItemModel* items() const { return items_; }
    LedgerRowDelegate* rows() const { return rows_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppModel& model_;
    StyledLabel* header_;
    QTableView* list_;
    LedgerItemModel* items_;
    LedgerRowDelegate* rows_;
    QPointer<EditEntrySheet> editing_;
};

}  // namespace tallywick
