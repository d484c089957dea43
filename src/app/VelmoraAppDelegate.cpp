#include "VelmoraAppDelegate.h"

#include "AppLanguageStore.h"
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
    m_menu = new QMenu;
    m_reloadAction = m_menu->addAction(QString());
    connect(m_reloadAction, &QAction::triggered, this, &VelmoraAppDelegate::reloadLibrary);
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
    m_trayIcon->setToolTip(AppLocalizationCatalog::shared().string(
        u"product.name"_s, m_runtime.languageStore().effectiveLanguage()));
    if (QSystemTrayIcon::isSystemTrayAvailable())
        m_trayIcon->show();
}

void VelmoraAppDelegate::applicationWillTerminate()
{
    if (m_trayIcon)
        m_trayIcon->hide();
}

void VelmoraAppDelegate::reloadLibrary()
{
    m_runtime.promptStore().reload();
}

void VelmoraAppDelegate::retitle()
{
    const AppLanguage language = m_runtime.languageStore().effectiveLanguage();
    const auto& catalog = AppLocalizationCatalog::shared();
    m_reloadAction->setText(catalog.string(u"action.reload.config"_s, language));
    m_quitAction->setText(catalog.string(u"action.quit"_s, language));
}
