// SPDX-License-Identifier: MIT
#pragma once

#include <QPointer>

#include <tallywick/app/RegistrationController.h>
#include <tallywick/ui/SettingsFormSection.h>

class QPushButton;

namespace tallywick {

class AppModel;
class LoginItemCommandsDialog;
class StyledLabel;

// "Host": whether the host answers, its version, and the button that
// registers its login item again. Registering ends in a refresh, which
// reaches a host that the registration has just started.
class HostSettingsSection : public SettingsFormSection {
    Q_OBJECT

public:
    HostSettingsSection(AppModel& model, RegistrationController::LoginItemFactory loginItem,
                        QWidget* parent = nullptr);

    StyledLabel& status() const { return *status_; }
    StyledLabel& version() const { return *version_; }
    QPushButton& registerButton() const { return *register_; }
    // The dialog with the commands that lift the user's block, while it is open.
    LoginItemCommandsDialog* commandsDialog() const;

    // Registers the login item, helps the user allow it when they have
    // blocked it, and refreshes the model.
    void registerLoginItem();

private:
    void showConnection();
    void showVersion();

    AppModel& model_;
    RegistrationController::LoginItemFactory loginItem_;
    StyledLabel* status_;
    StyledLabel* version_;
    QPushButton* register_;
    QPointer<LoginItemCommandsDialog> commands_;
};

}  // namespace tallywick
