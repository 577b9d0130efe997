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
    // Display names come from the agents: a server that reads markup in the
    // body gets them escaped, one that does not gets them as they are.
    auto* capabilities = new QDBusPendingCallWatcher(
        bus_.asyncCall(QDBusMessage::createMethodCall(kService, kPath, kInterface, "GetCapabilities")), this);
    connect(capabilities, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        call->deleteLater();
        const QDBusPendingReply<QStringList> reply = *call;
        if (!reply.isError()) bodyMarkup_ = reply.value().contains(QStringLiteral("body-markup"));
    });
}

void DesktopNotifications::show(const QString& summary, const QString& body, const QString& key) {
    if (!bus_.isConnected()) return;
    QDBusMessage notify = QDBusMessage::createMethodCall(kService, kPath, kInterface, "Notify");
    const QVariantMap hints{{QStringLiteral("desktop-entry"), desktopEntry_}};
    // The desktop entry's icon has the entry's name.
    notify << desktopEntry_ << 0U << desktopEntry_ << summary << (bodyMarkup_ ? body.toHtmlEscaped() : body)
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
