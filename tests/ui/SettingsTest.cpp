// SPDX-License-Identifier: MIT
// The Settings pane against a real host: the two settings go to the host
// and come back with the refresh, the host's status and version show, and
// the login-item button registers the host's item in a scratch home.
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QStyle>
#include <filesystem>
#include <fstream>

#include <tallywick/ui/AccessSettingsSection.h>
#include <tallywick/ui/HostSettingsSection.h>
#include <tallywick/ui/LoginItemCommandsDialog.h>
#include <tallywick/ui/NewAccountSettingsSection.h>
#include <tallywick/ui/SettingsPaneView.h>
#include <tallywick/ui/SettingsToggle.h>
#include <tallywick/ui/StyledLabel.h>

#include "PaneShots.h"
#include "RecordsWindow.h"

using namespace tallywick;
using namespace tallywick::testing;

namespace {

const bool kSystemd = !QStandardPaths::findExecutable("systemctl").isEmpty();

// The login item's files live in a scratch home: systemctl and the item
// read the XDG folders from the environment, and no user manager listens.
class ScratchHome {
public:
    ScratchHome() {
        for (const char* folder : {"data", "config", "run"})
            std::filesystem::create_directories(path(folder));
        std::filesystem::permissions(path("run"), std::filesystem::perms::owner_all);
        for (const auto& [variable, folder] : kFolders) {
            saved_.emplace_back(variable, qgetenv(variable));
            qputenv(variable, QByteArray::fromStdString(path(folder)));
        }
    }
    ~ScratchHome() {
        for (const auto& [variable, value] : saved_)
            value.isNull() ? qunsetenv(variable) : qputenv(variable, value);
    }

    std::string path(const std::string& name) const {
        return folder_.filePath(QString::fromStdString(name)).toStdString();
    }

    // The item of the host that `socket` belongs to.
    RegistrationController::LoginItemFactory item(const std::string& socket) const {
        const LoginItemSetup setup{.hostIdentifier = buildIdentity().hostIdentifier,
                                   .hostPath = TALLYWICK_HOST_PATH,
                                   .endpoint = socket,
                                   .dataHome = path("data"),
                                   .configHome = path("config")};
        return [setup] { return LoginItem::standard(setup); };
    }
    std::string unit() const { return buildIdentity().hostIdentifier + ".service"; }
    std::string itemFile() const {
        return kSystemd ? path("data/systemd/user/" + unit())
                        : path("config/autostart/" + buildIdentity().hostIdentifier + ".desktop");
    }

    // Turns the item off as the user would.
    bool block() const {
        if (kSystemd) {
            return QProcess::execute("systemctl", {"--user", "mask", QString::fromStdString(unit())}) == 0;
        }
        std::filesystem::create_directories(path("config/autostart"));
        std::ofstream(itemFile()) << "[Desktop Entry]\nType=Application\nName=Tallywick host\nExec="
                                  << TALLYWICK_HOST_PATH << "\nHidden=true\n";
        return true;
    }

private:
    static constexpr std::pair<const char*, const char*> kFolders[] = {
        {"XDG_DATA_HOME", "data"}, {"XDG_CONFIG_HOME", "config"}, {"XDG_RUNTIME_DIR", "run"}};
    QTemporaryDir folder_;
    std::vector<std::pair<const char*, QByteArray>> saved_;
};

SettingsPaneView& settingsTab(RecordsWindow& w) {
    w.find<QTabWidget>("rootView")->setCurrentIndex(2);
    return *w.find<SettingsPaneView>("settingsPaneView");
}

QString grouped(std::int64_t value) {
    return QLocale().toString(static_cast<qlonglong>(value));
}

}  // namespace

class SettingsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates)); }

    void statusAndVersionBeforeTheFirstSnapshotAndAfterRegistering() {
        ScratchHome home;
        RecordsWindow w;
        QVERIFY(w.open(false));
        SettingsPaneView& tab = settingsTab(w);
        QVERIFY(tab.access().toggle().isChecked());
        QCOMPARE(tab.newAccounts().field().text(), QString("50,000"));
        QCOMPARE(tab.host().status().text(), QString("Offline"));
        QCOMPARE(tab.host().status().textColor(),
                 AppStyle::foreground(tab.palette(), AppStyle::Foreground::secondary));
        QCOMPARE(tab.host().version().text(), QString::fromUtf8("\u2014"));

        // The host comes up and is met by itself; registering finds it running.
        SettingsPaneView own(w.model(), home.item(w.host().socketPath()));
        own.show();
        QVERIFY(w.host().start());
        QTRY_COMPARE_WITH_TIMEOUT(tab.host().status().text(), QString("Connected"), kPatience);
        own.host().registerButton().click();
        QVERIFY(std::filesystem::exists(home.itemFile()));
        QCOMPARE(home.item(w.host().socketPath())()->status(), LoginItemStatus::enabled);
        QVERIFY(!own.host().commandsDialog());
        QCOMPARE(tab.host().status().textColor(), AppStyle::connectedColor(tab.palette()));
        QVERIFY(!w.model().hostVersion().empty());
        QCOMPARE(tab.host().version().text(), QString::fromStdString(w.model().hostVersion()));

        // Pressed again with the item in place, it writes it again and opens nothing.
        std::filesystem::remove(home.itemFile());
        own.host().registerButton().click();
        QVERIFY(std::filesystem::exists(home.itemFile()));
        QCOMPARE(home.item(w.host().socketPath())()->status(), LoginItemStatus::enabled);
        QVERIFY(!own.host().commandsDialog());
        QCOMPARE(own.host().status().text(), QString("Connected"));
    }

    void blockedLoginItemIsLeftToTheUserWithTheWayBack() {
        ScratchHome home;
        RecordsWindow w;
        QVERIFY(w.open());
        SettingsPaneView own(w.model(), home.item(w.host().socketPath()));
        own.show();
        QVERIFY(home.block());
        own.host().registerButton().click();
        QCOMPARE(home.item(w.host().socketPath())()->status(), LoginItemStatus::requiresApproval);

        bool settingsAvailable = false;
        for (const char* program : {"systemsettings", "kcmshell6", "gnome-tweaks"})
            settingsAvailable |= !QStandardPaths::findExecutable(program).isEmpty();
        if (settingsAvailable) {
            QVERIFY(!own.host().commandsDialog());
            return;
        }
        LoginItemCommandsDialog* dialog = own.host().commandsDialog();
        QVERIFY(dialog);
        QVERIFY(QTest::qWaitForWindowExposed(dialog));
        const QString unit = QString::fromStdString(home.unit());
        const QStringList expected =
            kSystemd ? QStringList{"systemctl --user unmask " + unit, "systemctl --user enable " + unit,
                                   "systemctl --user start " + unit}
                     : QStringList{"sed -i -e '/^Hidden=/d' -e '/^X-GNOME-Autostart-enabled=/d' " +
                                   QString::fromStdString(home.itemFile())};
        QCOMPARE(dialog->commands(), expected);
        QVERIFY(saveShot(*dialog, "login-item-commands"));
        // A second press while it is open opens no second one.
        own.host().registerButton().click();
        QCOMPARE(own.findChildren<LoginItemCommandsDialog*>().size(), 1);
        dialog->reject();
        QTRY_VERIFY(!own.host().commandsDialog());
        QCOMPARE(own.host().status().text(), QString("Connected"));
    }

    void toggleAsksTheHostAndMovesWithTheRefresh() {
        RecordsWindow w;
        QVERIFY(w.open());
        SettingsPaneView& pane = settingsTab(w);
        SettingsToggle& toggle = pane.access().toggle();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        ControlSession host(w.host().socketPath());
        const bool before = host.snapshot()->settings.allowUnauthenticated;
        QCOMPARE(toggle.isChecked(), before);

        QTest::mouseClick(&toggle, Qt::LeftButton, {}, toggle.switchRect().center());
        QCOMPARE(toggle.isChecked(), before);
        QTRY_COMPARE_WITH_TIMEOUT(toggle.isChecked(), !before, kPatience);
        QCOMPARE(host.snapshot()->settings.allowUnauthenticated, !before);

        toggle.setFocus();
        QTest::keyClick(&toggle, Qt::Key_Space);
        QCOMPARE(toggle.isChecked(), !before);
        QTRY_COMPARE_WITH_TIMEOUT(toggle.isChecked(), before, kPatience);
        QCOMPARE(host.snapshot()->settings.allowUnauthenticated, before);
    }

    void startingPointsCommitWholeNumbersOnReturnAndOnLeaving() {
        RecordsWindow w;
        QVERIFY(w.open());
        SettingsPaneView& pane = settingsTab(w);
        w.window().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&w.window()));
        QLineEdit& field = pane.newAccounts().field();
        QCOMPARE(field.width(), NewAccountSettingsSection::fieldWidth);
        QVERIFY(field.alignment() & Qt::AlignRight);
        ControlSession host(w.host().socketPath());
        const auto hostPoints = [&] { return host.snapshot()->settings.startingPoints; };
        QCOMPARE(field.text(), grouped(hostPoints()));

        // Return sends it; the field shows the host's value once the refresh brings it.
        const QString before = field.text();
        RecordsWindow::typeInto(&field, "1,234");
        QTest::keyClick(&field, Qt::Key_Return);
        QCOMPARE(field.text(), before);
        QTRY_COMPARE_WITH_TIMEOUT(field.text(), QString("1,234"), kPatience);
        QCOMPARE(hostPoints(), 1234);

        RecordsWindow::typeInto(&field, "-10");
        QTest::keyClick(&field, Qt::Key_Return);
        QTRY_COMPARE_WITH_TIMEOUT(field.text(), QString("0"), kPatience);
        QCOMPARE(hostPoints(), 0);

        // Not a whole number: the last value read comes back and nothing is sent.
        for (const QString typed : {"12ab", "1.5", "", "99999999999999999999"}) {
            RecordsWindow::typeInto(&field, typed);
            QTest::keyClick(&field, Qt::Key_Return);
            QCOMPARE(field.text(), QString("0"));
        }
        QVERIFY(w.settle());
        QCOMPARE(hostPoints(), 0);

        // Leaving the field commits as well.
        RecordsWindow::typeInto(&field, "2500");
        pane.access().toggle().setFocus();
        QVERIFY(!field.hasFocus());
        QTRY_COMPARE_WITH_TIMEOUT(field.text(), QString("2,500"), kPatience);
        QCOMPARE(hostPoints(), 2500);

        // Grouping follows the locale, both ways.
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        NewAccountSettingsSection german(w.model());
        german.show();
        QCOMPARE(german.field().text(), QString("2.500"));
        RecordsWindow::typeInto(&german.field(), "7.500");
        QTest::keyClick(&german.field(), Qt::Key_Return);
        QTRY_COMPARE_WITH_TIMEOUT(german.field().text(), QString("7.500"), kPatience);
        QCOMPARE(hostPoints(), 7500);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }

    void screenshotsInLightAndDark() {
        RecordsWindow w;
        QVERIFY(w.open());
        settingsTab(w);
        w.window().resize(MainWindow::defaultSize);
        const QPalette light = QApplication::style()->standardPalette();
        for (const auto& [scheme, palette] :
             {std::pair{QString("light"), light}, std::pair{QString("dark"), AppStyle::darkPalette()}}) {
            QApplication::setPalette(palette);
            QVERIFY(saveShot(w.window(), "settings-" + scheme));
        }
        QApplication::setPalette(light);
    }
};

QTEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
