#include "StatusVelmoraController.h"

#include "AppLanguageStore.h"
#include "AppNotifications.h"
#include "ContextDetector.h"
#include "FloatingWindowServicing.h"
#include "HotKeyService.h"
#include "PanelRenderSnapshotBuilder.h"
#include "Preferences.h"
#include "PromptStore.h"
#include "ShortcutSettingsStore.h"
#include "StatusItemCapsuleView.h"
#include "VelmoraHostingView.h"
#include "VelmoraMorphContainer.h"
#include "VelmoraMorphMask.h"
#include "VelmoraPanel.h"

#include <QApplication>
#include <QCoreApplication>
#include <QCursor>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QImage>
#include <QMenu>
#include <QMetaMethod>
#include <QScreen>
#include <QSettings>
#include <QSystemTrayIcon>
#include <QTimer>

#include <chrono>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

const QString capsuleRole = u"velmora-capsule"_s;
const QString panelRole = u"velmora-panel"_s;

// The shape of the pointer's gap and edges that still count as over the panel, in points.
constexpr double areaSideMargin = 20.0;
constexpr double areaTopMargin = 12.0;
constexpr double areaBottomMargin = 32.0;

// Every signal of `sender`'s own class calls `slot` of `receiver`.
void connectAllSignals(QObject* sender, const QMetaObject& type, QObject* receiver, const char* slot,
                       QList<QMetaObject::Connection>& connections)
{
    const QMetaMethod target = receiver->metaObject()->method(receiver->metaObject()->indexOfSlot(slot));
    for (int index = type.methodOffset(); index < type.methodCount(); ++index) {
        const QMetaMethod method = type.method(index);
        if (method.methodType() == QMetaMethod::Signal)
            connections.append(QObject::connect(sender, method, receiver, target));
    }
}

} // namespace

StatusVelmoraController::Environment StatusVelmoraController::desktop(Environment environment, QObject* context)
{
    if (!environment.schedule) {
        environment.schedule = [context](double seconds, std::function<void()> work) -> CancelWork {
            auto* timer = new QTimer(context);
            timer->setSingleShot(true);
            timer->setTimerType(Qt::PreciseTimer);
            QObject::connect(timer, &QTimer::timeout, context, [timer, work = std::move(work)] {
                timer->deleteLater();
                work();
            });
            timer->start(int(std::lround(seconds * 1000.0)));
            return [guard = QPointer<QTimer>(timer)] {
                if (guard) {
                    guard->stop();
                    guard->deleteLater();
                }
            };
        };
    }
    if (!environment.now) {
        environment.now = [] {
            using namespace std::chrono;
            return duration<double>(steady_clock::now().time_since_epoch()).count();
        };
    }
    if (!environment.mouseLocation)
        environment.mouseLocation = []() -> std::optional<QPointF> { return QPointF(QCursor::pos()); };
    if (!environment.screens) {
        environment.screens = [] {
            QList<ScreenGeometry> screens;
            const QScreen* primary = QGuiApplication::primaryScreen();
            const auto all = QGuiApplication::screens();
            for (const QScreen* screen : all) {
                const ScreenGeometry geometry{screen->name(), QRectF(screen->geometry()),
                                              QRectF(screen->availableGeometry())};
                if (screen == primary)
                    screens.prepend(geometry);
                else
                    screens.append(geometry);
            }
            return screens;
        };
    }
    if (!environment.reduceMotion)
        environment.reduceMotion = [] { return false; };
    if (!environment.hotKeyPressTimestamp)
        environment.hotKeyPressTimestamp = [] { return quint32(0); };
    if (!environment.terminate)
        environment.terminate = [] { QCoreApplication::quit(); };
    return environment;
}

StatusVelmoraController::StatusVelmoraController(const Dependencies& dependencies, Environment environment,
                                                 QObject* parent)
    : QObject(parent), m_promptStore(*dependencies.promptStore), m_contextDetector(*dependencies.contextDetector),
      m_shortcutStore(*dependencies.shortcutStore), m_hotKeyService(*dependencies.hotKeyService),
      m_languageStore(*dependencies.languageStore), m_promptActionService(*dependencies.promptActionService),
      m_notifications(*dependencies.notifications), m_environment(desktop(std::move(environment), this)),
      m_morphState([this](double seconds, std::function<void()> work) {
          m_environment.schedule(seconds, std::move(work));
      })
{
    if (dependencies.defaults) {
        m_panelLayoutMode = promptPanelLayoutModeFromStored(
            Preferences::string(*dependencies.defaults, QString::fromLatin1(panelLayoutModeKey)).value_or(QString()));
    }
    m_statusButton = std::make_unique<StatusItemButton>();
    m_statusButton->action = [this](const StatusItemButton::Event& event) { statusButtonPressed(event); };
    if (m_environment.showsTrayIcon) {
        makeTrayIcon();
        // A tray that appears later (a bar started after Velmora) gets the icon then.
        auto* watcher = new QDBusServiceWatcher(u"org.kde.StatusNotifierWatcher"_s, QDBusConnection::sessionBus(),
                                                QDBusServiceWatcher::WatchForRegistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &StatusVelmoraController::makeTrayIcon);
    }
}

StatusVelmoraController::~StatusVelmoraController()
{
    for (const auto& connection : std::as_const(m_cancellables))
        disconnect(connection);
    cancelAndClear(m_scheduledOpenWorkItem);
    cancelAndClear(m_scheduledCloseWorkItem);
    cancelAndClear(m_scheduledFrameWorkItem);
    delete m_statusMenu;
    delete m_trayIcon;
}

QMenu* StatusVelmoraController::statusMenu() const
{
    return m_statusMenu;
}

QSystemTrayIcon* StatusVelmoraController::trayIcon() const
{
    return m_trayIcon;
}

std::function<void()> StatusVelmoraController::weakly(void (StatusVelmoraController::*method)())
{
    return [self = QPointer<StatusVelmoraController>(this), method] {
        if (self)
            (self.data()->*method)();
    };
}

void StatusVelmoraController::cancelAndClear(CancelWork& item)
{
    if (item)
        item();
    item = {};
}

// --- The panel ---

QWidget* StatusVelmoraController::makePromptPanelView()
{
    PanelRootViewContext context;
    context.morphState = &m_morphState;
    QPointer<StatusVelmoraController> self(this);
    context.onSearchQueryChange = [self](const QString& text) {
        if (!self || text == self->m_panelSearchQueryState.query)
            return;
        self->m_panelSearchQueryState.query = text;
        self->schedulePanelFrameRefresh();
    };
    context.onLayoutModeChange = [self](PromptPanelLayoutMode mode) {
        if (!self || mode == self->m_panelLayoutMode)
            return;
        self->m_panelLayoutMode = mode;
        self->schedulePanelFrameRefresh();
    };
    context.onPopupVisibilityChange = [self](bool visible) {
        if (!self)
            return;
        self->m_isPopupOpen = visible;
        // Closing the popup re-tests where the pointer is.
        if (!visible)
            self->scheduleGraceClose();
    };
    QWidget* root = m_environment.makeRootView ? m_environment.makeRootView(context) : nullptr;
    if (!root)
        root = new VelmoraMorphContainer(m_morphState, nullptr, nullptr);
    m_morphContainer = qobject_cast<VelmoraMorphContainer*>(root);
    if (!m_morphContainer)
        m_morphContainer = root->findChild<VelmoraMorphContainer*>();
    if (m_morphContainer) {
        connect(m_morphContainer, &VelmoraMorphContainer::outlineChanged, this,
                &StatusVelmoraController::applyPanelShape);
    }
    return root;
}

void StatusVelmoraController::makePanelIfNeeded()
{
    if (m_panel)
        return;
    const QSizeF size = currentPanelSize();
    m_panel = std::make_unique<VelmoraPanel>();
    m_hostingView = new VelmoraHostingView(m_panel.get());
    m_hostingView->onPointerEntered = weakly(&StatusVelmoraController::panelPointerEntered);
    m_hostingView->onPointerExited = weakly(&StatusVelmoraController::panelPointerExited);
    m_hostingView->setRootView(makePromptPanelView());
    m_hostingView->setGeometry(0, 0, qRound(size.width()), qRound(size.height()));
    m_panel->resize(m_hostingView->size());
    // The native window exists from now on; showing only maps it.
    m_panel->winId();
    m_panel->setIgnoresMouseEvents(true);
    warmUpPanel();
}

void StatusVelmoraController::prepareHiddenPanel()
{
    if (!m_panel || m_panel->isVisible())
        return;
    // A hidden panel takes its next size now, so that the open lays nothing out; until the first
    // open it is drawn once offscreen at that size too.
    const QSize size = currentPanelSize().toSize();
    if (size == m_panel->size())
        return;
    m_hostingView->resize(size);
    m_panel->resize(size);
    if (!m_lastOpenedAt)
        warmUpPanel();
}

void StatusVelmoraController::warmUpPanel()
{
    if (!m_morphContainer)
        return;
    // One drawing of the open panel, offscreen, loads its fonts and fills its caches now rather than
    // at the first open, which then draws as fast as every later one.
    const VelmoraMorphContainer::Frame frame = m_morphContainer->frame();
    m_morphContainer->showFrame({1.0, 1.0, 0.0, 1.0, 0.0, 1.0});
    QImage image(m_hostingView->size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    m_hostingView->render(&image);
    m_morphContainer->showFrame(frame);
}

QSizeF StatusVelmoraController::currentPanelSize() const
{
    const AgentContext& context = m_contextDetector.currentContext();
    const PromptMatchingService matching = m_promptStore.matchingService();
    const PanelRenderSnapshot snapshot = PanelRenderSnapshotBuilder::make(
        m_promptStore, context, m_panelSearchQueryState.query, m_contextDetector.needsAutomationPermission(),
        [&matching](const AgentContext& value) { return matching.matchDetails(value); });
    const double prompts = std::max<double>(double(snapshot.visiblePrompts.size()), 1.0);
    const double sections = std::max<double>(double(snapshot.sections.size()), 1.0);
    const bool list = m_panelLayoutMode == PromptPanelLayoutMode::list;
    const double rows = list ? prompts : std::max(std::ceil(prompts / 3.0), 1.0);
    const double rowHeight = list ? 82.0 : 116.0;
    double height = 34.0 * sections + rowHeight * rows + 10.0 * (rows - 1.0) + 330.0;
    height = std::min(std::max(height, minimumPanelHeight), maximumAvailablePanelHeight());
    return QSizeF(panelWidth, height);
}

ScreenGeometry StatusVelmoraController::panelScreen(bool& found) const
{
    found = true;
    if (const auto screen = screenContaining(statusItemScreenFrame()))
        return *screen;
    const QList<ScreenGeometry> screens = m_environment.screens();
    if (m_statusScreenName) {
        for (const ScreenGeometry& screen : screens) {
            if (screen.name == *m_statusScreenName)
                return screen;
        }
    }
    if (!screens.isEmpty())
        return screens.first();
    found = false;
    return {};
}

double StatusVelmoraController::maximumAvailablePanelHeight() const
{
    bool found = false;
    const ScreenGeometry screen = panelScreen(found);
    if (!found)
        return maximumPanelHeight;
    return std::max(std::min(screen.visibleFrame.height() - 16.0, maximumPanelHeight), 300.0);
}

QRectF StatusVelmoraController::statusItemScreenFrame() const
{
    if (!m_statusButton || !m_statusButton->isVisible())
        return {};
    return QRectF(m_statusButton->geometry());
}

std::optional<ScreenGeometry> StatusVelmoraController::screenContaining(const QRectF& frame) const
{
    const auto screens = m_environment.screens();
    for (const ScreenGeometry& screen : screens) {
        if (screen.frame.intersects(frame) || screen.visibleFrame.intersects(frame))
            return screen;
    }
    return std::nullopt;
}

QRectF StatusVelmoraController::panelFrame() const
{
    const QSizeF size = currentPanelSize();
    const QRectF item = statusItemScreenFrame();
    bool found = false;
    const QRectF visible = panelScreen(found).visibleFrame;
    double x = item.center().x() - size.width() * 0.5;
    // An item left of the visible frame has no usable position: centre on the screen.
    if (x <= visible.left() + 1.0)
        x = visible.center().x() - size.width() * 0.5;
    x = std::min(std::max(x, visible.left() + 8.0), visible.right() - size.width() - 8.0);
    // Y grows downwards: the panel hangs under the item, kept 8 points inside the visible frame, the
    // top edge winning over the bottom one.
    double y = item.bottom() + panelVerticalGap;
    y = std::min(y, visible.bottom() - size.height() - 8.0);
    y = std::max(y, visible.top() + 8.0);
    return QRectF(x, y, size.width(), size.height());
}

void StatusVelmoraController::setPanelFrame()
{
    const QRect frame = panelFrame().toRect();
    m_hostingView->setGeometry(0, 0, frame.width(), frame.height());
    m_panel->setGeometry(frame);
}

void StatusVelmoraController::resetMorphForHiddenPanel()
{
    m_morphState.advanceTransitionGeneration();
    m_morphState.setExpanded(false);
    m_morphState.setContentVisible(false);
    m_morphState.setToolbarVisible(false);
}

QString StatusVelmoraController::panelState() const
{
    if (!m_panel || !m_panel->isVisible())
        return u"hidden"_s;
    return m_panelTransitionState.isClosing ? u"closing"_s : u"open"_s;
}

quint32 StatusVelmoraController::takeActivationTimestamp()
{
    const std::optional<quint32> pending = std::exchange(m_activationTimestamp, std::nullopt);
    if (pending && *pending != 0)
        return *pending;
    return m_environment.windowSystem ? m_environment.windowSystem->currentTimestamp() : 0;
}

void StatusVelmoraController::givePanelFocus()
{
    FloatingWindowServicing* windowSystem = m_environment.windowSystem;
    if (!windowSystem) {
        m_panel->activateWindow();
        return;
    }
    // Hidden and shown again before the X server reported the focus leaving, the panel is still
    // Qt's focus window: no focus change comes, so Qt would never make it active again.
    if (QGuiApplication::focusWindow() == m_panel->windowHandle() && QApplication::activeWindow() != m_panel.get())
        QApplication::setActiveWindow(m_panel.get());
    const quint64 panelWindow = quint64(m_panel->winId());
    const quint64 active = windowSystem->activeWindow();
    // Focus goes back at the close to whoever had it before the panel first took it.
    if (active != panelWindow)
        m_previousActiveWindow = active;
    windowSystem->activateWindow(panelWindow, takeActivationTimestamp(), active);
}

void StatusVelmoraController::showPanel()
{
    if (!m_statusButton)
        return;
    makePanelIfNeeded();
    if (!m_panel)
        return;
    cancelAndClear(m_scheduledOpenWorkItem);
    cancelAndClear(m_scheduledCloseWorkItem);
    m_isPointerOverStatusItem = pointerIsOverStatusItem();
    m_morphState.setPinnedContext(m_contextDetector.currentContext());
    ++m_panelTransitionState.generation;
    const bool wasClosing = std::exchange(m_panelTransitionState.isClosing, false);

    setPanelFrame();
    const bool wasVisible = m_panel->isVisible();
    if (!wasVisible) {
        resetMorphForHiddenPanel();
        if (m_environment.windowSystem)
            m_environment.windowSystem->prepareFloatingWindow(quint64(m_panel->winId()), panelRole);
        applyPanelShape();
        m_panel->show();
    }
    givePanelFocus();
    m_panel->setIgnoresMouseEvents(false);
    const bool reduceMotion = m_environment.reduceMotion();
    if (m_morphContainer)
        m_morphContainer->setAccessibilityReduceMotion(reduceMotion);
    m_morphState.open(reduceMotion);
    m_lastOpenedAt = m_environment.now();
    if (!wasVisible || wasClosing)
        Q_EMIT panelStateChanged();
}

void StatusVelmoraController::closePanel()
{
    if (!m_panel || !m_panel->isVisible() || m_panelTransitionState.isClosing ||
        m_morphState.isInteractionLocked()) {
        m_activationTimestamp.reset();
        return;
    }
    cancelAndClear(m_scheduledOpenWorkItem);
    cancelAndClear(m_scheduledCloseWorkItem);
    m_isPointerOverPanel = false;
    const qint64 generation = ++m_panelTransitionState.generation;
    m_panelTransitionState.isClosing = true;
    m_panel->setIgnoresMouseEvents(true);

    // A panel that holds the focus hands it back to the window that had it before.
    FloatingWindowServicing* windowSystem = m_environment.windowSystem;
    const quint64 panelWindow = quint64(m_panel->winId());
    const quint32 timestamp = takeActivationTimestamp();
    if (windowSystem && m_previousActiveWindow != 0 && windowSystem->activeWindow() == panelWindow)
        windowSystem->activateWindow(m_previousActiveWindow, timestamp, panelWindow);

    QPointer<StatusVelmoraController> self(this);
    m_morphState.close(m_environment.reduceMotion(), [self, generation] {
        if (!self || !self->m_panelTransitionState.isClosing || self->m_panelTransitionState.generation != generation)
            return;
        self->m_panelTransitionState.isClosing = false;
        self->m_panel->hide();
        self->resetMorphForHiddenPanel();
        self->m_morphState.setPinnedContext(std::nullopt);
        Q_EMIT self->panelStateChanged();
    });
    Q_EMIT panelStateChanged();
}

void StatusVelmoraController::togglePanel()
{
    if (m_panel && m_panel->isVisible() && !m_panelTransitionState.isClosing && !m_morphState.isInteractionLocked())
        closePanel();
    else
        showPanel();
}

void StatusVelmoraController::applyPanelShape()
{
    if (!m_panel)
        return;
    const bool blends = !m_environment.windowSystem || m_environment.windowSystem->hasCompositingManager();
    if (blends || !m_morphContainer) {
        if (!m_panel->mask().isEmpty())
            m_panel->clearMask();
        return;
    }
    m_panel->setMask(m_morphContainer->outlineRegion().translated(m_morphContainer->mapTo(m_panel.get(), QPoint())));
}

// --- The status item ---

void StatusVelmoraController::statusButtonPressed(const StatusItemButton::Event& event)
{
    if (event.type == StatusItemEventType::rightMouseUp) {
        const StatusModel model = currentVelmoraModel();
        showStatusMenu(StatusItemPresentation(model.title, model.count, m_languageStore.effectiveLanguage()));
        return;
    }
    setActivationTimestamp(event.timestamp);
    togglePanel();
}

std::optional<QPointF> StatusVelmoraController::mouseLocation() const
{
    const std::optional<QPointF> location = m_environment.mouseLocation();
    if (m_environment.pointerFreezesOutsideOwnWindows && location && m_pointerAtLastExit &&
        *location == *m_pointerAtLastExit)
        return std::nullopt;
    return location;
}

void StatusVelmoraController::notePointerLeft()
{
    m_pointerAtLastExit = m_environment.mouseLocation();
}

bool StatusVelmoraController::pointerIsOverStatusItem() const
{
    const std::optional<QPointF> location = mouseLocation();
    return location && statusItemScreenFrame().contains(*location);
}

void StatusVelmoraController::mouseEntered()
{
    m_isPointerOverStatusItem = true;
    if (m_statusCapsuleView)
        m_statusCapsuleView->setHovered(true);
    scheduleHoverOpen();
}

void StatusVelmoraController::mouseExited()
{
    m_isPointerOverStatusItem = false;
    notePointerLeft();
    if (m_statusCapsuleView)
        m_statusCapsuleView->setHovered(false);
    scheduleGraceClose();
}

void StatusVelmoraController::panelPointerEntered()
{
    m_isPointerOverPanel = true;
    cancelAndClear(m_scheduledCloseWorkItem);
}

void StatusVelmoraController::panelPointerExited()
{
    m_isPointerOverPanel = false;
    notePointerLeft();
    scheduleGraceClose();
}

void StatusVelmoraController::scheduleHoverOpen()
{
    cancelAndClear(m_scheduledCloseWorkItem);
    if (!m_shortcutStore.hoverOpenEnabled()) {
        cancelAndClear(m_scheduledOpenWorkItem);
        return;
    }
    if ((m_panel && m_panel->isVisible()) || m_panelTransitionState.isClosing)
        return;
    cancelAndClear(m_scheduledOpenWorkItem);
    QPointer<StatusVelmoraController> self(this);
    m_scheduledOpenWorkItem = m_environment.schedule(hoverOpenDelay, [self] {
        if (self && self->m_isPointerOverStatusItem && self->m_shortcutStore.hoverOpenEnabled() &&
            !(self->m_panel && self->m_panel->isVisible()) && !self->m_panelTransitionState.isClosing)
            self->showPanel();
    });
}

void StatusVelmoraController::scheduleGraceClose()
{
    cancelAndClear(m_scheduledCloseWorkItem);
    if (!m_panel || !m_panel->isVisible() || m_morphState.isInteractionLocked())
        return;
    m_scheduledCloseWorkItem =
        m_environment.schedule(hoverCloseGrace, weakly(&StatusVelmoraController::closePanelIfPointerLeftVelmora));
}

void StatusVelmoraController::closePanelIfPointerLeftVelmora()
{
    if (!m_panel || !m_panel->isVisible() || m_morphState.isInteractionLocked())
        return;
    // A panel just opened can't be closed by the pointer.
    if (m_lastOpenedAt && m_environment.now() - *m_lastOpenedAt < closeGuard) {
        scheduleGraceClose();
        return;
    }
    if (m_isPointerOverStatusItem || m_isPointerOverPanel || m_isPopupOpen)
        return;
    // The gap between capsule and panel, and the panel's edges, keep it open while the grace restarts.
    const QRectF frame(m_panel->geometry());
    const QRectF area(frame.x() - areaSideMargin, frame.y() - areaTopMargin, frame.width() + 2 * areaSideMargin,
                      frame.height() + areaTopMargin + areaBottomMargin);
    const std::optional<QPointF> location = mouseLocation();
    if (location && area.contains(*location)) {
        scheduleGraceClose();
        return;
    }
    closePanel();
}

void StatusVelmoraController::schedulePanelFrameRefresh()
{
    const auto applies = [this] {
        return m_panel && m_panel->isVisible() && m_morphState.isExpanded() && !m_panelTransitionState.isClosing;
    };
    if (!applies())
        return;
    cancelAndClear(m_scheduledFrameWorkItem);
    QPointer<StatusVelmoraController> self(this);
    m_scheduledFrameWorkItem = m_environment.schedule(frameRefreshDelay, [self, applies] {
        if (self && applies())
            self->setPanelFrame();
    });
}

void StatusVelmoraController::syncExpandedPanelContext(const AgentContext& context)
{
    if (!m_panel || !m_panel->isVisible() || !m_morphState.isExpanded() || m_morphState.isInteractionLocked() ||
        m_panelTransitionState.isClosing)
        return;
    m_morphState.setPinnedContext(context);
    schedulePanelFrameRefresh();
}

StatusVelmoraController::StatusModel StatusVelmoraController::currentVelmoraModel() const
{
    const AgentContext& context = m_contextDetector.currentContext();
    const PromptMatchingService matching = m_promptStore.matchingService();
    const ContextMatchDetails details = matching.matchDetails(context);
    StatusModel model;
    if (context.agent == AgentType::unknown) {
        model.title = u"Velmora"_s;
    } else {
        model.title = displayName(context.agent, m_languageStore.effectiveLanguage());
        if (details.workspace)
            model.title += u" · "_s + details.workspace->name;
    }
    model.count = m_promptStore.visiblePrompts(context, details, QString()).size();
    return model;
}

void StatusVelmoraController::refreshStatusItem()
{
    const StatusModel model = currentVelmoraModel();
    configureStatusButton(StatusItemPresentation(model.title, model.count, m_languageStore.effectiveLanguage()));
    if (model != m_statusModel) {
        m_statusModel = model;
        Q_EMIT statusModelChanged();
    }
}

void StatusVelmoraController::placeStatusItem()
{
    const QList<ScreenGeometry> screens = m_environment.screens();
    std::optional<ScreenGeometry> screen;
    for (const ScreenGeometry& each : screens) {
        if (m_statusScreenName && each.name == *m_statusScreenName)
            screen = each;
    }
    if (!screen) {
        const std::optional<QPointF> pointer = m_environment.mouseLocation();
        for (const ScreenGeometry& each : screens) {
            if (pointer && each.frame.contains(*pointer) && !screen)
                screen = each;
        }
    }
    if (!screen && !screens.isEmpty())
        screen = screens.first();
    if (!screen)
        return;
    m_statusScreenName = screen->name;
    const QSize size = StatusItemButton::defaultSize;
    const QRectF visible = screen->visibleFrame;
    // Under any top bar, never over it.
    m_statusButton->setGeometry(int(std::lround(visible.center().x() - size.width() / 2.0)), int(visible.top()),
                                size.width(), size.height());
}

void StatusVelmoraController::applyStatusButtonShape()
{
    const bool blends = !m_environment.windowSystem || m_environment.windowSystem->hasCompositingManager();
    if (blends || !m_statusCapsuleView)
        m_statusButton->clearMask();
    else
        m_statusButton->setMask(roundedRectRegion(m_statusCapsuleView->backgroundEffect().frame,
                                                  m_statusCapsuleView->backgroundEffect().cornerRadius));
}

void StatusVelmoraController::configureStatusButton(const StatusItemPresentation& presentation)
{
    if (!m_statusButton)
        return;
    m_statusButton->apply(presentation.buttonConfiguration);
    if (!m_statusCapsuleView) {
        m_statusCapsuleView = new StatusItemCapsuleView(m_statusButton->rect(), m_statusButton.get());
        m_statusCapsuleView->onPointerEntered = weakly(&StatusVelmoraController::mouseEntered);
        m_statusCapsuleView->onPointerExited = weakly(&StatusVelmoraController::mouseExited);
    }
    m_statusCapsuleView->setGeometry(m_statusButton->rect());
    if (m_trayIcon)
        m_trayIcon->setToolTip(presentation.accessibilityLabel);
    if (!m_statusButton->isVisible()) {
        placeStatusItem();
        if (m_environment.windowSystem)
            m_environment.windowSystem->prepareFloatingWindow(quint64(m_statusButton->winId()), capsuleRole);
        m_statusButton->show();
    }
    applyStatusButtonShape();
    if (pointerIsOverStatusItem()) {
        m_isPointerOverStatusItem = true;
        m_statusCapsuleView->setHovered(true);
        scheduleHoverOpen();
    } else {
        m_statusCapsuleView->setHovered(false);
    }
}

void StatusVelmoraController::fillStatusMenu(QMenu* menu, const StatusItemPresentation& presentation)
{
    menu->clear();
    for (const StatusItemMenuPresentation& item : presentation.menuItems) {
        if (item.beginsSection)
            menu->addSeparator();
        QAction* action = menu->addAction(item.title);
        if (!item.keyEquivalent.isEmpty())
            action->setShortcut(QKeySequence(u"Ctrl+"_s + item.keyEquivalent.toUpper()));
        const StatusItemMenuCommand command = item.command;
        connect(action, &QAction::triggered, this, [this, command] { perform(command); });
    }
}

void StatusVelmoraController::showStatusMenu(const StatusItemPresentation& presentation)
{
    delete m_statusMenu;
    m_statusMenu = new QMenu;
    m_statusMenu->setAttribute(Qt::WA_DeleteOnClose);
    fillStatusMenu(m_statusMenu, presentation);
    const QRect button = m_statusButton->geometry();
    m_statusMenu->popup(QPoint(button.center().x(), button.bottom() + 1));
}

void StatusVelmoraController::perform(StatusItemMenuCommand command)
{
    switch (command) {
    case StatusItemMenuCommand::open:
        showPanel();
        break;
    case StatusItemMenuCommand::manageWorkspaces:
        m_notifications.post(u"velmoraRequestOpenWorkspaceManager"_s);
        break;
    case StatusItemMenuCommand::settings:
        m_notifications.post(u"velmoraRequestOpenSettings"_s);
        break;
    case StatusItemMenuCommand::welcomeGuide:
        m_notifications.post(u"velmoraRequestOpenWelcomeGuide"_s);
        break;
    case StatusItemMenuCommand::reload:
        m_promptStore.reload();
        m_contextDetector.refresh(true);
        break;
    case StatusItemMenuCommand::quit:
        m_environment.terminate();
        break;
    }
}

void StatusVelmoraController::makeTrayIcon()
{
    delete m_trayIcon;
    m_trayIcon = new QSystemTrayIcon(QIcon(u":/icons/velmora.svg"_s), this);
    if (!m_trayMenu) {
        m_trayMenu = std::make_unique<QMenu>();
        // The menu is made afresh at each showing, in the language of the moment.
        connect(m_trayMenu.get(), &QMenu::aboutToShow, this, [this] {
            const StatusModel model = currentVelmoraModel();
            fillStatusMenu(m_trayMenu.get(),
                           StatusItemPresentation(model.title, model.count, m_languageStore.effectiveLanguage()));
        });
    }
    m_trayIcon->setContextMenu(m_trayMenu.get());
    connect(m_trayIcon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger)
            togglePanel();
    });
    m_trayIcon->setToolTip(StatusItemPresentation(QString(), m_statusModel.count,
                                                  m_languageStore.effectiveLanguage()).accessibilityLabel);
    m_trayIcon->show();
}

// --- Subscriptions and the hot key ---

void StatusVelmoraController::bindVelmoraUpdates()
{
    connectAllSignals(&m_promptStore, PromptStore::staticMetaObject, this, "promptStoreChanged()", m_cancellables);
    connectAllSignals(&m_contextDetector, ContextDetector::staticMetaObject, this, "contextDetectorChanged()",
                      m_cancellables);
    m_cancellables.append(connect(&m_contextDetector, &ContextDetector::currentContextChanged, this,
                                  [this] { syncExpandedPanelContext(m_contextDetector.currentContext()); }));
    m_cancellables.append(connect(&m_morphState, &VelmoraMorphState::isInteractionLockedChanged, this, [this](bool locked) {
        if (locked)
            cancelAndClear(m_scheduledCloseWorkItem);
        else if (m_panel && m_panel->isVisible())
            scheduleGraceClose();
    }));
    m_cancellables.append(connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, [this] {
        QMetaObject::invokeMethod(this, [this] {
            m_promptStore.reload();
            refreshStatusItem();
            if (m_hostingView)
                m_hostingView->setRootView(makePromptPanelView());
        }, Qt::QueuedConnection);
    }));
    m_cancellables.append(connect(&m_notifications, &AppNotifications::velmoraRequestClose, this,
                                  &StatusVelmoraController::closePanel));
    m_cancellables.append(connect(&m_notifications, &AppNotifications::velmoraRequestOpenFromMenu, this,
                                  &StatusVelmoraController::showPanel));
    registerCurrentToggleShortcut();
    m_cancellables.append(connect(&m_shortcutStore, &ShortcutSettingsStore::shortcutRequests, this,
                                  &StatusVelmoraController::registerRequestedToggleShortcut));
}

void StatusVelmoraController::promptStoreChanged()
{
    m_frameRefreshRequested = true;
    contextDetectorChanged();
}

void StatusVelmoraController::contextDetectorChanged()
{
    // Many fields may change in one turn; the status item is refreshed once, after them.
    if (std::exchange(m_statusItemRefreshPending, true))
        return;
    QMetaObject::invokeMethod(this, [this] {
        m_statusItemRefreshPending = false;
        refreshStatusItem();
        if (std::exchange(m_frameRefreshRequested, false))
            schedulePanelFrameRefresh();
        prepareHiddenPanel();
    }, Qt::QueuedConnection);
}

qint32 StatusVelmoraController::registerToggle(const PromptKeyboardShortcut& shortcut)
{
    QPointer<StatusVelmoraController> self(this);
    return m_hotKeyService.registerHotKey(shortcut, [self] {
        if (!self)
            return;
        self->setActivationTimestamp(self->m_environment.hotKeyPressTimestamp());
        self->togglePanel();
    });
}

void StatusVelmoraController::registerCurrentToggleShortcut()
{
    const PromptKeyboardShortcut shortcut = m_shortcutStore.togglePanelShortcut();
    const qint32 status = registerToggle(shortcut);
    m_shortcutStore.setHotKeyStatus(status == 0 ? HotKeyStatus::registered(shortcut)
                                                : HotKeyStatus::failed(shortcut, status));
}

void StatusVelmoraController::registerRequestedToggleShortcut(const PromptKeyboardShortcut& shortcut)
{
    const PromptKeyboardShortcut previous = m_shortcutStore.togglePanelShortcut();
    const qint32 status = registerToggle(shortcut);
    if (status == 0) {
        m_shortcutStore.setTogglePanelShortcut(shortcut);
        m_shortcutStore.save(shortcut);
        m_shortcutStore.setHotKeyStatus(HotKeyStatus::registered(shortcut));
        return;
    }
    // The old shortcut is tried again; only if that fails too is no hot key held.
    const qint32 restore = registerToggle(previous);
    m_shortcutStore.setHotKeyStatus(restore == 0 ? HotKeyStatus::failed(shortcut, status)
                                                 : HotKeyStatus::restoreFailed(status, restore));
}
