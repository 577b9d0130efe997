// SPDX-License-Identifier: MIT
#pragma once

// What the activity and settings tests share: where the screenshots go, and
// a look at the pixels of a drawn area. Their dark shots use the
// application's own dark palette, AppStyle::darkPalette.
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QTest>
#include <QWidget>

#include <tallywick/ui/AppStyle.h>

namespace tallywick::testing {

// Whether a grab shows something: the widget's whole size (in device
// pixels), and more than one colour.
inline bool showsSomething(const QImage& image, const QWidget& widget) {
    if (image.isNull() || image.size() != widget.size() * image.devicePixelRatio()) return false;
    const QRgb first = image.pixel(0, 0);
    for (int y = 0; y < image.height(); y += 3) {
        for (int x = 0; x < image.width(); x += 3) {
            if (image.pixel(x, y) != first) return true;
        }
    }
    return false;
}

// Grabs the widget into the screenshot folder as NAME.png; false when the
// grab is not the widget's size or is blank, or cannot be written.
inline bool saveShot(QWidget& widget, const QString& name) {
    const QString folder = QStringLiteral(TALLYWICK_SCREENSHOT_DIR);
    QApplication::processEvents();
    const QImage image = widget.grab().toImage();
    return showsSomething(image, widget) && QDir().mkpath(folder) && image.save(folder + "/" + name + ".png");
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
