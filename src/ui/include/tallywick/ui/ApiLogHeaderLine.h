// SPDX-License-Identifier: MIT
#pragma once

#include <QPalette>
#include <QRect>
#include <QString>

#include <tallywick/protocol/ApiLogEntry.h>

class QPainter;

// The first line of an API log row: the method in bold, the client's label,
// and at the trailing edge the time the message was logged.
namespace tallywick::ApiLogHeaderLine {

inline constexpr int spacing = 8;

// The method, or an em dash for a message that has none.
QString methodText(const ApiLogEntry& entry);
// The client's label, or nothing.
QString clientText(const ApiLogEntry& entry);
// The method and the client's label as the line draws them: on one line,
// each break a space, and isolated as all agent text is.
QString methodShown(const ApiLogEntry& entry);
QString clientShown(const ApiLogEntry& entry);
// The time of day without the date, in the standard time style of the
// user's locale: hours, minutes and seconds, in the local time zone.
QString timeText(Date when);

// The line's height: the tallest of its three text styles.
int height();
void paint(QPainter& painter, const QRect& line, const ApiLogEntry& entry, const QPalette& palette);

}  // namespace tallywick::ApiLogHeaderLine
