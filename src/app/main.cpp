// Velmora's entry: an application with no main window that stays running until Quit or a
// termination signal. A second start hands over to the running one and exits.
#include "AppLanguage.h"
#include "DesktopSession.h"
#include "Preferences.h"
#include "SignalWatcher.h"
#include "VelmoraAppDelegate.h"
#include "VelmoraDBusService.h"
#include "VelmoraAppearance.h"
#include "VelmoraRuntime.h"

#include <QApplication>
#include <QDir>
#include <QSettings>

using namespace Qt::StringLiterals;

int main(int argc, char* argv[])
{
    // On a Wayland desktop our windows go through XWayland, where placing the capsule and keeping the
    // panel above work; a choice the user made explicitly stands.
    if (desktopSessionType() == DesktopSessionType::wayland && qEnvironmentVariableIsSet("DISPLAY") &&
        !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
    QApplication application(argc, argv);
    QApplication::setOrganizationName(u"Velmora"_s);
    QApplication::setApplicationName(u"Velmora"_s);
    QApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));
    QApplication::setDesktopFileName(u"app.velmora.Velmora"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    // Velmora's windows are dark whatever the desktop's theme.
    QApplication::setStyle(u"Fusion"_s);
    QApplication::setPalette(VelmoraAppearance::dark());

    if (VelmoraDBusService::askRunningInstanceToShow())
        return 0;

    VelmoraRuntime runtime(QDir::homePath(), Preferences::openStandard());
    VelmoraAppDelegate delegate(runtime);
    VelmoraDBusService service(runtime);
    if (!service.registerOnSessionBus())
        return 0; // another copy won the race for the bus name

    SignalWatcher signals;
    QObject::connect(&signals, &SignalWatcher::terminationRequested, &application, &QApplication::quit);

    delegate.applicationDidFinishLaunching();
    service.setController(delegate.velmoraController());
    const int status = QApplication::exec();
    delegate.applicationWillTerminate();
    return status;
}
