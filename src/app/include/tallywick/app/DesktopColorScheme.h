// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QPalette>

namespace tallywick {

// The desktop's light or dark preference as the settings portal gives it
// (org.freedesktop.appearance color-scheme), in the portal's numbering.
enum class ColorScheme { noPreference = 0, dark = 1, light = 2 };

// Reads the preference from the portal on the bus and follows its changes.
// Without a bus or a portal, or with an answer it does not understand, the
// preference is noPreference, quietly: not every desktop has the portal.
class DesktopColorScheme : public QObject {
    Q_OBJECT

public:
    // Asks once, waiting briefly, so that the first window already has the
    // desktop's colours; a portal slower than that counts from its next change.
    explicit DesktopColorScheme(QDBusConnection bus, QObject* parent = nullptr);

    ColorScheme scheme() const { return scheme_; }

signals:
    void schemeChanged(tallywick::ColorScheme scheme);

private slots:
    // The whole signal: Qt 6.4 cannot hand a D-Bus variant to a slot parameter.
    void settingChanged(const QDBusMessage& signal);

private:
    void set(ColorScheme scheme);

    QDBusConnection bus_;
    ColorScheme scheme_ = ColorScheme::noPreference;
};

// Keeps the application's palette on the desktop's preference: `dark` while
// it prefers dark, Qt's own (light) palette otherwise.
void followColorScheme(const DesktopColorScheme& scheme, const QPalette& dark);

}  // namespace tallywick
