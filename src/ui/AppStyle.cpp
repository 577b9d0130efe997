// SPDX-License-Identifier: MIT
#include <tallywick/ui/AppStyle.h>

#include <QApplication>
#include <QFontDatabase>
#include <QWidget>

namespace tallywick::AppStyle {
namespace {

// Two shades of each system colour: the light one darkened enough to stay
// legible as text on white, the dark one brightened for dark windows.
QColor shade(const QPalette& palette, QColor light, QColor dark) {
    return isDark(palette) ? dark : light;
}

// The application font's size times `factor`, in `face` (the application font by default).
QFont scaled(qreal factor, QFont::Weight weight = QFont::Normal, QFont face = QApplication::font()) {
    const QFont base = QApplication::font();
    if (base.pointSizeF() > 0) {
        face.setPointSizeF(base.pointSizeF() * factor);
    } else {
        face.setPixelSize(qRound(base.pixelSize() * factor));
    }
    face.setWeight(weight);
    return face;
}

}  // namespace

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QPalette darkPalette() {
    QPalette dark;
    const QColor window(40, 40, 43), base(30, 30, 32), text(236, 236, 238), button(58, 58, 62);
    dark.setColor(QPalette::Window, window);
    dark.setColor(QPalette::WindowText, text);
    dark.setColor(QPalette::Base, base);
    dark.setColor(QPalette::AlternateBase, window);
    dark.setColor(QPalette::Text, text);
    dark.setColor(QPalette::Button, button);
    dark.setColor(QPalette::ButtonText, text);
    dark.setColor(QPalette::BrightText, Qt::white);
    dark.setColor(QPalette::Highlight, QColor(10, 110, 230));
    dark.setColor(QPalette::HighlightedText, Qt::white);
    dark.setColor(QPalette::Link, QColor(64, 156, 255));
    dark.setColor(QPalette::LinkVisited, QColor(160, 130, 255));
    dark.setColor(QPalette::ToolTipBase, button);
    dark.setColor(QPalette::ToolTipText, text);
    dark.setColor(QPalette::PlaceholderText, QColor(140, 140, 146));
    dark.setColor(QPalette::Light, QColor(70, 70, 74));
    dark.setColor(QPalette::Midlight, QColor(56, 56, 60));
    dark.setColor(QPalette::Mid, QColor(46, 46, 50));
    dark.setColor(QPalette::Dark, QColor(20, 20, 22));
    dark.setColor(QPalette::Shadow, Qt::black);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 126));
    }
    return dark;
}

QColor creditColor(const QPalette& palette) {
    return shade(palette, QColor(36, 138, 61), QColor(48, 209, 88));
}

QColor bonusColor(const QPalette& palette) {
    return shade(palette, QColor(0, 110, 230), QColor(64, 156, 255));
}

QColor debitColor(const QPalette& palette) {
    return shade(palette, QColor(215, 0, 21), QColor(255, 92, 82));
}

QColor penaltyColor(const QPalette& palette) {
    return shade(palette, QColor(201, 104, 0), QColor(255, 166, 10));
}

QColor noteColor(const QPalette& palette) {
    return foreground(palette, Foreground::secondary);
}

QColor connectedColor(const QPalette& palette) {
    return creditColor(palette);
}

QColor disconnectedColor(const QPalette& palette) {
    return foreground(palette, Foreground::secondary);
}

QColor foreground(const QPalette& palette, Foreground level) {
    QColor color = palette.color(QPalette::WindowText);
    switch (level) {
        case Foreground::primary: break;
        case Foreground::secondary: color.setAlphaF(0.62); break;
        case Foreground::tertiary: color.setAlphaF(0.45); break;
        case Foreground::quaternary: color.setAlphaF(0.22); break;
    }
    return color;
}

Tint tint(Foreground level) {
    return [level](const QPalette& palette) { return foreground(palette, level); };
}

QPalette inheritedPalette(const QWidget& widget) {
    const QWidget* parent = widget.isWindow() ? nullptr : widget.parentWidget();
    return parent ? parent->palette() : QApplication::palette(&widget);
}

QColor amountColor(std::int64_t value, const QPalette& palette) {
    if (value >= 1) return creditColor(palette);
    if (value < 0) return debitColor(palette);
    return noteColor(palette);
}

QFont font(TextStyle style) {
    switch (style) {
        case TextStyle::body: return scaled(1.0);
        case TextStyle::callout: return scaled(0.93);
        case TextStyle::caption: return scaled(0.86);
        case TextStyle::caption2: return scaled(0.8);
        case TextStyle::headline: return scaled(1.0, QFont::Bold);
        case TextStyle::title2: return scaled(1.32);
        case TextStyle::title3: return scaled(1.16);
    }
    return scaled(1.0);
}

QFont balanceFont() {
    static const QFont made = scaled(2.6, QFont::DemiBold);
    return made;
}

QFont amountFont() {
    // Sans faces draw their figures at one width by default, so amounts line up
    // down a column without a font feature switch (which this Qt lacks).
    static const QFont made = scaled(1.0);
    return made;
}

QFont sectionTitleFont() {
    static const QFont made = font(TextStyle::headline);
    return made;
}

QFont monospacedSmall() {
    static const QFont made =
        scaled(0.86, QFont::Normal, QFontDatabase::systemFont(QFontDatabase::FixedFont));
    return made;
}

QString signedAmountText(std::int64_t value) {
    const QString digits = QString::number(static_cast<qlonglong>(value));
    return value >= 1 ? QLatin1Char('+') + digits : digits;
}

QString plainAmountText(std::int64_t value) {
    return QString::number(static_cast<qlonglong>(value));
}

}  // namespace tallywick::AppStyle
