// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>
#include <QWidget>
#include <cstdint>

#include <tallywick/model/Account.h>

class QMessageBox;
class QPushButton;

namespace tallywick {

class AppModel;
class RenameSheet;
class StyledLabel;

// The big balance and the word "points", sharing one baseline.
class AccountBalanceView : public QWidget {
    Q_OBJECT

public:
    explicit AccountBalanceView(QWidget* parent = nullptr);

    void setBalance(std::int64_t balance);
    std::int64_t balance() const { return balance_; }
    QString balanceText() const;
    QColor balanceColor() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    std::int64_t balance_ = 0;
};

// The top of the account detail: name, identifier and balance on the left,
// Rename and Delete on the right. Rename opens a sheet; Delete asks first.
class AccountHeaderView : public QWidget {
    Q_OBJECT

public:
    explicit AccountHeaderView(AppModel& model, QWidget* parent = nullptr);

    void setAccount(const Account& account);

    // The open rename sheet or delete confirmation, if any.
    RenameSheet* renameSheet() const;
    QMessageBox* deleteConfirmation() const;

private:
    void beginRename();
    void beginDelete();

    AppModel& model_;
    Account account_{};
    StyledLabel* name_;
    StyledLabel* id_;
    AccountBalanceView* balance_;
    QPushButton* rename_;
    QPushButton* delete_;
    QPointer<RenameSheet> renaming_;
    QPointer<QMessageBox> confirming_;
};

}  // namespace tallywick
