// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <QString>
#include <cstdint>
#include <functional>

class QWidget;

// The one table of colours, fonts and number formats of every view. Colours
// are worked out from the palette they are drawn on, so that they read well on
// a light and on a dark desktop alike; fonts are made once, on first use.
namespace tallywick::AppStyle {

// Whether the palette draws light text on a dark window.
bool isDark(const QPalette& palette);

// The application's palette while the desktop prefers dark.
QPalette darkPalette();

QColor creditColor(const QPalette& palette = QGuiApplication::palette());
QColor bonusColor(const QPalette& palette = QGuiApplication::palette());
QColor debitColor(const QPalette& palette = QGuiApplication::palette());
QColor penaltyColor(const QPalette& palette = QGuiApplication::palette());
QColor noteColor(const QPalette& palette = QGuiApplication::palette());
QColor connectedColor(const QPalette& palette = QGuiApplication::palette());
QColor disconnectedColor(const QPalette& palette = QGuiApplication::palette());

// Levels of the normal text colour, from full to barely there.
enum class Foreground { primary, secondary, tertiary, quaternary };
QColor foreground(const QPalette& palette, Foreground level);

// Picks a colour from the palette it is drawn with.
using Tint = std::function<QColor(const QPalette&)>;
Tint tint(Foreground level);

// The palette a widget would have without colours of its own: its parent's,
// or the application's for a window.
QPalette inheritedPalette(const QWidget& widget);

// Credit colour from 1 up, debit colour below 0, note colour at 0.
QColor amountColor(std::int64_t value, const QPalette& palette = QGuiApplication::palette());

// Text styles, scaled from the application's font.
enum class TextStyle { body, callout, caption, caption2, headline, title2, title3 };
QFont font(TextStyle style);

QFont balanceFont();
QFont amountFont();
QFont sectionTitleFont();
QFont monospacedSmall();

// "+25" for positive values, "0", "-25"; plain digits, no grouping, no locale.
QString signedAmountText(std::int64_t value);
// The plain decimal form: "-7", "0", "12".
QString plainAmountText(std::int64_t value);

}  // namespace tallywick::AppStyle
