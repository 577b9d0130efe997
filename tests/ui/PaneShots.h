// SPDX-License-Identifier: MIT
#pragma once

// What the activity and settings tests share: a dark palette for the
// screenshots, where they go, and a look at the pixels of a drawn area.
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QPalette>
#include <QTest>
#include <QWidget>

namespace tallywick::testing {

inline QPalette darkPalette() {
    QPalette dark;
    const QColor window(40, 40, 43), base(30, 30, 32), text(236, 236, 238), button(58, 58, 62);
    dark.setColor(QPalette::Window, window);
    dark.setColor(QPalette::WindowText, text);
    dark.setColor(QPalette::Base, base);
    dark.setColor(QPalette::AlternateBase, window);
    dark.setColor(QPalette::Text, text);
    dark.setColor(QPalette::Button, button);
    dark.setColor(QPalette::ButtonText, text);
    dark.setColor(QPalette::Highlight, QColor(10, 110, 230));
    dark.setColor(QPalette::HighlightedText, Qt::white);
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

// Grabs the widget into the screenshot folder as NAME.png.
inline bool saveShot(QWidget& widget, const QString& name) {
    const QString folder = QStringLiteral(TALLYWICK_SCREENSHOT_DIR);
    QApplication::processEvents();
    return QDir().mkpath(folder) && widget.grab().toImage().save(folder + "/" + name + ".png");
}

// The colour of the pixel in `area` (the widget's coordinates) that stands
// out most from `background`: the core of whatever is drawn there.
inline QColor strongestInk(QWidget& widget, const QRect& area, const QColor& background) {
    const QImage image = widget.grab(area).toImage();
    QColor strongest = background;
    int best = -1;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            const int distance = qAbs(pixel.red() - background.red()) +
                                 qAbs(pixel.green() - background.green()) +
                                 qAbs(pixel.blue() - background.blue());
            if (distance > best) {
                best = distance;
                strongest = pixel;
            }
        }
    }
    return strongest;
}

// How far apart two hues are on the colour wheel, in degrees.
inline int hueDistance(const QColor& a, const QColor& b) {
    const int d = qAbs(a.hsvHue() - b.hsvHue()) % 360;
    return d > 180 ? 360 - d : d;
}

}  // namespace tallywick::testing
