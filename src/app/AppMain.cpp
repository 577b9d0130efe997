#include <tallywick/AppMain.h>

#include <QApplication>
#include <cstring>

#include <tallywick/RegistrationController.h>
#include <tallywick/ServiceIdentity.h>
#include <tallywick/TallywickApp.h>
#include <tallywick/TallywickVersion.h>

namespace tallywick {

int appMain(int argc, char** argv, const MainWindow::RootViewFactory& rootView) {
    for (int i = 0; i < argc; ++i) {
        if (argv[i] && std::strcmp(argv[i], registerAndExitSwitch) == 0) {
            return RegistrationController::runHeadless();
        }
    }

    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tallywick"));
    QApplication::setApplicationVersion(QString::fromUtf8(
        TallywickVersion::marketing.data(), static_cast<qsizetype>(TallywickVersion::marketing.size())));
    // Lets a Wayland compositor match the window to the desktop entry.
    QGuiApplication::setDesktopFileName(QString::fromStdString(buildIdentity().appIdentifier));

    TallywickApp app(rootView);
    app.openWindow();
    return QApplication::exec();
}

}  // namespace tallywick
