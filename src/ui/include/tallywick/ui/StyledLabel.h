// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {

// A label in one of the text styles whose colour is a rule over the palette
// (secondary text, the credit colour, ...), worked out again whenever the
// palette around it changes, so light and dark desktops both read well.
class StyledLabel : public QLabel {
    Q_OBJECT

public:
    StyledLabel(const QFont& font, AppStyle::Tint tint, QWidget* parent = nullptr);
    StyledLabel(AppStyle::TextStyle style, AppStyle::Foreground level, QWidget* parent = nullptr);

    void setTint(AppStyle::Tint tint);
    // Sets the text and holds the label at the size of its text, changed only
    // when the text needs another: a new count or status then repaints the
    // label alone instead of laying out the whole window again.
    void setTextFixingSize(const QString& text);
    // Shows text from outside the window (a name, a client's field) isolated,
    // see DataText; assistive tools read it as it is, without the marks.
    void setDataText(const QString& text);
    // The colour the text is drawn in now.
    QColor textColor() const { return palette().color(QPalette::WindowText); }

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyTint();

    AppStyle::Tint tint_;
    bool applying_ = false;
};

}  // namespace tallywick
