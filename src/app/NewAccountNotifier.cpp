// SPDX-License-Identifier: MIT
#include <tallywick/app/NewAccountNotifier.h>

#include <QApplication>
#include <QStringList>
#include <algorithm>
#include <vector>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/DataText.h>
#include <tallywick/app/DesktopNotifications.h>
#include <tallywick/link/ServiceIdentity.h>

namespace tallywick {

NewAccountNotifier::NewAccountNotifier(AppModel& model, QDBusConnection bus, QObject* parent)
    : QObject(parent),
      model_(model),
      // The desktop entry is installed under the application's identifier.
      notifications_(new DesktopNotifications(std::move(bus),
                                              QString::fromStdString(buildIdentity().appIdentifier), this)) {
    connect(&model_, &AppModel::isConnectedChanged, this, [this] {
        if (!model_.isConnected()) firstSnapshotDue_ = true;
    });
    connect(&model_, &AppModel::snapshotApplied, this, &NewAccountNotifier::snapshotApplied);
    connect(notifications_, &DesktopNotifications::clicked, this, &NewAccountNotifier::clicked);
}

void NewAccountNotifier::snapshotApplied() {
    std::vector<const Account*> fresh;
    for (const Account& account : model_.accounts()) {
        if (known_.insert(account.id).second && !firstSnapshotDue_) fresh.push_back(&account);
    }
    firstSnapshotDue_ = false;
    // Someone looking at the window sees the account arrive in the sidebar.
    if (fresh.empty() || QApplication::activeWindow()) return;

    // Accounts that arrive together (a group of agents started at once) make
    // one notification rather than a stack of alike ones to dismiss; a click
    // shows the first, and the others are beside it in the sidebar.
    QStringList lines;
    for (const Account* account : fresh) {
        lines << tr("%1 (account %2)")
                     .arg(DataText::isolated(account->displayName), QString::fromStdString(account->id));
    }
    const QString summary = fresh.size() == 1
                                ? tr("New agent account")
                                : tr("%n new agent accounts", nullptr, static_cast<int>(fresh.size()));
    notifications_->show(summary, lines.join(QLatin1Char('\n')), QString::fromStdString(fresh.front()->id));
}

void NewAccountNotifier::clicked(const QString& accountId, const QString& activationToken) {
    const std::string id = accountId.toStdString();
    // An account deleted since is not selected; the window still comes.
    const auto& accounts = model_.accounts();
    if (std::any_of(accounts.begin(), accounts.end(),
                    [&](const Account& account) { return account.id == id; }))
        model_.setSelectedAccountID(id);
    emit raiseRequested(activationToken);
}

}  // namespace tallywick
