// Velmora on the session bus as app.velmora.Velmora: one running copy per session, reachable by
// velmora-cli, a desktop shortcut and a second start. The panel can be toggled, shown and hidden, the
// library reloaded; the panel's state and the status item's texts are properties that announce their
// changes. Nothing activates Velmora by a call: a call reaches only a copy that is running.
#pragma once

#include <QDBusContext>
#include <QObject>
#include <QPointer>

class StatusVelmoraController;
class VelmoraRuntime;

class VelmoraDBusService : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.velmora.Velmora1")
    Q_PROPERTY(QString PanelState READ panelState)
    Q_PROPERTY(QString StatusMessage READ statusMessage)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(int PromptCount READ promptCount)

public:
    static constexpr auto serviceName = "app.velmora.Velmora";
    static constexpr auto objectPath = "/app/velmora/Velmora";
    static constexpr auto interfaceName = "app.velmora.Velmora1";

    explicit VelmoraDBusService(VelmoraRuntime& runtime, QObject* parent = nullptr);

    // True when a copy already runs on this session's bus; it was asked to show its panel.
    static bool askRunningInstanceToShow();
    // False only when another copy holds the name. Without a session bus Velmora runs alone, and
    // says so once in the log.
    bool registerOnSessionBus();
    // The panel's controller, once start-up has made it; calls before then change nothing.
    void setController(StatusVelmoraController* controller);

    QString panelState() const;
    QString statusMessage() const;
    QString title() const;
    int promptCount() const;

public Q_SLOTS:
    Q_SCRIPTABLE void TogglePanel();
    Q_SCRIPTABLE void ShowPanel();
    // As a close by any other means: a panel that a sheet holds stays open.
    Q_SCRIPTABLE void HidePanel();
    // Reloads the library and detects the context again; replies when the reload has been published,
    // with the status message it left.
    Q_SCRIPTABLE QString Reload();

private:
    void announce(const QStringList& properties);

    VelmoraRuntime& m_runtime;
    QPointer<StatusVelmoraController> m_controller;
    bool m_registered = false;
};
