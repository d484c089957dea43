#include "SettingsWindowController.h"

#include "AppLanguageStore.h"
#include "SettingsView.h"

SettingsWindowController::SettingsWindowController(AppLanguageStore& languageStore, MakeView makeView,
                                                   AuxiliaryWindow::Activate activate, QObject* parent)
    : QObject(parent), m_languageStore(languageStore), m_makeView(std::move(makeView)),
      m_activate(std::move(activate))
{
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, [this] {
        QMetaObject::invokeMethod(this, [this] {
            if (m_window)
                m_window->setWindowTitle(SettingsView::titleFor(m_languageStore.effectiveLanguage()));
        }, Qt::QueuedConnection);
    });
}

SettingsWindowController::~SettingsWindowController()
{
    delete m_window.data();
}

SettingsView* SettingsWindowController::settingsWindow() const
{
    return m_window;
}

void SettingsWindowController::openSettingsWindow()
{
    if (!m_window) {
        m_window = m_makeView();
        m_window->setObjectName(QStringLiteral("settingsWindow"));
        AuxiliaryWindow::prepare(m_window, SettingsView::titleFor(m_languageStore.effectiveLanguage()), true);
    }
    AuxiliaryWindow::present(m_window, m_activate);
}
