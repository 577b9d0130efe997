// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QVBoxLayout;

namespace tallywick {

class StyledLabel;

// One section of a grouped form: its title, then its rows on a rounded card
// that stands off the window, parted by hairlines.
class SettingsFormSection : public QWidget {
    Q_OBJECT

public:
    explicit SettingsFormSection(const QString& title, QWidget* parent = nullptr);

    // Adds a row at the bottom of the card.
    void addRow(QWidget* row);

    // A row with `label` at the leading edge and `content` at the trailing one.
    static QWidget* labelledRow(const QString& label, QWidget* content);
    // A row holding `content` and, beneath it, a note in caption size.
    static QWidget* rowWithNote(QWidget* content, const QString& note);
    // Explanatory text in caption size and the secondary colour, wrapped.
    static StyledLabel* note(const QString& text);

private:
    QWidget* card_;
    QVBoxLayout* rows_;
};

}  // namespace tallywick
