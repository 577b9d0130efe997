// SPDX-License-Identifier: MIT
#pragma once

#include <QProxyStyle>

namespace tallywick {

// The platform's style with two things made plain: the edges of text fields,
// combo boxes, buttons and check boxes (3:1 against what they sit on), and a
// 2 px accent ring on whatever holds the keyboard focus, where the stock
// marks are a faint hairline. Its palettes keep selected text legible.
class ControlStyle : public QProxyStyle {
    Q_OBJECT

public:
    ControlStyle();

    // Makes the application use this style, once; later calls leave it be.
    static void install();

    QPalette standardPalette() const override;
    void polish(QPalette& palette) override;
    using QProxyStyle::polish;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
    void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;
};

}  // namespace tallywick
