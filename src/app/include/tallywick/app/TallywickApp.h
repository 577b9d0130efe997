// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <memory>
#include <vector>

#include <tallywick/app/AppModel.h>
#include <tallywick/app/MainWindow.h>
#include <tallywick/app/NewAccountNotifier.h>
#include <tallywick/link/IoThread.h>

namespace tallywick {

// The application: its windows and the one model they share, made the first
// time a window's content asks for it. Make it after the QApplication and on
// the main thread; it tears down windows, then the model, then the I/O thread.
class TallywickApp {
public:
    explicit TallywickApp(MainWindow::RootViewFactory rootView, AppModel::Options modelOptions = {});
    ~TallywickApp();
    TallywickApp(const TallywickApp&) = delete;
    TallywickApp& operator=(const TallywickApp&) = delete;

    // A new window of the group, shown.
    MainWindow& openWindow();
    // Brings the newest open window to the front and gives it the focus, out
    // of the taskbar when it was minimised (a new one when none is open).
    // `activationToken` is the xdg-activation token of the launch that asked.
    MainWindow& raiseWindow(const QString& activationToken = {});
    AppModel& model();
    bool hasModel() const { return model_ != nullptr; }
    // From now on, an agent account that appears while no window is active
    // is announced through the notification server on `bus`; a click on the
    // notification selects the account and raises the window.
    void notifyNewAccounts(QDBusConnection bus);

private:
    IoThread io_;  // first member, so it goes last: the client's connection ends with it
    MainWindow::RootViewFactory rootView_;
    AppModel::Options modelOptions_;
    std::unique_ptr<AppModel> model_;
    std::unique_ptr<NewAccountNotifier> notifier_;
    std::vector<std::unique_ptr<MainWindow>> windows_;
};

}  // namespace tallywick
