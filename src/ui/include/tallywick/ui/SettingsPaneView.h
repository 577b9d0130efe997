// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

#include <tallywick/app/RegistrationController.h>

namespace tallywick {

class AppModel;
class AccessSettingsSection;
class NewAccountSettingsSection;
class HostSettingsSection;
class AboutSection;

// The Settings pane: a grouped form of the host's two settings, the host's
// status with the login-item button, and a word about the system. It keeps
// nothing of its own; every value shown is the model's.
class SettingsPaneView : public QScrollArea {
    Q_OBJECT

public:
    // The form's column grows no wider than this, centred in wider panes.
    static constexpr int maximumFormWidth = 720;

    explicit SettingsPaneView(
        AppModel& model,
        RegistrationController::LoginItemFactory loginItem = RegistrationController::standardItem,
        QWidget* parent = nullptr);

    AccessSettingsSection& access() const { return *access_; }
    NewAccountSettingsSection& newAccounts() const { return *newAccounts_; }
    HostSettingsSection& host() const { return *host_; }
    AboutSection& about() const { return *about_; }

private:
    AccessSettingsSection* access_;
    NewAccountSettingsSection* newAccounts_;
    HostSettingsSection* host_;
    AboutSection* about_;
};

// The pane as the main window's tab shows it.
QWidget* makeSettingsPaneView(AppModel& model);

}  // namespace tallywick
