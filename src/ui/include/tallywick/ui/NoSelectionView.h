// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

class QLabel;

namespace tallywick {

// What the detail column shows with no account selected: a picture and a
// short hint, centred in all the space there is.
class NoSelectionView : public QWidget {
    Q_OBJECT

public:
    explicit NoSelectionView(QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void drawSymbol();

    QLabel* symbol_;
};

}  // namespace tallywick
