// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QFont>
#include <QGuiApplication>
#include <QPalette>
#include <QString>
#include <cstdint>
#include <functional>

class QPainter;
class QRectF;
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

// Levels of the normal text colour, from full to barely there. Secondary and
// tertiary are opaque greys that keep text legible (4.5:1 and more) on every
// surface the palette paints: window, fields, buttons and selected rows;
// quaternary is a faint tint for fills and hairlines, never for text.
enum class Foreground { primary, secondary, tertiary, quaternary };
QColor foreground(const QPalette& palette, Foreground level);

// The WCAG 2 contrast ratio of two colours, from 1 to 21 (alpha is ignored).
double contrast(const QColor& first, const QColor& second);

// The edge of text fields, combo boxes, buttons and check boxes: 3:1 or more
// against the window and the field it bounds.
QColor controlBorder(const QPalette& palette);
// The keyboard focus mark: the accent, kept 3:1 or more against the window and the fields.
QColor focusColor(const QPalette& palette);
// A 2 px focus ring just inside `area`, with a line of the field colour
// inside it so that it also reads on a filled (accent) button.
void paintFocusRing(QPainter& painter, const QRectF& area, const QPalette& palette, qreal radius = 3);

// The translucent fill of a selected sidebar row, the accent while the list
// has the focus; text keeps its colours on it.
QColor selectionFill(const QPalette& palette, bool focused);
// The faint capsule behind an entry type's label, drawn in `typeColor`.
QColor badgeFill(const QColor& typeColor);

// The palette with its accent darkened where needed so that selected text
// (HighlightedText) reads at 4.5:1 on it, and placeholders at the tertiary level.
QPalette legiblePalette(QPalette palette);

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
