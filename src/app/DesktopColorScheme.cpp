// SPDX-License-Identifier: MIT
#include <tallywick/app/DesktopColorScheme.h>

#include <QApplication>
#include <QDBusMessage>
#include <QDBusVariant>
#include <memory>
#include <optional>

namespace tallywick {
namespace {

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");
constexpr int kReadTimeoutMs = 1000;

// The portal's value, however deep in variants it arrives (Read wraps it
// twice); nothing for anything but one of the three numbers.
std::optional<ColorScheme> schemeOf(QVariant value) {
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    switch (value.metaType().id()) {
        case QMetaType::UChar:
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong: break;
        default: return std::nullopt;
    }
    const qlonglong code = value.toLongLong();
    if (code < 0 || code > 2) return std::nullopt;
    return static_cast<ColorScheme>(code);
}

std::optional<ColorScheme> read(QDBusConnection& bus, const QString& method) {
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
    call << kGroup << kKey;
    const QDBusMessage reply = bus.call(call, QDBus::Block, kReadTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) return std::nullopt;
    return schemeOf(reply.arguments().constFirst());
}

}  // namespace

DesktopColorScheme::DesktopColorScheme(QDBusConnection bus, QObject* parent)
    : QObject(parent), bus_(std::move(bus)) {
    if (!bus_.isConnected()) return;
    bus_.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                 SLOT(settingChanged(QDBusMessage)));
    // ReadOne is the portal's current method; Read, which wraps the value
    // once more, is all that portals before version 2 (Debian 12's) have.
    const auto initial = read(bus_, QStringLiteral("ReadOne"));
    scheme_ = initial ? *initial : read(bus_, QStringLiteral("Read")).value_or(ColorScheme::noPreference);
}

void DesktopColorScheme::settingChanged(const QDBusMessage& signal) {
    const QVariantList arguments = signal.arguments();
    if (arguments.size() != 3 || arguments[0].toString() != kGroup || arguments[1].toString() != kKey) return;
    set(schemeOf(arguments[2]).value_or(ColorScheme::noPreference));
}

void DesktopColorScheme::set(ColorScheme scheme) {
    if (scheme == scheme_) return;
    scheme_ = scheme;
    emit schemeChanged(scheme);
}

void followColorScheme(const DesktopColorScheme& scheme, const QPalette& dark) {
    // The application's palette is left alone until dark is asked for, so
    // that a desktop without the portal keeps whatever Qt gives it.
    const auto darkApplied = std::make_shared<bool>(false);
    const auto apply = [dark, darkApplied](ColorScheme preferred) {
        const bool wantsDark = preferred == ColorScheme::dark;
        if (wantsDark == *darkApplied) return;
        *darkApplied = wantsDark;
        // A palette with no colours of its own gives the application Qt's again.
        QApplication::setPalette(wantsDark ? dark : QPalette());
    };
    apply(scheme.scheme());
    QObject::connect(&scheme, &DesktopColorScheme::schemeChanged, qApp, apply);
}

}  // namespace tallywick
