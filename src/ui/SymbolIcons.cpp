// SPDX-License-Identifier: MIT
#include <tallywick/ui/SymbolIcons.h>

#include <QFile>
#include <QIconEngine>
#include <QImage>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>
#include <QWidget>
#include <array>
#include <map>
#include <memory>

// Resources of a static library must be registered by hand.
static void registerSymbolResources() {
    Q_INIT_RESOURCE(SymbolIcons);
}

namespace tallywick::SymbolIcons {
namespace {

constexpr std::array<std::string_view, 15> kSymbols{
    "arrow.down.left",
    "arrow.up.right",
    "arrow.up.to.line",
    "bell",
    "chart.xyaxis.line",
    "gearshape",
    "list.bullet.rectangle.portrait",
    "pause",
    "pencil",
    "play",
    "person.crop.rectangle.stack",
    "person.fill.checkmark",
    "person.fill.questionmark",
    "trash",
    "waveform.path.ecg",
};

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// One parsed drawing per symbol, kept for the life of the program (main thread only).
QSvgRenderer* renderer(std::string_view symbolName) {
    static const bool registered = (registerSymbolResources(), true);
    (void)registered;
    static std::map<std::string, std::unique_ptr<QSvgRenderer>, std::less<>> renderers;
    if (!has(symbolName)) return nullptr;
    auto found = renderers.find(symbolName);
    if (found == renderers.end()) {
        auto made = std::make_unique<QSvgRenderer>(
            QStringLiteral(":/tallywick/icons/%1.svg").arg(toQString(symbolName)));
        found = renderers.emplace(std::string(symbolName), std::move(made)).first;
    }
    return found->second->isValid() ? found->second.get() : nullptr;
}

class SymbolIconEngine final : public QIconEngine {
public:
    SymbolIconEngine(std::string symbolName, Tint tint)
        : symbolName_(std::move(symbolName)), tint_(std::move(tint)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
        // Painted straight into a widget: that widget's palette decides.
        const auto* widget = dynamic_cast<const QWidget*>(painter->device());
        SymbolIcons::paint(*painter, rect, symbolName_,
                           colorFor(widget ? widget->palette() : QGuiApplication::palette(), mode));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State, qreal scale) override {
        return SymbolIcons::pixmap(symbolName_, size, colorFor(QGuiApplication::palette(), mode), scale);
    }

    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }
    QIconEngine* clone() const override { return new SymbolIconEngine(*this); }
    QString key() const override { return QStringLiteral("tallywick-symbol"); }
    QString iconName() override { return QString::fromStdString(symbolName_); }

private:
    QColor colorFor(const QPalette& palette, QIcon::Mode mode) const {
        QColor color = tint_(palette);
        if (mode == QIcon::Disabled) color.setAlphaF(color.alphaF() * 0.35F);
        return color;
    }

    std::string symbolName_;
    Tint tint_;
};

}  // namespace

bool has(std::string_view symbolName) {
    for (const auto& known : kSymbols) {
        if (known == symbolName) return true;
    }
    return false;
}

QIcon icon(std::string_view symbolName, Tint tint) {
    if (!has(symbolName) || !tint) return {};
    return QIcon(new SymbolIconEngine(std::string(symbolName), std::move(tint)));
}

QPixmap pixmap(std::string_view symbolName, QSize size, const QColor& color, qreal devicePixelRatio) {
    QSvgRenderer* drawing = renderer(symbolName);
    if (!drawing || size.isEmpty()) return {};
    const QSize pixels = (QSizeF(size) * devicePixelRatio).toSize();
    const QString cacheKey = QStringLiteral("tallywick-symbol:%1:%2x%3:%4")
                                 .arg(toQString(symbolName))
                                 .arg(pixels.width())
                                 .arg(pixels.height())
                                 .arg(color.rgba(), 8, 16, QLatin1Char('0'));
    QPixmap cached;
    if (QPixmapCache::find(cacheKey, &cached)) {
        cached.setDevicePixelRatio(devicePixelRatio);
        return cached;
    }

    // The drawing is black on clear; its coverage becomes the colour's.
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        drawing->render(&painter, QRectF(QPointF(0, 0), QSizeF(pixels)));
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
    }
    QPixmap result = QPixmap::fromImage(std::move(image));
    QPixmapCache::insert(cacheKey, result);
    result.setDevicePixelRatio(devicePixelRatio);
    return result;
}

void paint(QPainter& painter, const QRect& rect, std::string_view symbolName, const QColor& color) {
    const qreal ratio = painter.device() ? painter.device()->devicePixelRatioF() : 1.0;
    const QPixmap picture = pixmap(symbolName, rect.size(), color, ratio);
    if (!picture.isNull()) painter.drawPixmap(rect.topLeft(), picture);
}

}  // namespace tallywick::SymbolIcons
