// SPDX-License-Identifier: MIT
// The window's desktop habits: its keys, coming forward when a later start
// asks through the runtime folder, the desktop's light or dark preference,
// read from a settings portal served on a private session bus, and
// notifications of new agent accounts of a real host, sent to a notification
// server on such a bus.
#include <unistd.h>

#include <QApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QProcess>
#include <QSemaphore>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <future>

#include <tallywick/app/DataText.h>
#include <tallywick/app/DesktopColorScheme.h>
#include <tallywick/app/DesktopNotifications.h>
#include <tallywick/app/PlaceholderRootView.h>
#include <tallywick/app/TallywickApp.h>
#include <tallywick/app/WindowInstance.h>
#include <tallywick/ui/AppStyle.h>

#include "RecordsWindow.h"
#include "support/HostileCorpus.h"

using namespace tallywick;
using namespace std::chrono_literals;

namespace {

const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kAppearance = QStringLiteral("org.freedesktop.appearance");
const QString kColorScheme = QStringLiteral("color-scheme");
const QString kNotificationsPath = QStringLiteral("/org/freedesktop/Notifications");

// A session bus of the test's own, with nothing to activate: a portal that
// is not registered stays missing.
class PrivateBus {
public:
    bool start() {
        const QString daemon = QStandardPaths::findExecutable("dbus-daemon");
        if (daemon.isEmpty()) return false;
        QFile config(folder_.filePath("bus.conf"));
        if (!config.open(QIODevice::WriteOnly)) return false;
        config.write(("<busconfig><type>session</type><listen>unix:dir=" + folder_.path().toUtf8() +
                      "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow "
                      "send_destination=\"*\"/><allow receive_sender=\"*\"/>"
                      "<allow own=\"*\"/></policy></busconfig>"));
        config.close();
        daemon_.start(daemon, {"--config-file=" + config.fileName(), "--print-address", "--nofork"});
        if (!daemon_.waitForReadyRead(10000)) return false;
        address_ = QString::fromUtf8(daemon_.readLine().trimmed());
        return !address_.isEmpty();
    }
    ~PrivateBus() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }
    QDBusConnection connect(const QString& name) const {
        return QDBusConnection::connectToBus(address_, name);
    }
    const QString& address() const { return address_; }

private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_;
};

// org.freedesktop.portal.Settings as xdg-desktop-portal serves it: ReadOne
// from version 2, Read wrapping the value in one variant more.
class SettingsPortal : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    SettingsPortal(uint scheme, bool hasReadOne) : scheme_(scheme), hasReadOne_(hasReadOne) {}

    void change(const QString& group, const QString& key, uint value) {
        if (group == kAppearance && key == kColorScheme) scheme_ = value;
        emit SettingChanged(group, key, QDBusVariant(value));
    }

public slots:
    QDBusVariant ReadOne(const QString& group, const QString& key) {
        if (!hasReadOne_) {
            sendErrorReply(QDBusError::UnknownMethod, "No such method ReadOne");
            return {};
        }
        return value(group, key);
    }
    QDBusVariant Read(const QString& group, const QString& key) {
        return QDBusVariant(QVariant::fromValue(value(group, key)));
    }

signals:
    void SettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    QDBusVariant value(const QString& group, const QString& key) {
        if (group != kAppearance || key != kColorScheme)
            sendErrorReply("org.freedesktop.portal.Error.NotFound", "Requested setting not found");
        return QDBusVariant(scheme_);
    }

    uint scheme_;
    bool hasReadOne_;
};

// The portal on a thread of its own, as it would be in a process of its own:
// the application blocks on its first question. The portal lives and dies
// on that thread.
class PortalThread : public QThread {
public:
    PortalThread(const PrivateBus& bus, const QString& name, uint scheme, bool hasReadOne)
        : address_(bus.address()), name_(name), scheme_(scheme), hasReadOne_(hasReadOne) {}
    ~PortalThread() override {
        quit();
        wait();
    }

    // Whether the portal is on the bus under its well-known name.
    bool serve() {
        start();
        return ready_.tryAcquire(1, 10000) && portal_;
    }
    // Emits SettingChanged from the portal's thread, as the portal would.
    void change(const QString& group, const QString& key, uint value) {
        QMetaObject::invokeMethod(portal_, [=, portal = portal_] { portal->change(group, key, value); });
    }

protected:
    void run() override {
        SettingsPortal portal(scheme_, hasReadOne_);
        QDBusConnection service = QDBusConnection::connectToBus(address_, name_);
        if (service.registerObject(kPortalPath, &portal,
                                   QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
            service.registerService("org.freedesktop.portal.Desktop")) {
            portal_ = &portal;
        }
        ready_.release();
        exec();
        service.unregisterService("org.freedesktop.portal.Desktop");
        service.unregisterObject(kPortalPath);
    }

private:
    QString address_, name_;
    uint scheme_;
    bool hasReadOne_;
    QSemaphore ready_;
    SettingsPortal* portal_ = nullptr;
};

// org.freedesktop.Notifications as a desktop serves it, on the test's thread
// (the application must never wait for it), keeping what it is sent.
class NotificationServer : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    struct Sent {
        QString appName, appIcon, summary, body;
        QStringList actions;
        QVariantMap hints;
    };

    bool serve(QDBusConnection bus) {
        return bus.registerObject(kNotificationsPath, this,
                                  QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
               bus.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    // The user clicks notification `id`: the token comes first, as the server sends it.
    void click(uint id, const QString& activationToken) {
        emit ActivationToken(id, activationToken);
        emit ActionInvoked(id, QStringLiteral("default"));
    }

    std::vector<Sent> sent;
    bool markup = true;

public slots:
    QStringList GetCapabilities() {
        return markup ? QStringList{"actions", "body", "body-markup"} : QStringList{"actions", "body"};
    }
    uint Notify(const QString& appName, uint /*replacesId*/, const QString& appIcon, const QString& summary,
                const QString& body, const QStringList& actions, const QVariantMap& hints, int /*timeout*/) {
        sent.push_back({appName, appIcon, summary, body, actions, hints});
        return static_cast<uint>(sent.size());
    }

signals:
    void ActionInvoked(uint id, const QString& actionKey);
    void ActivationToken(uint id, const QString& activationToken);
    void NotificationClosed(uint id, uint reason);
};

// Runs the event loop until the application quits; its status, or -1 when
// it did not quit within ten seconds.
int execUntilQuit(const std::function<void()>& action) {
    QTimer::singleShot(0, qApp, action);
    QTimer patience;
    patience.setSingleShot(true);
    QObject::connect(&patience, &QTimer::timeout, [] { QCoreApplication::exit(-1); });
    patience.start(10000);
    return QApplication::exec();
}

// Another application takes the focus, as far as the offscreen platform can
// show it: a window that takes it and goes, leaving none of ours active.
bool lookAway() {
    {
        QWidget other;
        other.show();
        other.activateWindow();
        if (!QTest::qWaitForWindowActive(&other)) return false;
    }
    return QTest::qWaitFor([] { return !QApplication::activeWindow(); });
}

AppModel::Options unreachableHost(const QTemporaryDir& folder) {
    return {.endpoint = {folder.filePath("no-host").toStdString(), ""}, .registerLoginItem = [] {}};
}

}  // namespace

class DesktopTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { QApplication::setPalette(QPalette()); }

    // Ctrl+W closes the window it is typed in; the last one's close and
    // Ctrl+Q end the application.
    void keysCloseTheWindowAndQuit() {
        QTemporaryDir folder;
        TallywickApp app(makePlaceholderRootView, unreachableHost(folder));
        MainWindow& first = app.openWindow();
        MainWindow& second = app.openWindow();
        second.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&second));
        QTest::keyClick(&second, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!second.isVisible());
        QVERIFY(first.isVisible());

        first.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&first));
        QCOMPARE(execUntilQuit([&] { QTest::keyClick(&first, Qt::Key_W, Qt::ControlModifier); }), 0);
        QVERIFY(!first.isVisible());

        MainWindow& third = app.openWindow();
        QVERIFY(QTest::qWaitForWindowActive(&third));
        QCOMPARE(execUntilQuit([&] { QTest::keyClick(&third, Qt::Key_Q, Qt::ControlModifier); }), 0);
    }

    // A later start in the same runtime folder brings the minimised window
    // back and to the front, passing its activation token along; a holder
    // that does not answer is named, and the later start gives up.
    void laterStartRaisesTheWindow() {
        QTemporaryDir folder;
        const std::string runtime = folder.filePath("tallywick").toStdString();
        auto claim = WindowInstance::claim(runtime, "");
        QVERIFY(std::holds_alternative<WindowClaim>(claim));
        TallywickApp app(makePlaceholderRootView, unreachableHost(folder));
        MainWindow& window = app.openWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        RaiseListener listener(std::move(std::get<WindowClaim>(claim)));
        connect(&listener, &RaiseListener::raiseRequested, &listener,
                [&app](const QString& token) { app.raiseWindow(token); });
        window.showMinimized();
        QTRY_VERIFY(window.isMinimized());

        auto later =
            std::async(std::launch::async, [&] { return WindowInstance::claim(runtime, "token-7"); });
        QTRY_VERIFY(later.wait_for(0s) == std::future_status::ready);
        QVERIFY(std::holds_alternative<WindowInstance::Raised>(later.get()));
        QVERIFY(!window.isMinimized());
        QTRY_VERIFY(window.isActiveWindow());
        QCOMPARE(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArray("token-7"));
        qunsetenv("XDG_ACTIVATION_TOKEN");

        const std::string silent = folder.filePath("silent").toStdString();
        auto holder = WindowInstance::claim(silent, "");  // holds the lock, never listens
        QVERIFY(std::holds_alternative<WindowClaim>(holder));
        const auto refused = WindowInstance::claim(silent, "", 300ms);
        const auto* unanswered = std::get_if<WindowInstance::Unanswered>(&refused);
        QVERIFY(unanswered);
        QVERIFY2(unanswered->message.find("kill " + std::to_string(::getpid())) != std::string::npos,
                 unanswered->message.c_str());
    }

    // Dark on 1, light on 2, live with each change of the setting and of no
    // other; from a portal with ReadOne and from one with only Read.
    void paletteFollowsThePortal() {
        PrivateBus bus;
        if (!bus.start()) QSKIP("dbus-daemon is not installed or did not start");
        for (const bool hasReadOne : {true, false}) {
            const QString suffix = hasReadOne ? "-v2" : "-v1";
            PortalThread portal(bus, "portal" + suffix, 1, hasReadOne);
            QVERIFY(portal.serve());
            QWidget window;
            window.show();
            DesktopColorScheme scheme(bus.connect("app" + suffix));
            followColorScheme(scheme, AppStyle::darkPalette());
            QCOMPARE(scheme.scheme(), ColorScheme::dark);
            QVERIFY(AppStyle::isDark(QApplication::palette()));
            QTRY_VERIFY(AppStyle::isDark(window.palette()));

            portal.change(kAppearance, kColorScheme, 2);
            QTRY_VERIFY(!AppStyle::isDark(QApplication::palette()));
            QTRY_VERIFY(!AppStyle::isDark(window.palette()));

            QSignalSpy changes(&scheme, &DesktopColorScheme::schemeChanged);
            portal.change(kAppearance, QStringLiteral("accent-color"), 1);
            portal.change(QStringLiteral("org.gnome.desktop.interface"), kColorScheme, 1);
            portal.change(kAppearance, kColorScheme, 0);
            QTRY_COMPARE(scheme.scheme(), ColorScheme::noPreference);
            QCOMPARE(changes.count(), 1);
            QVERIFY(!AppStyle::isDark(QApplication::palette()));

            portal.change(kAppearance, kColorScheme, 1);
            QTRY_VERIFY(AppStyle::isDark(QApplication::palette()));
        }
    }

    // An account that appears while no window of ours is active is announced
    // once, under the desktop entry's name; one already there at start or
    // back from a restarted host, or one that comes while the window is in
    // front, is not. The click selects the account and brings the window.
    void newAccountIsAnnouncedAndItsClickShowsIt() {
        PrivateBus bus;
        if (!bus.start()) QSKIP("dbus-daemon is not installed or did not start");
        NotificationServer server;
        QVERIFY(server.serve(bus.connect("notifications")));

        testing::RecordsWindow records;
        QTemporaryDir elsewhere;
        testing::HostProcess& host = records.host();
        const std::string runtime = host.runtimeDirectory();
        // Accounts made while the window cannot see the host: it runs where
        // the window does not look.
        const auto addAway = [&](const std::string& name) {
            host.setRuntimeDirectory(elsewhere.filePath("run").toStdString());
            const bool made = host.start() && records.connectAgent(name);
            records.dropAgents();
            host.stop();
            host.setRuntimeDirectory(runtime);
            return made;
        };
        QVERIFY(addAway("present"));
        QVERIFY(records.open(false));
        records.app().notifyNewAccounts(bus.connect("notifying-app"));
        QVERIFY(lookAway());
        QVERIFY(host.start());
        QTRY_VERIFY_WITH_TIMEOUT(records.account("present"), testing::kPatience);

        host.stop();
        QTRY_VERIFY_WITH_TIMEOUT(!records.model().isConnected(), testing::kPatience);
        QVERIFY(addAway("meanwhile"));
        QVERIFY(host.start());
        QTRY_VERIFY_WITH_TIMEOUT(records.account("meanwhile"), testing::kPatience);

        MainWindow& window = records.window();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QVERIFY(records.connectAgent("watched"));
        QTRY_VERIFY_WITH_TIMEOUT(records.account("watched"), testing::kPatience);

        QVERIFY(lookAway());
        QVERIFY(records.connectAgent("Fresh & <new>"));
        QTRY_VERIFY_WITH_TIMEOUT(records.account("Fresh & <new>"), testing::kPatience);
        const std::string fresh = records.account("Fresh & <new>")->id;
        // All the window sent so far has arrived once a question it asks
        // after it is answered.
        QVERIFY(records.settle());
        QDBusPendingCall flush = QDBusConnection("notifying-app")
                                     .asyncCall(QDBusMessage::createMethodCall(
                                         "org.freedesktop.Notifications", kNotificationsPath,
                                         "org.freedesktop.Notifications", "GetCapabilities"));
        QTRY_VERIFY(flush.isFinished());
        QTRY_COMPARE(server.sent.size(), std::size_t{1});
        const auto& sent = server.sent.front();
        const QString entry = QString::fromStdString(buildIdentity().appIdentifier);
        QCOMPARE(sent.appName, entry);
        QCOMPARE(sent.appIcon, entry);
        QCOMPARE(sent.hints.value("desktop-entry").toString(), entry);
        QCOMPARE(sent.summary, QStringLiteral("New agent account"));
        // The server reads markup, and the name is the agent's own.
        QCOMPARE(sent.body, QStringLiteral("\u2068Fresh &amp; &lt;new&gt;\u2069 (account %1)")
                                .arg(QString::fromStdString(fresh)));
        QCOMPARE(sent.actions, QStringList({"default", "Show"}));

        QVERIFY(records.model().selectedAccountID() != fresh);
        server.click(1, "token-5");
        QTRY_VERIFY(records.model().selectedAccountID() == fresh);
        QTRY_VERIFY(window.isActiveWindow());
        QCOMPARE(qgetenv("XDG_ACTIVATION_TOKEN"), QByteArray("token-5"));
        qunsetenv("XDG_ACTIVATION_TOKEN");
    }

    // The body is escaped for the server that shows it, asked each time: one
    // that reads markup starts after the notifier, then one that does not
    // takes its place. Agents' text never reaches the first as markup.
    void notificationBodyFollowsTheServerThatShowsIt() {
        PrivateBus bus;
        if (!bus.start()) QSKIP("dbus-daemon is not installed or did not start");
        DesktopNotifications notifier(bus.connect("early-app"), "tallywick-test");
        for (const bool markup : {true, false}) {
            const QString name = markup ? "markup-server" : "plain-server";
            NotificationServer server;
            server.markup = markup;
            QVERIFY(server.serve(bus.connect(name)));
            for (const auto& hostile : test::hostileCorpus())
                notifier.show("New agent account", QString::fromStdString(hostile.text), "key");
            QTRY_COMPARE(server.sent.size(), test::hostileCorpus().size());
            for (std::size_t i = 0; i < server.sent.size(); ++i) {
                QString body = QString::fromStdString(test::hostileCorpus()[i].text);
                body.replace(QChar(0), QChar(QChar::ReplacementCharacter));
                QCOMPARE(server.sent[i].body, markup ? body.toHtmlEscaped() : body);
                QCOMPARE(server.sent[i].summary, QString("New agent account"));
            }
            QDBusConnection::disconnectFromBus(name);
        }
    }

    // No portal on the bus, or no bus at all: light, without a word.
    void withoutPortalTheWindowStaysLight() {
        PrivateBus bus;
        if (!bus.start()) QSKIP("dbus-daemon is not installed or did not start");
        for (const QDBusConnection& connection :
             {bus.connect("no-portal"),
              QDBusConnection::connectToBus("unix:path=/nonexistent/bus", "no-bus")}) {
            DesktopColorScheme scheme(connection);
            followColorScheme(scheme, AppStyle::darkPalette());
            QCOMPARE(scheme.scheme(), ColorScheme::noPreference);
            QVERIFY(!AppStyle::isDark(QApplication::palette()));
        }
    }
};

QTEST_MAIN(DesktopTest)
#include "DesktopTest.moc"
