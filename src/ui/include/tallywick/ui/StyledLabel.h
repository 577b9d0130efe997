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
    // see DataText; assistive tools read it as it is, without the marks. A
    // word too long for any column may break anywhere when the label wraps,
    // and a copy gives the text as it is, without the marks or the breaks.
    void setDataText(const QString& text);
    // The colour the text is drawn in now.
    QColor textColor() const { return palette().color(QPalette::WindowText); }

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    void applyTint();

    // What a copy of the selection gives: the data text itself when all of it is selected.
    QString copiedText() const;

    AppStyle::Tint tint_;
    QString data_;  // the text of setDataText, as it came
    bool applying_ = false;
};

}  // namespace tallywick
