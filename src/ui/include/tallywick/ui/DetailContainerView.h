// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <optional>
#include <string>

namespace tallywick {

class AccountDetailView;
class AppModel;

// The records pane's right column: feeds the selected account, and its
// ledger, into the account detail as the model changes. Never narrower than
// 420 points, even with nothing selected.
class DetailContainerView : public QWidget {
    Q_OBJECT

public:
    static constexpr int minimumWidth = 420;

    explicit DetailContainerView(AppModel& model, QWidget* parent = nullptr);

    AccountDetailView* detail() const { return detail_; }

private:
    void showAccount();
    void showEntries();

    AppModel& model_;
    AccountDetailView* detail_;
    // The account whose ledger the detail holds now.
    std::optional<std::string> ledgerOf_;
};

}  // namespace tallywick
