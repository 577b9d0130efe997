// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractButton>

namespace tallywick {

// A switch with its title at the leading edge. It does not flip itself: a
// click or the space bar asks for the other state through flipRequested,
// and the switch shows a new state only when it is set from outside.
class SettingsToggle : public QAbstractButton {
    Q_OBJECT

public:
    explicit SettingsToggle(const QString& title, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }
    // Where the switch is drawn.
    QRect switchRect() const;

signals:
    void flipRequested(bool wanted);

protected:
    void nextCheckState() override;
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace tallywick
