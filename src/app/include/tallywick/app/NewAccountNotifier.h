// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <string>
#include <unordered_set>

namespace tallywick {

class AppModel;
class DesktopNotifications;

// Tells the desktop when an agent account appears while no window of ours is
// active, under the desktop entry's name, so that the desktop's own settings
// for the application can mute it: the window has no switch of its own.
// Clicking the notification selects the account and asks for the window.
//
// New means an id the window has not seen since it started. The accounts of
// a connection's first snapshot, at start or back from a restarted host, are
// never new: they were there before the window could look.
class NewAccountNotifier : public QObject {
    Q_OBJECT

public:
    // Make it before the model's first snapshot arrives; whatever the first
    // snapshot it sees holds counts as already there.
    NewAccountNotifier(AppModel& model, QDBusConnection bus, QObject* parent = nullptr);

signals:
    // A notification was clicked and its account selected: the window is
    // wanted in front, with the server's xdg-activation token (may be empty).
    void raiseRequested(const QString& activationToken);

private:
    void snapshotApplied();
    void clicked(const QString& accountId, const QString& activationToken);

    AppModel& model_;
    DesktopNotifications* notifications_;
    // Every id seen so far. Ids are never handed out twice, so one that went
    // (a host restarting empty, an account deleted) is not new when it comes back.
    std::unordered_set<std::string> known_;
    bool firstSnapshotDue_ = true;  // the next snapshot is a connection's first
};

}  // namespace tallywick
