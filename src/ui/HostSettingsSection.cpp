// SPDX-License-Identifier: MIT
#include <tallywick/ui/HostSettingsSection.h>

#include <QHBoxLayout>
#include <QPushButton>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/LoginItemCommandsDialog.h>
#include <tallywick/ui/StyledLabel.h>

namespace tallywick {

HostSettingsSection::HostSettingsSection(AppModel& model, RegistrationController::LoginItemFactory loginItem,
                                         QWidget* parent)
    : SettingsFormSection(tr("Host"), parent),
      model_(model),
      loginItem_(std::move(loginItem)),
      status_(new StyledLabel(AppStyle::TextStyle::body, AppStyle::Foreground::secondary)),
      version_(new StyledLabel(AppStyle::TextStyle::body, AppStyle::Foreground::secondary)),
      register_(new QPushButton(tr("Register / Repair Login Item"))) {
    setObjectName(QStringLiteral("hostSettings"));
    status_->setObjectName(QStringLiteral("hostStatus"));
    version_->setObjectName(QStringLiteral("hostVersion"));
    register_->setObjectName(QStringLiteral("registerLoginItemButton"));
    version_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    addRow(labelledRow(tr("Status"), status_));
    addRow(labelledRow(tr("Version"), version_));
    auto* buttonRow = new QWidget;
    auto* line = new QHBoxLayout(buttonRow);
    line->setContentsMargins(0, 0, 0, 0);
    line->addWidget(register_);
    line->addStretch(1);
    addRow(buttonRow);

    connect(register_, &QPushButton::clicked, this, &HostSettingsSection::registerLoginItem);
    connect(&model_, &AppModel::isConnectedChanged, this, &HostSettingsSection::showConnection);
    connect(&model_, &AppModel::hostVersionChanged, this, &HostSettingsSection::showVersion);
    showConnection();
    showVersion();
}

LoginItemCommandsDialog* HostSettingsSection::commandsDialog() const {
    return commands_;
}

void HostSettingsSection::registerLoginItem() {
    const auto outcome = RegistrationController::repair(loginItem_);
    if (!outcome.unblockCommands.empty() && !commands_) {
        QStringList commands;
        for (const auto& command : outcome.unblockCommands) commands << QString::fromStdString(command);
        commands_ = new LoginItemCommandsDialog(commands, this);
        commands_->setAttribute(Qt::WA_DeleteOnClose);
        commands_->open();
    }
    model_.refresh();
}

void HostSettingsSection::showConnection() {
    const bool connected = model_.isConnected();
    status_->setText(connected ? tr("Connected") : tr("Offline"));
    status_->setTint(
        connected ? AppStyle::Tint([](const QPalette& palette) { return AppStyle::connectedColor(palette); })
                  : AppStyle::tint(AppStyle::Foreground::secondary));
}

void HostSettingsSection::showVersion() {
    const std::string& version = model_.hostVersion();
    version_->setText(version.empty() ? QStringLiteral("\u2014") : QString::fromStdString(version));
}

}  // namespace tallywick
