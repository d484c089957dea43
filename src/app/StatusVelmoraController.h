// Owns the status item (the capsule window and the tray icon) and the one floating panel: decides when
// the panel opens and closes (click, hot key, hover, menu, requests), keeps its size and place in step
// with the content, keeps the status item's texts in step with the stores, and owns the toggle hot
// key's registration. Timers, the clock, the pointer, the screens and the window manager are given,
// so that all of this runs without a display. Main thread only.
#pragma once

#include "AgentContext.h"
#include "KeyboardShortcutModels.h"
#include "PromptPanelLayoutMode.h"
#include "StatusItemButton.h"
#include "StatusItemPresentation.h"
#include "VelmoraMorphState.h"

#include <QList>
#include <QPointer>
#include <QRectF>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

class AppLanguageStore;
class AppNotifications;
class ContextDetector;
class FloatingWindowServicing;
class HotKeyService;
class PromptActionService;
class PromptStore;
class QMenu;
class QSettings;
class QSystemTrayIcon;
class ShortcutSettingsStore;
class StatusItemCapsuleView;
class VelmoraHostingView;
class VelmoraMorphContainer;
class VelmoraPanel;

struct PromptPanelTransitionState {
    bool isClosing = false;
    qint64 generation = 0; // counts every open and close request

    bool operator==(const PromptPanelTransitionState&) const = default;
};

struct PromptPanelSearchQueryState {
    QString query;

    bool operator==(const PromptPanelSearchQueryState&) const = default;
};

// A screen as the placement sees it, in global coordinates that grow rightwards and downwards.
struct ScreenGeometry {
    QString name;
    QRectF frame;
    QRectF visibleFrame; // without the bars and docks

    bool operator==(const ScreenGeometry&) const = default;
};

// What the root view of the panel gets from the controller.
struct PanelRootViewContext {
    VelmoraMorphState* morphState = nullptr;
    std::function<void(const QString&)> onSearchQueryChange;
    std::function<void(PromptPanelLayoutMode)> onLayoutModeChange;
    // A menu or popup of the content opened or closed: while one is open the pointer counts as over
    // the panel, since the popup is a window of its own.
    std::function<void(bool)> onPopupVisibilityChange;
};

class StatusVelmoraController : public QObject {
    Q_OBJECT

public:
    using CancelWork = std::function<void()>;

    struct Dependencies {
        PromptStore* promptStore = nullptr;
        ContextDetector* contextDetector = nullptr;
        ShortcutSettingsStore* shortcutStore = nullptr;
        HotKeyService* hotKeyService = nullptr;
        AppLanguageStore* languageStore = nullptr;
        PromptActionService* promptActionService = nullptr;
        AppNotifications* notifications = nullptr;
        QSettings* defaults = nullptr;
    };

    // What the desktop provides; every member has a default on the running desktop (desktop()).
    struct Environment {
        // Runs `work` once after `seconds` on the main thread; the result cancels it.
        std::function<CancelWork(double seconds, std::function<void()> work)> schedule;
        std::function<double()> now; // seconds on a monotonic clock
        std::function<std::optional<QPointF>()> mouseLocation;
        std::function<QList<ScreenGeometry>()> screens; // the main screen first
        std::function<bool()> reduceMotion;
        // The server time of the last hot key press, 0 when unknown.
        std::function<quint32()> hotKeyPressTimestamp;
        std::function<QWidget*(const PanelRootViewContext&)> makeRootView;
        std::function<void()> terminate;
        // Not owned. Absent: focus goes by Qt alone.
        FloatingWindowServicing* windowSystem = nullptr;
        // Under XWayland the pointer stops where it left Velmora's windows: an unchanged position
        // since the last exit then counts as outside.
        bool pointerFreezesOutsideOwnWindows = false;
        bool showsTrayIcon = false;
    };

    static constexpr double statusItemLength = 38.0;
    static constexpr double panelWidth = 520.0;
    static constexpr double minimumPanelHeight = 480.0;
    static constexpr double maximumPanelHeight = 720.0;
    static constexpr double panelVerticalGap = 4.0;
    static constexpr double hoverOpenDelay = 0.42;
    static constexpr double hoverCloseGrace = 0.24;
    static constexpr double closeGuard = 0.6;
    static constexpr double frameRefreshDelay = 0.1;
    static constexpr auto panelLayoutModeKey = "Velmora.panelLayoutMode.v1";

    // Fills what `environment` leaves absent with the running desktop's own.
    static Environment desktop(Environment environment, QObject* context);

    StatusVelmoraController(const Dependencies& dependencies, Environment environment, QObject* parent = nullptr);
    ~StatusVelmoraController() override;

    // Start-up, in this order: the status item's presentation, the subscriptions and the hot key,
    // then the panel, made ahead of use.
    void refreshStatusItem();
    void bindVelmoraUpdates();
    void makePanelIfNeeded();

    void showPanel();
    void closePanel();
    void togglePanel();
    // The next open or close acts for the user's action at this server time (a press, a click).
    void setActivationTimestamp(quint32 timestamp) { m_activationTimestamp = timestamp; }

    // The capsule's action: the menu on a right-button release, the panel on any other.
    void statusButtonPressed(const StatusItemButton::Event& event);
    void mouseEntered();
    void mouseExited();
    void panelPointerEntered();
    void panelPointerExited();
    void scheduleHoverOpen();
    void scheduleGraceClose();
    void closePanelIfPointerLeftVelmora();
    void schedulePanelFrameRefresh();
    void syncExpandedPanelContext(const AgentContext& context);

    void registerCurrentToggleShortcut();
    void registerRequestedToggleShortcut(const PromptKeyboardShortcut& shortcut);

    struct StatusModel {
        QString title;
        qint64 count = 0;
        bool operator==(const StatusModel&) const = default;
    };
    StatusModel currentVelmoraModel() const;
    void configureStatusButton(const StatusItemPresentation& presentation);
    void showStatusMenu(const StatusItemPresentation& presentation);
    void perform(StatusItemMenuCommand command);

    QSizeF currentPanelSize() const;
    QRectF panelFrame() const;
    double maximumAvailablePanelHeight() const;
    QRectF statusItemScreenFrame() const;
    std::optional<ScreenGeometry> screenContaining(const QRectF& frame) const;
    // Places the capsule again: at the top centre of the screen it is on (at first, the pointer's).
    void placeStatusItem();

    // "hidden", "open" or "closing".
    QString panelState() const;
    const StatusModel& statusModel() const { return m_statusModel; }

    VelmoraMorphState& morphState() { return m_morphState; }
    StatusItemButton* statusButton() const { return m_statusButton.get(); }
    StatusItemCapsuleView* statusCapsuleView() const { return m_statusCapsuleView; }
    VelmoraPanel* panel() const { return m_panel.get(); }
    VelmoraHostingView* hostingView() const { return m_hostingView; }
    QMenu* statusMenu() const;
    QSystemTrayIcon* trayIcon() const;
    const PromptPanelTransitionState& panelTransitionState() const { return m_panelTransitionState; }
    const PromptPanelSearchQueryState& panelSearchQueryState() const { return m_panelSearchQueryState; }
    PromptPanelLayoutMode panelLayoutMode() const { return m_panelLayoutMode; }
    bool isPointerOverStatusItem() const { return m_isPointerOverStatusItem; }
    bool isPointerOverPanel() const { return m_isPointerOverPanel; }
    std::optional<double> lastOpenedAt() const { return m_lastOpenedAt; }

Q_SIGNALS:
    void panelStateChanged();
    void statusModelChanged();

private Q_SLOTS:
    // The stores' change signals: the status item follows once per turn; the store also resizes.
    void promptStoreChanged();
    void contextDetectorChanged();

private:
    qint32 registerToggle(const PromptKeyboardShortcut& shortcut);
    QWidget* makePromptPanelView();
    void warmUpPanel();
    void prepareHiddenPanel();
    void fillStatusMenu(QMenu* menu, const StatusItemPresentation& presentation);
    void makeTrayIcon();
    std::optional<QPointF> mouseLocation() const;
    void notePointerLeft();
    bool pointerIsOverStatusItem() const;
    ScreenGeometry panelScreen(bool& found) const;
    quint32 takeActivationTimestamp();
    void givePanelFocus();
    void applyPanelShape();
    void applyStatusButtonShape();
    void resetMorphForHiddenPanel();
    void setPanelFrame();
    static void cancelAndClear(CancelWork& item);
    // Calls the method while this controller exists; for callbacks kept by others.
    std::function<void()> weakly(void (StatusVelmoraController::*method)());

    PromptStore& m_promptStore;
    ContextDetector& m_contextDetector;
    ShortcutSettingsStore& m_shortcutStore;
    HotKeyService& m_hotKeyService;
    AppLanguageStore& m_languageStore;
    PromptActionService& m_promptActionService;
    AppNotifications& m_notifications;
    Environment m_environment;

    std::unique_ptr<StatusItemButton> m_statusButton;
    QPointer<QSystemTrayIcon> m_trayIcon;
    std::unique_ptr<QMenu> m_trayMenu;
    VelmoraMorphState m_morphState;
    StatusItemCapsuleView* m_statusCapsuleView = nullptr;
    std::unique_ptr<VelmoraPanel> m_panel;
    VelmoraHostingView* m_hostingView = nullptr;
    QPointer<VelmoraMorphContainer> m_morphContainer;
    QPointer<QMenu> m_statusMenu;
    QList<QMetaObject::Connection> m_cancellables;
    std::optional<double> m_lastOpenedAt;
    PromptPanelTransitionState m_panelTransitionState;
    bool m_isPointerOverStatusItem = false;
    bool m_isPointerOverPanel = false;
    bool m_isPopupOpen = false;
    CancelWork m_scheduledOpenWorkItem;
    CancelWork m_scheduledCloseWorkItem;
    CancelWork m_scheduledFrameWorkItem;
    PromptPanelSearchQueryState m_panelSearchQueryState;
    PromptPanelLayoutMode m_panelLayoutMode = PromptPanelLayoutMode::grid;

    StatusModel m_statusModel{QString(), -1};
    std::optional<QString> m_statusScreenName; // the screen the capsule was placed on
    std::optional<QPointF> m_pointerAtLastExit;
    std::optional<quint32> m_activationTimestamp;
    quint64 m_previousActiveWindow = 0; // had the focus before the panel took it
    bool m_statusItemRefreshPending = false;
    bool m_frameRefreshRequested = false;
};
