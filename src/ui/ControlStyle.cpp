// SPDX-License-Identifier: MIT
#include <tallywick/ui/ControlStyle.h>

#include <QApplication>
#include <QComboBox>
#include <QPainter>
#include <QPushButton>
#include <QStyleOption>

#include <tallywick/ui/AppStyle.h>

namespace tallywick {
namespace {

// The stock frames are drawn on the half pixel just inside the widget's edge.
QRectF edgeOf(const QRect& area) {
    return QRectF(area).adjusted(0.5, 0.5, -0.5, -0.5);
}

void paintEdge(QPainter& painter, const QRect& area, const QPalette& palette, qreal radius) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(AppStyle::controlBorder(palette), 1));
    painter.drawRoundedRect(edgeOf(area), radius, radius);
    painter.restore();
}

bool keyboardFocus(const QStyleOption& option) {
    return (option.state & QStyle::State_HasFocus) && (option.state & QStyle::State_KeyboardFocusChange);
}

}  // namespace

ControlStyle::ControlStyle() = default;

void ControlStyle::install() {
    if (!qobject_cast<ControlStyle*>(QApplication::style())) QApplication::setStyle(new ControlStyle);
}

QPalette ControlStyle::standardPalette() const {
    return AppStyle::legiblePalette(QProxyStyle::standardPalette());
}

void ControlStyle::polish(QPalette& palette) {
    QProxyStyle::polish(palette);
    palette = AppStyle::legiblePalette(palette);
}

void ControlStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                                 const QWidget* widget) const {
    switch (element) {
        case PE_FrameLineEdit:
            // A field shows its focus whenever it has it: that is where typing goes.
            if (option->state & State_HasFocus) {
                AppStyle::paintFocusRing(*painter, option->rect, option->palette, 2);
            } else {
                paintEdge(*painter, option->rect, option->palette, 2);
            }
            return;
        case PE_PanelButtonCommand: {
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            const auto* button = qstyleoption_cast<const QStyleOptionButton*>(option);
            if (button && (button->features & QStyleOptionButton::Flat)) return;
            if (keyboardFocus(*option)) {
                AppStyle::paintFocusRing(*painter, option->rect, option->palette, 2);
            } else {
                paintEdge(*painter, option->rect, option->palette, 2);
            }
            return;
        }
        case PE_IndicatorCheckBox:
            QProxyStyle::drawPrimitive(element, option, painter, widget);
            paintEdge(*painter, option->rect, option->palette, 1);
            return;
        case PE_FrameFocusRect:
            // Buttons and combo boxes ring their whole edge instead.
            if (qobject_cast<const QPushButton*>(widget) || qobject_cast<const QComboBox*>(widget)) return;
            if (option->state & State_KeyboardFocusChange) {
                AppStyle::paintFocusRing(*painter, option->rect, option->palette, 3);
            }
            return;
        default: break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void ControlStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                               const QWidget* widget) const {
    const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(option);
    if (element != CE_TabBarTabLabel || !tab || !(tab->state & State_HasFocus)) {
        QProxyStyle::drawControl(element, option, painter, widget);
        return;
    }
    // The stock tab marks its focus with a tint barely off its fill; the ring goes round the tab instead.
    QStyleOptionTab plain(*tab);
    plain.state &= ~State_HasFocus;
    QProxyStyle::drawControl(element, &plain, painter, widget);
    if (keyboardFocus(*tab))
        AppStyle::paintFocusRing(*painter, tab->rect.adjusted(1, 1, -1, 0), tab->palette);
}

}  // namespace tallywick
