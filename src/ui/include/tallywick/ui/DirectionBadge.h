// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QPalette>
#include <QRect>
#include <QString>
#include <string_view>

#include <tallywick/protocol/Direction.h>

class QPainter;

// The icon at the left of an API log row: which way the message went.
namespace tallywick::DirectionBadge {

// The width of the badge's frame; the symbol is centred in it.
inline constexpr int width = 20;
// The space above the symbol.
inline constexpr int topPadding = 2;

std::string_view symbolName(Direction direction);
// What the symbol says, for screen readers: "Request", "Response" or "Notification".
QString name(Direction direction);
// System blue for a request, green for a response, purple for a notification.
QColor color(Direction direction, const QPalette& palette);

// The symbol's square inside a badge placed at `frame` (width wide, as tall as the row).
QRect symbolRect(const QRect& frame);
void paint(QPainter& painter, const QRect& frame, Direction direction, const QPalette& palette);

}  // namespace tallywick::DirectionBadge
