// The delegate's share of the settings window, the workspace manager and the welcome guide: what this desktop offers, the
// two windows over the runtime's stores, the requests that open them, and the launch task.
#include "VelmoraAppDelegate.h"

#include "AppNotifications.h"
#include "ContextDetector.h"
#include "FileDialogChooser.h"
#include "FileManagerReveal.h"
#include "FirstRunWelcomeView.h"
#include "LinuxDesktopSessionProbe.h"
#include "PortalHotKeyRegistrar.h"
#include "PromptPanelPreferences.h"
#include "SettingsView.h"
#include "SettingsWindowController.h"
#include "VelmoraRuntime.h"
#include "WelcomeGuideController.h"
#include "WorkspaceManagerView.h"
#include "WorkspaceManagerWindowController.h"
#include "X11FloatingWindowService.h"
#include "X11HotKeyRegistrar.h"

#include <QDBusConnection>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

DesktopSessionReport::HotKeyFacility facilityOf(HotKeyRegistering& registrar)
{
    if (dynamic_cast<X11HotKeyRegistrar*>(&registrar))
        return DesktopSessionReport::HotKeyFacility::x11Grab;
    if (dynamic_cast<PortalHotKeyRegistrar*>(&registrar))
        return DesktopSessionReport::HotKeyFacility::portal;
    return DesktopSessionReport::HotKeyFacility::none;
}

} // namespace

void VelmoraAppDelegate::makeAuxiliaryWindows()
{
    VelmoraRuntime& runtime = m_runtime;
    LinuxDesktopSessionProbe::Configuration probe;
    probe.hotKeyFacility = facilityOf(runtime.hotKeyRegistrar());
    probe.bus = QDBusConnection::sessionBus();
    m_desktopProbe = std::make_unique<LinuxDesktopSessionProbe>(probe);
    if (auto* portal = dynamic_cast<PortalHotKeyRegistrar*>(&runtime.hotKeyRegistrar()))
        m_desktopProbe->setTriggerDescription(portal->triggerDescription());

    // Window managers give the focus only to a request that carries the time of the user's action.
    const AuxiliaryWindow::Activate activate = [windows = m_windowSystem.get()](QWidget* window) {
        if (windows)
            windows->activateWindow(window->winId(), windows->currentTimestamp(), windows->activeWindow());
    };
    AppNotifications* notifications = &runtime.notifications();
    const auto makeSettings = [&runtime, notifications, desktop = m_desktopProbe.get()] {
        SettingsView::Dependencies dependencies{&runtime.promptStore(),
                                                &runtime.shortcutStore(),
                                                &runtime.firstRunChecklistStore(),
                                                &runtime.launchAtLoginController(),
                                                &runtime.appUpdateController(),
                                                &runtime.languageStore(),
                                                &runtime.panelPreferences(),
                                                &runtime.copySoundPlayer(),
                                                &runtime.variableValueStore(),
                                                &runtime.promptActionService(),
                                                &runtime.hotKeyService(),
                                                desktop,
                                                &runtime.contextDetector()};
        auto* view = new SettingsView(dependencies);
        connect(view, &SettingsView::openWelcomeGuideRequested, notifications,
                &AppNotifications::velmoraRequestOpenWelcomeGuide);
        connect(view, &SettingsView::openPanelRequested, notifications, &AppNotifications::velmoraRequestOpenFromMenu);
        connect(view, &SettingsView::openWorkspaceManagerRequested, notifications,
                [notifications] { notifications->post(u"velmoraRequestOpenWorkspaceManager"_s); });
        return view;
    };
    m_settingsWindow = std::make_unique<SettingsWindowController>(runtime.languageStore(), makeSettings, activate);
    connect(notifications, &AppNotifications::velmoraRequestOpenSettings, m_settingsWindow.get(),
            &SettingsWindowController::openSettingsWindow);

    m_managerFileChooser = std::make_unique<FileDialogChooser>();
    const auto makeManager = [&runtime, chooser = m_managerFileChooser.get()](
                                 const std::optional<QString>& initialWorkspaceID) {
        WorkspaceManagerView::Dependencies dependencies;
        dependencies.promptStore = &runtime.promptStore();
        dependencies.languageStore = &runtime.languageStore();
        dependencies.fileChooser = chooser;
        dependencies.interfaceTextSize = runtime.panelPreferences().textSize();
        dependencies.hotKeyService = &runtime.hotKeyService();
        dependencies.showInFileManager = &FileManagerReveal::reveal;
        return new WorkspaceManagerView(dependencies, initialWorkspaceID);
    };
    m_workspaceManagerWindow =
        std::make_unique<WorkspaceManagerWindowController>(runtime.languageStore(), makeManager, activate);
    connect(notifications, &AppNotifications::velmoraRequestOpenWorkspaceManager, m_workspaceManagerWindow.get(),
            &WorkspaceManagerWindowController::openWorkspaceManagerWindow);

    const auto makeWelcome = [&runtime, desktop = m_desktopProbe.get()](FirstRunWelcomeView::Actions actions) {
        return new FirstRunWelcomeView(runtime.shortcutStore(), runtime.languageStore(), runtime.panelPreferences(),
                                       desktop, std::move(actions));
    };
    m_welcomeGuide = std::make_unique<WelcomeGuideController>(
        runtime.languageStore(), runtime.firstRunChecklistStore(), *notifications, makeWelcome, activate);
    m_welcomeGuide->decideAtLaunch(runtime.promptStore());
}
