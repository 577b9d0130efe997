// SPDX-License-Identifier: MIT
#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>

namespace tallywick {

// The desktop's notification server (org.freedesktop.Notifications) as the
// application uses it: notifications with one action, the click. Every call
// is asynchronous, so a server that is slow, missing or broken never holds
// up the window; what it does not answer is simply not shown.
class DesktopNotifications : public QObject {
    Q_OBJECT

public:
    // `desktopEntry` is the name of the application's desktop entry without
    // ".desktop": the server shows the application by it, and the desktop's
    // per-application settings (mute, banners) apply to it.
    DesktopNotifications(QDBusConnection bus, QString desktopEntry, QObject* parent = nullptr);

    // Shows a notification; clicking it emits `clicked` with `key`.
    // `summary` is the application's own words, which servers show as they
    // are; `body` is plain text, escaped for a server that reads markup (a
    // NUL, which D-Bus cannot carry, arrives as U+FFFD).
    void show(const QString& summary, const QString& body, const QString& key);

signals:
    // `activationToken` is the server's xdg-activation token for the click,
    // empty when it sent none.
    void clicked(const QString& key, const QString& activationToken);

private slots:
    void actionInvoked(uint id, const QString& action);
    void activationToken(uint id, const QString& token);
    void notificationClosed(uint id, uint reason);

private:
    void notify(const QString& server, const QString& summary, const QString& body, const QString& key);

    QDBusConnection bus_;
    QString desktopEntry_;
    // The server's ids of the notifications still shown, to their keys; the
    // signals are broadcast to every client, so others' ids are not ours.
    QHash<uint, QString> keys_;
    QHash<uint, QString> tokens_;
};

}  // namespace tallywick
