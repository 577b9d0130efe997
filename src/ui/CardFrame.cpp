// SPDX-License-Identifier: MIT
#include <tallywick/ui/CardFrame.h>

#include <QPainter>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {

CardFrame::CardFrame(Fill fill, QWidget* parent) : QWidget(parent), fill_(fill) {}

void CardFrame::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colours = palette();
    const QColor fill = fill_ == Fill::groupedForm && AppStyle::isDark(colours)
                            ? colours.color(QPalette::Window).lighter(128)
                            : colours.color(QPalette::Base);
    QColor edge = AppStyle::foreground(colours, AppStyle::Foreground::primary);
    edge.setAlphaF(0.1);
    painter.setPen(QPen(edge, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
}

}  // namespace tallywick
