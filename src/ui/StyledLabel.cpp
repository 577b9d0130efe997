// SPDX-License-Identifier: MIT
#include <tallywick/ui/StyledLabel.h>

#include <QEvent>

#include <tallywick/app/DataText.h>

namespace tallywick {

StyledLabel::StyledLabel(const QFont& font, AppStyle::Tint tint, QWidget* parent)
    : QLabel(parent), tint_(std::move(tint)) {
    setFont(font);
    // Data is shown as it is: never read as rich text.
    setTextFormat(Qt::PlainText);
    applyTint();
}

StyledLabel::StyledLabel(AppStyle::TextStyle style, AppStyle::Foreground level, QWidget* parent)
    : StyledLabel(AppStyle::font(style), AppStyle::tint(level), parent) {}

void StyledLabel::setTint(AppStyle::Tint tint) {
    tint_ = std::move(tint);
    applyTint();
}

void StyledLabel::setTextFixingSize(const QString& text) {
    if (text == this->text() && minimumSize() == maximumSize()) return;
    // A label of fixed size does not ask its parents for a new layout.
    if (minimumSize() != maximumSize()) setFixedSize(sizeHint());
    setText(text);
    const QSize needed = sizeHint();
    if (needed != maximumSize()) setFixedSize(needed);
}

void StyledLabel::setDataText(const QString& text) {
    setText(DataText::isolated(text));
    setAccessibleName(text);
}

void StyledLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) applyTint();
}

void StyledLabel::applyTint() {
    if (applying_ || !tint_) return;
    applying_ = true;
    const QPalette around = AppStyle::inheritedPalette(*this);
    QPalette own = palette();
    const QColor color = tint_(around);
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        own.setColor(group, QPalette::WindowText, color);
        own.setColor(group, QPalette::Text, color);
    }
    QColor faded = color;
    faded.setAlphaF(color.alphaF() * 0.5F);
    own.setColor(QPalette::Disabled, QPalette::WindowText, faded);
    own.setColor(QPalette::Disabled, QPalette::Text, faded);
    setPalette(own);
    applying_ = false;
}

}  // namespace tallywick
