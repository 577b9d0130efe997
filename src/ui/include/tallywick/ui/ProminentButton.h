// SPDX-License-Identifier: MIT
#pragma once

#include <QPushButton>

namespace tallywick {

// A push button filled with the accent colour: the one main action of a
// form or sheet. The fill follows the palette.
class ProminentButton : public QPushButton {
    Q_OBJECT

public:
    explicit ProminentButton(const QString& text, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyAccent();

    bool applying_ = false;
};

}  // namespace tallywick
