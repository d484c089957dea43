#include "VelmoraAppDelegate.h"

#include "AppNotifications.h"
#include "AppUpdateController.h"
#include "ContextDetector.h"
#include "DesktopSession.h"
#include "FileChoosing.h"
#include "FileDialogChooser.h"
#include "FileManagerReveal.h"
#include "HotKeyService.h"
#include "LinuxDesktopSessionProbe.h"
#include "LaunchAtLoginController.h"
#include "PromptEditorSheet.h"
#include "PromptImportSheet.h"
#include "PromptPanelPreferences.h"
#include "PromptPanelView.h"
#include "PromptStore.h"
#include "ReduceMotionSetting.h"
#include "SettingsWindowController.h"
#include "StatusVelmoraController.h"
#include "VelmoraRuntime.h"
#include "X11FloatingWindowService.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraMorphContainer.h"
#include "WorkspaceEditSheet.h"
#include "WorkspaceEditorSheet.h"
#include "VelmoraSheetHost.h"
#include "WelcomeGuideController.h"
#include "WorkspaceManagerWindowController.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDialog>
#include <QScreen>

VelmoraAppDelegate::VelmoraAppDelegate(VelmoraRuntime& runtime, QObject* parent)
    : QObject(parent), m_runtime(runtime)
{}

VelmoraAppDelegate::~VelmoraAppDelegate() = default;

void VelmoraAppDelegate::applicationDidFinishLaunching()
{
    // The login item may have been changed in the desktop's settings meanwhile.
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            m_runtime.launchAtLoginController().refresh();
    });

    m_windowSystem = X11FloatingWindowService::create();
    m_reduceMotion = std::make_unique<ReduceMotionSetting>(QDBusConnection::sessionBus());

    StatusVelmoraController::Dependencies dependencies;
    dependencies.promptStore = &m_runtime.promptStore();
    dependencies.contextDetector = &m_runtime.contextDetector();
    dependencies.shortcutStore = &m_runtime.shortcutStore();
    dependencies.hotKeyService = &m_runtime.hotKeyService();
    dependencies.languageStore = &m_runtime.languageStore();
    dependencies.promptActionService = &m_runtime.promptActionService();
    dependencies.notifications = &m_runtime.notifications();
    dependencies.defaults = &m_runtime.defaults();

    StatusVelmoraController::Environment environment;
    environment.windowSystem = m_windowSystem.get();
    environment.reduceMotion = [setting = m_reduceMotion.get()] { return setting->reduceMotion(); };
    environment.hotKeyPressTimestamp = [registrar = &m_runtime.hotKeyRegistrar()] {
        return registrar->lastPressTimestamp();
    };
    environment.makeRootView = [runtime = &m_runtime,
                                fileChooser = std::make_shared<FileDialogChooser>()](const PanelRootViewContext& context) -> QWidget* {
        PromptPanelView::Dependencies panel;
        panel.promptStore = &runtime->promptStore();
        panel.contextDetector = &runtime->contextDetector();
        panel.shortcutStore = &runtime->shortcutStore();
        panel.morphState = context.morphState;
        panel.languageStore = &runtime->languageStore();
        panel.promptActionService = &runtime->promptActionService();
        panel.copySoundPlayer = &runtime->copySoundPlayer();
        panel.firstRunChecklistStore = &runtime->firstRunChecklistStore();
        panel.variableValueStore = &runtime->variableValueStore();
        panel.hapticPerformer = &runtime->hapticPerformer();
        panel.preferences = &runtime->panelPreferences();

        PromptPanelView::Environment environment;
        PromptStore* store = &runtime->promptStore();
        PromptPanelPreferences* preferences = &runtime->panelPreferences();
        environment.sheets.promptEditor = [runtime, store, preferences](const PromptPanelView::PromptEditorRequest& request) {
            return new PromptEditorSheet(*store, {request.context, request.targetWorkspaceID, request.editingPrompt,
                                                  preferences->textSize(), &runtime->hotKeyService()});
        };
        environment.sheets.workspaceEditor = [store, preferences](const AgentContext& bindingContext) {
            return new WorkspaceEditorSheet(*store, bindingContext, preferences->textSize());
        };
        environment.sheets.workspaceEdit = [store, preferences](const PromptWorkspace& workspace) {
            return new WorkspaceEditSheet(*store, workspace, preferences->textSize());
        };
        environment.sheets.promptImporter = [runtime, store, preferences, fileChooser](
                                                const std::optional<QString>& initialWorkspaceID,
                                                const AgentContext& bindingContext) -> QWidget* {
            PromptImportSheet::Dependencies sheet;
            sheet.promptStore = store;
            sheet.languageStore = &runtime->languageStore();
            sheet.preferences = preferences;
            sheet.fileChooser = fileChooser.get();
            sheet.initialWorkspaceID = initialWorkspaceID;
            sheet.bindingContext = bindingContext;
            // The sheet goes through the host the panel puts it in.
            auto content = std::make_shared<QPointer<QWidget>>();
            auto* result = new PromptImportSheet(std::move(sheet), [content] {
                if (*content)
                    if (auto* host = qobject_cast<QDialog*>((*content)->window()); host && host != *content)
                        host->accept();
            });
            *content = result;
            return result;
        };
        environment.showInFileManager = &FileManagerReveal::reveal;

        auto* content = new PromptPanelView(panel, std::move(environment));
        content->onLayoutModeChange = context.onLayoutModeChange;
        content->onSearchQueryChange = context.onSearchQueryChange;
        AppNotifications* notifications = &runtime->notifications();
        connect(content, &PromptPanelView::closeRequested, notifications, &AppNotifications::velmoraRequestClose);
        connect(content, &PromptPanelView::openSettingsRequested, notifications,
                &AppNotifications::velmoraRequestOpenSettings);
        connect(content, &PromptPanelView::openWorkspaceManagerRequested, notifications,
                &AppNotifications::velmoraRequestOpenWorkspaceManager);
        connect(content, &PromptPanelView::popupVisibilityChanged, content, context.onPopupVisibilityChange);
        return new VelmoraMorphContainer(*context.morphState, content, content->toolbar());
    };
    environment.pointerFreezesOutsideOwnWindows = desktopSessionType() == DesktopSessionType::wayland;
    environment.showsTrayIcon = true;

    m_velmoraController = std::make_unique<StatusVelmoraController>(dependencies, environment);
    // A desktop that binds keys itself (the portal) answers after the registration: its answer is the
    // hot key's status.
    m_runtime.hotKeyRegistrar().setAnswerHandler([this](HotKeyID, qint32 status, const QString& trigger) {
        QMetaObject::invokeMethod(this, [this, status, trigger] {
            if (m_desktopProbe)
                m_desktopProbe->setTriggerDescription(trigger);
            ShortcutSettingsStore& store = m_runtime.shortcutStore();
            const PromptKeyboardShortcut shortcut = store.togglePanelShortcut();
            store.setHotKeyStatus(status == 0 ? HotKeyStatus::registered(shortcut)
                                              : HotKeyStatus::failed(shortcut, status));
        });
    });
    m_velmoraController->refreshStatusItem();
    m_velmoraController->bindVelmoraUpdates();
    m_velmoraController->makePanelIfNeeded();

    // The capsule stays at the top centre of its screen when screens or their work areas change.
    StatusVelmoraController* controller = m_velmoraController.get();
    const auto follow = [this, controller](QScreen* screen) {
        connect(screen, &QScreen::availableGeometryChanged, controller, &StatusVelmoraController::placeStatusItem);
        connect(screen, &QScreen::geometryChanged, controller, &StatusVelmoraController::placeStatusItem);
    };
    const auto screens = QGuiApplication::screens();
    for (QScreen* screen : screens)
        follow(screen);
    connect(qApp, &QGuiApplication::screenAdded, controller, [controller, follow](QScreen* screen) {
        follow(screen);
        controller->placeStatusItem();
    });
    connect(qApp, &QGuiApplication::screenRemoved, controller, [controller] {
        QMetaObject::invokeMethod(controller, &StatusVelmoraController::placeStatusItem, Qt::QueuedConnection);
    });

    makeAuxiliaryWindows();
    m_runtime.appUpdateController().startAutomaticChecksIfConfigured();
}

void VelmoraAppDelegate::applicationWillTerminate()
{
    m_runtime.contextDetector().stop();
    m_runtime.hotKeyService().stop();
}
