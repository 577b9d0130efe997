// SPDX-License-Identifier: MIT
#include <tallywick/ui/SettingsToggle.h>

#include <QPainter>
#include <QPainterPath>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {
namespace {

constexpr QSize kSwitch{34, 20};
constexpr int kGap = 12;

}  // namespace

SettingsToggle::SettingsToggle(const QString& title, QWidget* parent) : QAbstractButton(parent) {
    setText(title);
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setFont(AppStyle::font(AppStyle::TextStyle::body));
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize SettingsToggle::sizeHint() const {
    const QFontMetrics metrics(font());
    return {metrics.horizontalAdvance(text()) + kGap + kSwitch.width() + 4,
            std::max(metrics.height(), kSwitch.height()) + 4};
}

QRect SettingsToggle::switchRect() const {
    return {width() - kSwitch.width() - 2, (height() - kSwitch.height()) / 2, kSwitch.width(),
            kSwitch.height()};
}

void SettingsToggle::nextCheckState() {
    // The state shown is the one set from outside; a click only asks.
    emit flipRequested(!isChecked());
}

void SettingsToggle::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colours = palette();

    QRect title = rect().adjusted(0, 0, -(kSwitch.width() + kGap + 2), 0);
    painter.setPen(colours.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(title, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(text(), Qt::ElideRight, title.width()));

    const QRectF track = QRectF(switchRect()).adjusted(0.5, 0.5, -0.5, -0.5);
    const qreal radius = track.height() / 2;
    QColor trackColor = isChecked() ? colours.color(QPalette::Highlight)
                                    : AppStyle::foreground(colours, AppStyle::Foreground::quaternary);
    if (!isEnabled()) trackColor.setAlphaF(trackColor.alphaF() * 0.5F);
    if (isDown()) trackColor = trackColor.darker(115);
    painter.setPen(Qt::NoPen);
    painter.setBrush(trackColor);
    painter.drawRoundedRect(track, radius, radius);
    if (hasFocus())
        AppStyle::paintFocusRing(painter, track.adjusted(-1.5, -1.5, 1.5, 1.5), colours, radius + 1.5);

    const qreal knob = track.height() - 4;
    const QPointF knobTopLeft(isChecked() ? track.right() - 2 - knob : track.left() + 2, track.top() + 2);
    painter.setPen(QPen(QColor(0, 0, 0, 40), 0.5));
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(knobTopLeft, QSizeF(knob, knob)));
}

}  // namespace tallywick
