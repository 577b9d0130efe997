// SPDX-License-Identifier: MIT
#include <tallywick/ui/AppStyle.h>

#include <QApplication>
#include <QFontDatabase>
#include <QPainter>
#include <QWidget>
#include <algorithm>
#include <cmath>
#include <vector>

namespace tallywick::AppStyle {
namespace {

// The least contrast each kind of ink keeps against every surface it is drawn
// on: the WCAG 2 floors of 4.5:1 for text and 3:1 for control edges and
// marks, each with a little room, and a step above text for secondary text
// so that the levels stay apart.
constexpr double kTextContrast = 4.6;
constexpr double kSecondaryContrast = 6.0;
constexpr double kEdgeContrast = 3.2;
constexpr float kBadgeAlpha = 0.18F;
constexpr float kFocusedSelectionAlpha = 0.26F;
constexpr float kSelectionAlpha = 0.11F;

double linear(int channel) {
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
    const QColor rgb = color.toRgb();
    return 0.2126 * linear(rgb.red()) + 0.7152 * linear(rgb.green()) + 0.0722 * linear(rgb.blue());
}

double ratio(double first, double second) {
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

// `top`, with its alpha, laid over the opaque `under`.
QColor over(const QColor& top, const QColor& under) {
    const double a = top.alphaF();
    const auto channel = [a](int upper, int lower) { return qRound(upper * a + lower * (1 - a)); };
    return QColor(channel(top.red(), under.red()), channel(top.green(), under.green()),
                  channel(top.blue(), under.blue()));
}

QColor mix(const QColor& from, const QColor& to, double share) {
    const auto channel = [share](int a, int b) { return qRound(a + (b - a) * share); };
    return QColor(channel(from.red(), to.red()), channel(from.green(), to.green()),
                  channel(from.blue(), to.blue()));
}

// Every opaque colour text of this palette lands on: the window, fields,
// buttons (the toolbar), and selected rows over the window and the fields.
std::vector<QColor> surfaces(const QPalette& palette) {
    std::vector<QColor> colours{palette.color(QPalette::Window), palette.color(QPalette::Base),
                                palette.color(QPalette::Button)};
    for (const QColor& under : {palette.color(QPalette::Window), palette.color(QPalette::Base)}) {
        colours.push_back(over(selectionFill(palette, true), under));
        colours.push_back(over(selectionFill(palette, false), under));
    }
    return colours;
}

// The colour nearest `ideal` on the straight way to `ink` that keeps `least`
// contrast against every colour `under` it, and against its own badge capsule
// over each of `badgesOn`; `ink` itself when nothing on the way does.
QColor legible(const QColor& ideal, const QColor& ink, double least, const std::vector<QColor>& under,
               const std::vector<QColor>& badgesOn = {}) {
    std::vector<double> lit(under.size());
    std::transform(under.begin(), under.end(), lit.begin(), luminance);
    const auto reads = [&](const QColor& colour) {
        const double own = luminance(colour);
        for (const double surface : lit) {
            if (ratio(own, surface) < least) return false;
        }
        for (const QColor& surface : badgesOn) {
            if (ratio(own, luminance(over(badgeFill(colour), surface))) < least) return false;
        }
        return true;
    };
    if (reads(ideal)) return ideal;
    if (!reads(ink)) return ink;
    double near = 0, far = 1;
    for (int step = 0; step < 16; ++step) {
        const double middle = (near + far) / 2;
        (reads(mix(ideal, ink, middle)) ? far : near) = middle;
    }
    return mix(ideal, ink, far);
}

// A system colour in the shade for the palette (the light one darker, the
// dark one brighter), taken toward the text colour as far as the text floor needs.
QColor systemInk(const QPalette& palette, QColor light, QColor dark) {
    return legible(isDark(palette) ? dark : light, palette.color(QPalette::WindowText), kTextContrast,
                   surfaces(palette), {palette.color(QPalette::Window), palette.color(QPalette::Base)});
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
    dark.setColor(QPalette::Light, QColor(70, 70, 74));
    dark.setColor(QPalette::Midlight, QColor(56, 56, 60));
    dark.setColor(QPalette::Mid, QColor(46, 46, 50));
    dark.setColor(QPalette::Dark, QColor(20, 20, 22));
    dark.setColor(QPalette::Shadow, Qt::black);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        dark.setColor(QPalette::Disabled, role, QColor(120, 120, 126));
    }
    return legiblePalette(dark);
}

QColor creditColor(const QPalette& palette) {
    return systemInk(palette, QColor(36, 138, 61), QColor(48, 209, 88));
}

QColor bonusColor(const QPalette& palette) {
    return systemInk(palette, QColor(0, 110, 230), QColor(64, 156, 255));
}

QColor debitColor(const QPalette& palette) {
    return systemInk(palette, QColor(215, 0, 21), QColor(255, 92, 82));
}

QColor penaltyColor(const QPalette& palette) {
    return systemInk(palette, QColor(201, 104, 0), QColor(255, 166, 10));
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
    const QColor text = palette.color(QPalette::WindowText);
    const QColor window = palette.color(QPalette::Window);
    switch (level) {
        case Foreground::primary: return text;
        case Foreground::secondary: return legible(window, text, kSecondaryContrast, surfaces(palette));
        case Foreground::tertiary: return legible(window, text, kTextContrast, surfaces(palette));
        case Foreground::quaternary: break;
    }
    QColor faint = text;
    faint.setAlphaF(0.22F);
    return faint;
}

double contrast(const QColor& first, const QColor& second) {
    return ratio(luminance(first), luminance(second));
}

QColor controlBorder(const QPalette& palette) {
    return legible(
        palette.color(QPalette::Window), palette.color(QPalette::WindowText), kEdgeContrast,
        {palette.color(QPalette::Window), palette.color(QPalette::Base), palette.color(QPalette::Button)});
}

QColor focusColor(const QPalette& palette) {
    // Raised buttons are drawn a shade lighter than the button colour, and the
    // ring covers their edge: it has to stand out from that fill as well.
    return legible(palette.color(QPalette::Highlight), palette.color(QPalette::WindowText), kEdgeContrast,
                   {palette.color(QPalette::Window), palette.color(QPalette::Base),
                    palette.color(QPalette::Button), palette.color(QPalette::Button).lighter(150)});
}

void paintFocusRing(QPainter& painter, const QRectF& area, const QPalette& palette, qreal radius) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(focusColor(palette), 2));
    painter.drawRoundedRect(area.adjusted(1, 1, -1, -1), radius, radius);
    painter.setPen(QPen(palette.color(QPalette::Base), 1));
    painter.drawRoundedRect(area.adjusted(2.5, 2.5, -2.5, -2.5), radius - 1.5, radius - 1.5);
    painter.restore();
}

QColor selectionFill(const QPalette& palette, bool focused) {
    QColor fill = palette.color(focused ? QPalette::Highlight : QPalette::WindowText);
    fill.setAlphaF(focused ? kFocusedSelectionAlpha : kSelectionAlpha);
    return fill;
}

QColor badgeFill(const QColor& typeColor) {
    QColor fill = typeColor;
    fill.setAlphaF(kBadgeAlpha);
    return fill;
}

QPalette legiblePalette(QPalette palette) {
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        const QColor selected = palette.color(group, QPalette::HighlightedText);
        const QColor accent = palette.color(group, QPalette::Highlight);
        // Away from the selected text: darker under white, lighter under black.
        const QColor away = luminance(selected) > 0.5 ? QColor(Qt::black) : QColor(Qt::white);
        palette.setColor(group, QPalette::Highlight, legible(accent, away, kTextContrast, {selected}));
    }
    palette.setColor(QPalette::PlaceholderText, foreground(palette, Foreground::tertiary));
    return palette;
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
