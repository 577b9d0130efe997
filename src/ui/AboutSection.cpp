// SPDX-License-Identifier: MIT
#include <tallywick/ui/AboutSection.h>

#include <tallywick/ui/StyledLabel.h>

namespace tallywick {

AboutSection::AboutSection(QWidget* parent) : SettingsFormSection(tr("About"), parent) {
    setObjectName(QStringLiteral("aboutSection"));
    // Shown as written.
    StyledLabel* paragraph =
        note(QStringLiteral("Tallywick maintains a points ledger for AI agents. Only you can "
                            "change points; agents can read their balance and history and are "
                            "notified of new items."));
    paragraph->setObjectName(QStringLiteral("aboutText"));
    addRow(paragraph);
}

}  // namespace tallywick
