// SPDX-License-Identifier: MIT
#include <tallywick/ui/ProminentButton.h>

#include <QEvent>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {

ProminentButton::ProminentButton(const QString& text, QWidget* parent) : QPushButton(text, parent) {
    applyAccent();
}

void ProminentButton::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) applyAccent();
}

void ProminentButton::applyAccent() {
    if (applying_) return;
    applying_ = true;
    const QPalette around = AppStyle::inheritedPalette(*this);
    QPalette own = palette();
    // The disabled group keeps the ordinary grey, so a disabled action looks it.
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        own.setColor(group, QPalette::Button, around.color(group, QPalette::Highlight));
        own.setColor(group, QPalette::ButtonText, around.color(group, QPalette::HighlightedText));
    }
    own.setColor(QPalette::Disabled, QPalette::Button, around.color(QPalette::Disabled, QPalette::Button));
    own.setColor(QPalette::Disabled, QPalette::ButtonText,
                 around.color(QPalette::Disabled, QPalette::ButtonText));
    setPalette(own);
    applying_ = false;
}

}  // namespace tallywick
