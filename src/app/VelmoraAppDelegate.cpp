#include "VelmoraAppDelegate.h"

#include "AppLanguageStore.h"
#include "AppUpdateController.h"
#include "ContextDetector.h"
#include "HotKeyService.h"
#include "LaunchAtLoginController.h"
#include "Localization.h"
#include "PromptStore.h"
#include "VelmoraRuntime.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

VelmoraAppDelegate::VelmoraAppDelegate(VelmoraRuntime& runtime, QObject* parent)
    : QObject(parent), m_runtime(runtime)
{}

VelmoraAppDelegate::~VelmoraAppDelegate()
{
    delete m_menu;
}

void VelmoraAppDelegate::applicationDidFinishLaunching()
{
    // The login item may have been changed in the desktop's settings meanwhile.
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            m_runtime.launchAtLoginController().refresh();
    });

    m_menu = new QMenu;
    m_reloadAction = m_menu->addAction(QString());
    connect(m_reloadAction, &QAction::triggered, this, &VelmoraAppDelegate::reloadLibrary);
    m_checkUpdatesAction = m_menu->addAction(QString());
    connect(m_checkUpdatesAction, &QAction::triggered, this,
            [this] { m_runtime.appUpdateController().checkForUpdates(); });
    m_menu->addSeparator();
    m_quitAction = m_menu->addAction(QString());
    m_quitAction->setShortcut(QKeySequence(u"Ctrl+Q"_s));
    connect(m_quitAction, &QAction::triggered, qApp, &QApplication::quit);
    retitle();

    // The texts follow the interface language; the library reloads because samples and status
    // texts are localised when they are loaded.
    connect(&m_runtime.languageStore(), &AppLanguageStore::selectionChanged, this, [this] {
        retitle();
        m_runtime.promptStore().reload();
    });

    m_trayIcon = new QSystemTrayIcon(QIcon(u":/icons/velmora.svg"_s), this);
    m_trayIcon->setContextMenu(m_menu);
    if (QSystemTrayIcon::isSystemTrayAvailable())
        m_trayIcon->show();

    m_runtime.appUpdateController().startAutomaticChecksIfConfigured();
}

void VelmoraAppDelegate::applicationWillTerminate()
{
    m_runtime.contextDetector().stop();
    m_runtime.hotKeyService().stop();
    if (m_trayIcon)
        m_trayIcon->hide();
}

void VelmoraAppDelegate::reloadLibrary()
{
    m_runtime.promptStore().reload();
    m_runtime.contextDetector().refresh(true);
}

void VelmoraAppDelegate::retitle()
{
    const AppLanguage language = m_runtime.languageStore().effectiveLanguage();
    const auto& catalog = AppLocalizationCatalog::shared();
    m_reloadAction->setText(catalog.string(u"action.reload.config"_s, language));
    m_checkUpdatesAction->setText(catalog.string(u"action.check.updates"_s, language) + u"…"_s);
    m_quitAction->setText(catalog.string(u"action.quit"_s, language));
    if (m_trayIcon)
        m_trayIcon->setToolTip(catalog.string(u"product.name"_s, language));
}
