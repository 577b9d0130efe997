// SPDX-License-Identifier: MIT
#include <tallywick/ui/StatusDot.h>

#include <QPainter>

namespace tallywick {

StatusDot::StatusDot(int diameter, AppStyle::Tint tint, QWidget* parent)
    : QWidget(parent), tint_(std::move(tint)) {
    setFixedSize(diameter, diameter);
}

void StatusDot::setTint(AppStyle::Tint tint) {
    tint_ = std::move(tint);
    update();
}

QColor StatusDot::color() const {
    return tint_ ? tint_(palette()) : QColor();
}

void StatusDot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color());
    painter.drawEllipse(QRectF(rect()));
}

}  // namespace tallywick
