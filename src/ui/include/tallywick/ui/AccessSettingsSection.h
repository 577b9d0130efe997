// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/ui/SettingsFormSection.h>

namespace tallywick {

class AppModel;
class SettingsToggle;

// "Access": whether agents are let in on their client information alone.
// The toggle shows the host's setting as last read; flipping it asks the
// host, and the toggle moves when the refresh brings the new setting.
class AccessSettingsSection : public SettingsFormSection {
    Q_OBJECT

public:
    explicit AccessSettingsSection(AppModel& model, QWidget* parent = nullptr);

    SettingsToggle& toggle() const { return *toggle_; }

private:
    void showSettings();

    AppModel& model_;
    SettingsToggle* toggle_;
};

}  // namespace tallywick
