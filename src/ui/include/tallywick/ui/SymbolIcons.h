// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QPixmap>
#include <QSize>
#include <string_view>

#include <tallywick/ui/AppStyle.h>

class QPainter;

// Our own pictures for the symbol names the views ask for: small monochrome
// drawings, bundled as resources and painted in whatever colour the view
// wants, so they follow the palette like text does.
namespace tallywick::SymbolIcons {

// Picks the colour of an icon from the palette it is painted with.
using Tint = AppStyle::Tint;

// Whether we have a picture for the name.
bool has(std::string_view symbolName);

// An icon that paints the symbol in the tint of the palette it is drawn
// with, faded when disabled. A null icon for an unknown name.
QIcon icon(std::string_view symbolName, Tint tint);

// The symbol in one colour; an empty pixmap for an unknown name.
QPixmap pixmap(std::string_view symbolName, QSize size, const QColor& color, qreal devicePixelRatio = 1.0);

// Paints the symbol into `rect`, sharp at the painter's device pixel ratio.
void paint(QPainter& painter, const QRect& rect, std::string_view symbolName, const QColor& color);

}  // namespace tallywick::SymbolIcons
