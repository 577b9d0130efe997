// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QWidget>
#include <array>
#include <functional>
#include <vector>

#include <tallywick/model/LedgerEntry.h>
#include <tallywick/model/Result.h>

class QMenu;
class QToolButton;

namespace tallywick {

class AppModel;
class BalanceChart;
class EditEntrySheet;
class LedgerItemModel;
class LedgerRowDelegate;
class LedgerTableView;
class StyledLabel;
class TextField;

// The account's ledger under the header "Transactions (n)": one row per
// entry with edit and delete buttons, the same two on the row's keys, and a
// row menu that can also copy the memo or the entry's identifier. Delete goes to the host at once,
// without asking; edit opens one sheet at a time. Nothing changes here until
// the host's new state arrives. A chart of the balance over time can be
// opened above the rows.
class LedgerListView : public QWidget {
    Q_OBJECT

public:
    explicit LedgerListView(AppModel& model, QWidget* parent = nullptr);

    // Shows `entries` without copying them; see LedgerItemModel::setEntries.
    void setEntries(const std::vector<LedgerEntry>& entries, std::function<bool()> stillValid = {});

    // Opens the edit sheet for the entry, unless one is open already.
    void editEntry(const LedgerEntry& entry);
    EditEntrySheet* editingSheet() const;

    LedgerTableView* list() const { return list_; }
    // The row menu (Edit, Delete, Copy Memo, Copy Entry ID) while it is open.
    QMenu* rowMenu() const;
    LedgerItemModel* items() const { return items_; }
    LedgerRowDelegate* rows() const { return rows_; }
    // Narrows the rows by memo text and by type; kept across refreshes and accounts.
    TextField* search() const { return search_; }
    QToolButton* typeToggle(std::size_t index) const { return typeToggles_[index]; }
    // The balance over time, collapsed until its toggle is checked.
    BalanceChart* chart() const { return chart_; }
    QToolButton* chartToggle() const { return chartToggle_; }
    // Writes the ledger as CSV: every entry, or only those the filter shows.
    Result<void, std::string> exportTo(const QString& path, bool shownOnly) const;
    // Reads a CSV file whole and, when every row is good, starts creating its
    // entries in the selected account; gives how many, or what is wrong.
    Result<std::size_t, QString> importFrom(const QString& path);
    // As the CSV menu does once a file is chosen: what goes wrong is told in
    // a message box ("exportFailed", "importRefused").
    void exportFile(const QString& path, bool shownOnly);
    void importFile(const QString& path);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppModel& model_;
    StyledLabel* header_;
    void openRowMenu(const QModelIndex& index, const QPoint& globalPosition);
    void applyFilter();
    void askAndExport(bool shownOnly);
    void askAndImport();
    void showCount();

    LedgerTableView* list_;
    LedgerItemModel* items_;
    LedgerRowDelegate* rows_;
    TextField* search_;
    StyledLabel* shownCount_;  // how many the search and toggles leave, beside the search
    BalanceChart* chart_;
    QToolButton* chartToggle_;
    std::array<QToolButton*, 5> typeToggles_{};
    QPointer<EditEntrySheet> editing_;
    QPointer<QMenu> rowMenu_;
};

}  // namespace tallywick
