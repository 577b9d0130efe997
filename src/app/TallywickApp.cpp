// SPDX-License-Identifier: MIT
#include <tallywick/app/TallywickApp.h>

namespace tallywick {

TallywickApp::TallywickApp(MainWindow::RootViewFactory rootView, AppModel::Options modelOptions)
    : rootView_(std::move(rootView)), modelOptions_(std::move(modelOptions)) {}

TallywickApp::~TallywickApp() {
    windows_.clear();
    notifier_.reset();
    model_.reset();
}

MainWindow& TallywickApp::openWindow() {
    windows_.push_back(std::make_unique<MainWindow>(model(), rootView_));
    windows_.back()->show();
    return *windows_.back();
}

MainWindow& TallywickApp::raiseWindow(const QString& activationToken) {
    MainWindow* window = nullptr;
    for (auto open = windows_.rbegin(); open != windows_.rend() && !window; ++open) {
        if ((*open)->isVisible()) window = open->get();
    }
    if (!window) return openWindow();
    // Out of the taskbar, keeping a maximised or full-screen window so.
    window->setWindowState((window->windowState() & ~Qt::WindowMinimized) | Qt::WindowActive);
    window->show();
    window->raise();
    // Qt's Wayland backend hands this token to the compositor when it next
    // activates a window; without it the compositor may only flash the window.
    if (!activationToken.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", activationToken.toUtf8());
    window->activateWindow();
    return *window;
}

void TallywickApp::notifyNewAccounts(QDBusConnection bus) {
    notifier_ = std::make_unique<NewAccountNotifier>(model(), std::move(bus));
    QObject::connect(notifier_.get(), &NewAccountNotifier::raiseRequested, notifier_.get(),
                     [this](const QString& activationToken) { raiseWindow(activationToken); });
}

AppModel& TallywickApp::model() {
    if (!model_) model_ = std::make_unique<AppModel>(io_, modelOptions_);
    return *model_;
}

}  // namespace tallywick
