// Velmora on the session bus as app.velmora.Velmora: one running copy per session, reachable by
// velmora-cli and by a second start.
#pragma once

#include <QObject>

class VelmoraRuntime;

class VelmoraDBusService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.velmora.Velmora1")

public:
    static constexpr auto serviceName = "app.velmora.Velmora";
    static constexpr auto objectPath = "/app/velmora/Velmora";
    static constexpr auto interfaceName = "app.velmora.Velmora1";

    explicit VelmoraDBusService(VelmoraRuntime& runtime, QObject* parent = nullptr);

    // True when a copy already runs on this session's bus; it was asked to show its panel.
    static bool askRunningInstanceToShow();
    // False only when another copy holds the name. Without a session bus Velmora runs alone.
    bool registerOnSessionBus();

public Q_SLOTS:
    Q_SCRIPTABLE void Reload();

private:
    VelmoraRuntime& m_runtime;
};
