#include "WelcomeGuideController.h"

#include "AppLanguageStore.h"
#include "AppNotifications.h"
#include "FirstRunChecklistStore.h"
#include "PromptStore.h"

#include <QEvent>
#include <QFutureWatcher>
#include <QWidget>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString windowTitle(AppLanguage language)
{
    return L10n::text(u"first.welcome.window.title"_s, language);
}

} // namespace

WelcomeGuideController::WelcomeGuideController(AppLanguageStore& languageStore, FirstRunChecklistStore& firstRun,
                                               AppNotifications& notifications, MakeView makeView,
                                               AuxiliaryWindow::Activate activate, QObject* parent)
    : QObject(parent), m_languageStore(languageStore), m_firstRun(firstRun), m_notifications(notifications),
      m_makeView(std::move(makeView)), m_activate(std::move(activate))
{
    connect(&m_notifications, &AppNotifications::velmoraRequestOpenWelcomeGuide, this,
            &WelcomeGuideController::openWelcomeGuide);
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, [this] {
        QMetaObject::invokeMethod(this, [this] {
            if (m_window)
                m_window->setWindowTitle(windowTitle(m_languageStore.effectiveLanguage()));
        }, Qt::QueuedConnection);
    });
}

WelcomeGuideController::~WelcomeGuideController()
{
    delete m_window.data();
}

void WelcomeGuideController::decideAtLaunch(PromptStore& promptStore)
{
    auto* watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcher<void>::finished, this, [this, watcher, store = &promptStore] {
        watcher->deleteLater();
        const QList<PromptWorkspace>& workspaces = store->workspaces();
        const bool hasPersistedWorkspace =
            std::any_of(workspaces.cbegin(), workspaces.cend(), [](const PromptWorkspace& workspace) {
                return workspace.source == PromptWorkspaceSource::userWorkspace && workspace.fileURL.has_value();
            });
        m_firstRun.prepareWelcomeForLaunch(hasPersistedWorkspace);
        if (m_firstRun.shouldPresentWelcome())
            presentWelcomeGuide();
    });
    watcher->setFuture(promptStore.reloadAndWait());
}

void WelcomeGuideController::presentWelcomeGuide()
{
    if (!m_window) {
        FirstRunWelcomeView::Actions actions;
        actions.onCreateWorkspace = [this] {
            finishWelcomeGuide([this] { m_notifications.post(u"velmoraRequestOpenWorkspaceManager"_s); });
        };
        actions.onOpenPanel = [this] {
            finishWelcomeGuide([this] { m_notifications.post(u"velmoraRequestOpenFromMenu"_s); });
        };
        actions.onDismiss = [this] { finishWelcomeGuide(nullptr); };
        m_window = m_makeView(std::move(actions));
        m_window->setObjectName(u"welcomeWindow"_s);
        AuxiliaryWindow::prepare(m_window, windowTitle(m_languageStore.effectiveLanguage()), false);
        m_window->installEventFilter(this);
    }
    AuxiliaryWindow::present(m_window, m_activate);
}

void WelcomeGuideController::openWelcomeGuide()
{
    m_firstRun.requestWelcome();
    presentWelcomeGuide();
}

void WelcomeGuideController::finishWelcomeGuide(const std::function<void()>& then)
{
    m_firstRun.completeWelcome();
    if (m_window)
        m_window->close();
    if (then)
        then();
}

bool WelcomeGuideController::eventFilter(QObject* watched, QEvent* event)
{
    // The window's close button finishes the guide as its buttons do.
    if (watched == m_window && event->type() == QEvent::Close)
        m_firstRun.completeWelcome();
    return QObject::eventFilter(watched, event);
}
