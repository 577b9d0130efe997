// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/ui/SettingsFormSection.h>

namespace tallywick {

// "About": one paragraph on what the system is for.
class AboutSection : public SettingsFormSection {
    Q_OBJECT

public:
    explicit AboutSection(QWidget* parent = nullptr);
};

}  // namespace tallywick
