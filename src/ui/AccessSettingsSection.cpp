// SPDX-License-Identifier: MIT
#include <tallywick/ui/AccessSettingsSection.h>

#include <tallywick/app/AppModel.h>
#include <tallywick/ui/SettingsToggle.h>

namespace tallywick {

AccessSettingsSection::AccessSettingsSection(AppModel& model, QWidget* parent)
    : SettingsFormSection(tr("Access"), parent),
      model_(model),
      toggle_(new SettingsToggle(tr("Allow unauthenticated clients"))) {
    setObjectName(QStringLiteral("accessSettings"));
    toggle_->setObjectName(QStringLiteral("allowUnauthenticatedToggle"));
    // Explanatory paragraphs are shown as written.
    addRow(rowWithNote(toggle_,
                       QStringLiteral("When on, agents are identified automatically by their client info "
                                      "and need no sign-up. When off, agents must call signUp/login before "
                                      "they can read their record.")));
    connect(toggle_, &SettingsToggle::flipRequested, this,
            [this](bool wanted) { model_.setAllowUnauthenticated(wanted); });
    connect(&model_, &AppModel::settingsChanged, this, &AccessSettingsSection::showSettings);
    showSettings();
}

void AccessSettingsSection::showSettings() {
    toggle_->setChecked(model_.settings().allowUnauthenticated);
}

}  // namespace tallywick
