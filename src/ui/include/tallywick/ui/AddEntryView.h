// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <string>

class QPushButton;
class QShortcut;

namespace tallywick {

class AppModel;
class EntryFields;

// The form above the ledger that adds an entry to the account shown. Add
// (or Return) is enabled only for an entry that can be sent; after sending,
// the amount and memo are cleared at once and the type stays, so several
// entries of one kind go in a row. Switching accounts keeps what is typed.
class AddEntryView : public QWidget {
    Q_OBJECT

public:
    explicit AddEntryView(AppModel& model, QWidget* parent = nullptr);

    void setAccountID(std::string accountId) { accountId_ = std::move(accountId); }
    const std::string& accountID() const { return accountId_; }

    EntryFields* fields() const { return fields_; }
    QPushButton* addButton() const { return add_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showEnabled();
    void add();

    AppModel& model_;
    std::string accountId_;
    EntryFields* fields_;
    QPushButton* add_;
    QShortcut* returnKey_;
};

}  // namespace tallywick
