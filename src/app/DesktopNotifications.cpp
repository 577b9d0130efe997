// SPDX-License-Identifier: MIT
#include <tallywick/app/DesktopNotifications.h>

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QStringList>
#include <QVariantMap>

namespace tallywick {
namespace {

const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
// The action a server invokes when the notification itself is clicked.
const QString kDefaultAction = QStringLiteral("default");

}  // namespace

DesktopNotifications::DesktopNotifications(QDBusConnection bus, QString desktopEntry, QObject* parent)
    : QObject(parent), bus_(std::move(bus)), desktopEntry_(std::move(desktopEntry)) {
    if (!bus_.isConnected()) return;
    bus_.connect(kService, kPath, kInterface, QStringLiteral("ActionInvoked"), this,
                 SLOT(actionInvoked(uint, QString)));
    bus_.connect(kService, kPath, kInterface, QStringLiteral("ActivationToken"), this,
                 SLOT(activationToken(uint, QString)));
    bus_.connect(kService, kPath, kInterface, QStringLiteral("NotificationClosed"), this,
                 SLOT(notificationClosed(uint, uint)));
}

void DesktopNotifications::show(const QString& summary, const QString& body, const QString& key) {
    if (!bus_.isConnected()) return;
    // The body carries agents' names. Whether it is read as markup is up to
    // the server that shows it, which may have started or been replaced since
    // the last notification: it is asked each time, and the notification goes
    // to the server that answered. Without an answer the body is escaped.
    auto* asked = new QDBusPendingCallWatcher(
        bus_.asyncCall(QDBusMessage::createMethodCall(kService, kPath, kInterface, "GetCapabilities")), this);
    // A D-Bus string cannot hold NUL: a name with one would lose its notification.
    QString text = body;
    text.replace(QChar(0), QChar(QChar::ReplacementCharacter));
    connect(asked, &QDBusPendingCallWatcher::finished, this,
            [this, summary, body = std::move(text), key](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusPendingReply<QStringList> reply = *call;
                const bool plain = !reply.isError() && !reply.value().contains(QStringLiteral("body-markup"));
                const QString answered = reply.isError() ? QString() : reply.reply().service();
                notify(answered.isEmpty() ? kService : answered, summary, plain ? body : body.toHtmlEscaped(),
                       key);
            });
}

void DesktopNotifications::notify(const QString& server, const QString& summary, const QString& body,
                                  const QString& key) {
    QDBusMessage notify = QDBusMessage::createMethodCall(server, kPath, kInterface, "Notify");
    const QVariantMap hints{{QStringLiteral("desktop-entry"), desktopEntry_}};
    // The desktop entry's icon has the entry's name.
    notify << desktopEntry_ << 0U << desktopEntry_ << summary << body
           << QStringList{kDefaultAction, tr("Show")} << hints << -1;
    auto* call = new QDBusPendingCallWatcher(bus_.asyncCall(notify), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, key](QDBusPendingCallWatcher* done) {
        done->deleteLater();
        const QDBusPendingReply<uint> reply = *done;
        if (!reply.isError()) keys_.insert(reply.value(), key);
    });
}

void DesktopNotifications::actionInvoked(uint id, const QString& action) {
    if (action != kDefaultAction || !keys_.contains(id)) return;
    emit clicked(keys_.value(id), tokens_.take(id));
}

void DesktopNotifications::activationToken(uint id, const QString& token) {
    // Sent just before ActionInvoked, for the compositor to let the window come forward.
    if (keys_.contains(id)) tokens_.insert(id, token);
}

void DesktopNotifications::notificationClosed(uint id, uint /*reason*/) {
    keys_.remove(id);
    tokens_.remove(id);
}

}  // namespace tallywick
