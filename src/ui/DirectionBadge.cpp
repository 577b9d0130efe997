// SPDX-License-Identifier: MIT
#include <tallywick/ui/DirectionBadge.h>

#include <QCoreApplication>

#include <QFontMetrics>
#include <QPainter>

#include <tallywick/ui/AppStyle.h>
#include <tallywick/ui/SymbolIcons.h>

namespace tallywick::DirectionBadge {

QString name(Direction direction) {
    switch (direction) {
        case Direction::request: return QCoreApplication::translate("DirectionBadge", "Request");
        case Direction::response: return QCoreApplication::translate("DirectionBadge", "Response");
        case Direction::notification: return QCoreApplication::translate("DirectionBadge", "Notification");
    }
    return QCoreApplication::translate("DirectionBadge", "Notification");
}

std::string_view symbolName(Direction direction) {
    switch (direction) {
        case Direction::request: return "arrow.down.left";
        case Direction::response: return "arrow.up.right";
        case Direction::notification: return "bell";
    }
    return "bell";
}

QColor color(Direction direction, const QPalette& palette) {
    switch (direction) {
        case Direction::request: return AppStyle::bonusColor(palette);    // the system blue
        case Direction::response: return AppStyle::creditColor(palette);  // the system green
        case Direction::notification: break;
    }
    // The system purple, darkened on light windows to read as well as the others.
    return AppStyle::isDark(palette) ? QColor(191, 90, 242) : QColor(137, 68, 201);
}

QRect symbolRect(const QRect& frame) {
    // A symbol in the caption text style: as tall as a line of it.
    const int side = QFontMetrics(AppStyle::font(AppStyle::TextStyle::caption)).height();
    return {frame.left() + (frame.width() - side) / 2, frame.top() + topPadding, side, side};
}

void paint(QPainter& painter, const QRect& frame, Direction direction, const QPalette& palette) {
    SymbolIcons::paint(painter, symbolRect(frame), symbolName(direction), color(direction, palette));
}

}  // namespace tallywick::DirectionBadge
