// SPDX-License-Identifier: MIT
#include <tallywick/app/AppMain.h>

#include <QApplication>
#include <QDBusConnection>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <tallywick/app/AppTranslations.h>
#include <tallywick/app/DesktopColorScheme.h>
#include <tallywick/app/RegistrationController.h>
#include <tallywick/app/TallywickApp.h>
#include <tallywick/app/WindowInstance.h>
#include <tallywick/link/LogLine.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/model/TallywickVersion.h>

namespace tallywick {

int appMain(int argc, char** argv, const MainWindow::RootViewFactory& rootView,
            const DarkPaletteFactory& darkPalette) {
    for (int i = 0; i < argc; ++i) {
        if (argv[i] && std::strcmp(argv[i], registerAndExitSwitch) == 0) {
            return RegistrationController::runHeadless();
        }
        if (argv[i] && std::strcmp(argv[i], unregisterAndExitSwitch) == 0) {
            return RegistrationController::runUnregister();
        }
    }

    for (int i = 1; i < argc; ++i) {
        if (!argv[i]) continue;
        if (std::strcmp(argv[i], "--version") == 0) {
            std::printf("tallywick %.*s\n", static_cast<int>(TallywickVersion::displayString.size()),
                        TallywickVersion::displayString.data());
            return 0;
        }
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::printf(
                "Usage: tallywick [Qt options]\n"
                "       tallywick --register-and-exit | --unregister-and-exit | --version | --help\n"
                "\n"
                "The Tallywick desktop manager: every agent account with its ledger, live API\n"
                "traffic and the host's settings. It starts the host (tallywick-host, beside\n"
                "it) as a login item the first time it runs.\n"
                "\n"
                "  --register-and-exit  register the host's login item and exit: 0 registered,\n"
                "                       2 blocked by the user, 1 failed\n"
                "  --unregister-and-exit\n"
                "                       stop the host it started and remove the login item:\n"
                "                       0 nothing registered any more, 1 failed\n"
                "  --version            print the version and exit\n"
                "  --help               print this text and exit\n\n");
            std::fputs(runtimeDirectoryHelp(runtimeDirectoryPath()).c_str(), stdout);
            return 0;
        }
    }

    // Before Qt starts: a later start only passes its request on, and needs no display for that.
    const char* token = std::getenv("XDG_ACTIVATION_TOKEN");
    auto claim = WindowInstance::claim(runtimeDirectoryPath(), token ? token : "");
    if (std::holds_alternative<WindowInstance::Raised>(claim)) return 0;
    if (const auto* unanswered = std::get_if<WindowInstance::Unanswered>(&claim)) {
        LogLine::write("tallywick: ", LogLine::Priority::error, unanswered->message);
        return 1;
    }
    if (const auto* unclaimed = std::get_if<WindowInstance::Unclaimed>(&claim))
        LogLine::write("tallywick: ", LogLine::Priority::warning, unclaimed->message);

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tallywick"));
    QApplication::setApplicationVersion(QString::fromUtf8(
        TallywickVersion::marketing.data(), static_cast<qsizetype>(TallywickVersion::marketing.size())));
    // Lets a Wayland compositor match the window to the desktop entry.
    QGuiApplication::setDesktopFileName(QString::fromStdString(buildIdentity().appIdentifier));
    AppTranslations::install();

    DesktopColorScheme colorScheme(QDBusConnection::sessionBus());
    if (darkPalette) followColorScheme(colorScheme, darkPalette());

    TallywickApp app(rootView);
    app.openWindow();
    app.notifyNewAccounts(QDBusConnection::sessionBus());
    std::unique_ptr<RaiseListener> raises;
    if (auto* first = std::get_if<WindowClaim>(&claim)) {
        raises = std::make_unique<RaiseListener>(std::move(*first));
        QObject::connect(raises.get(), &RaiseListener::raiseRequested, raises.get(),
                         [&app](const QString& activationToken) { app.raiseWindow(activationToken); });
    }
    return QApplication::exec();
}

}  // namespace tallywick
