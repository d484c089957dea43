#include "LinuxDesktopSessionProbe.h"

#include "DesktopSession.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QThread>

#include <canberra.h>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace {

const QString trayWatcherService = u"org.kde.StatusNotifierWatcher"_s;
const QString trayWatcherPath = u"/StatusNotifierWatcher"_s;
const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString propertiesInterface = u"org.freedesktop.DBus.Properties"_s;

// Reads one property without waiting; `answer` gets the value, or an invalid one for no answer.
void getProperty(const QDBusConnection& bus, const QString& service, const QString& path,
                 const QString& interface, const QString& name, QObject* context,
                 std::function<void(const QVariant&)> answer)
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, propertiesInterface, u"Get"_s);
    call << interface << name;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [answer = std::move(answer)](QDBusPendingCallWatcher* finished) {
                         const QDBusPendingReply<QDBusVariant> reply = *finished;
                         answer(reply.isValid() ? reply.value().variant() : QVariant());
                         finished->deleteLater();
                     });
}

} // namespace

DesktopSessionReport::Session LinuxDesktopSessionProbe::session(const QProcessEnvironment& environment)
{
    switch (desktopSessionType(environment)) {
    case DesktopSessionType::x11:
        return DesktopSessionReport::Session::x11;
    case DesktopSessionType::wayland:
        return DesktopSessionReport::Session::wayland;
    case DesktopSessionType::none:
        break;
    }
    return DesktopSessionReport::Session::none;
}

bool LinuxDesktopSessionProbe::canberraContextOpens()
{
    ca_context* context = nullptr;
    if (ca_context_create(&context) != CA_SUCCESS)
        return false;
    // The sound server only, as the copy sound plays there.
    ca_context_set_driver(context, "pulse");
    const bool opened = ca_context_open(context) == CA_SUCCESS;
    ca_context_destroy(context);
    return opened;
}

bool LinuxDesktopSessionProbe::x11TrayManagerPresent()
{
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    bool present = false;
    if (!xcb_connection_has_error(connection)) {
        const QByteArray name = "_NET_SYSTEM_TRAY_S" + QByteArray::number(screenNumber);
        xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(
            connection, xcb_intern_atom(connection, 1, quint16(name.size()), name.constData()), nullptr);
        if (atom && atom->atom != XCB_ATOM_NONE) {
            xcb_get_selection_owner_reply_t* owner = xcb_get_selection_owner_reply(
                connection, xcb_get_selection_owner(connection, atom->atom), nullptr);
            present = owner && owner->owner != XCB_WINDOW_NONE;
            free(owner);
        }
        free(atom);
    }
    xcb_disconnect(connection);
    return present;
}

LinuxDesktopSessionProbe::LinuxDesktopSessionProbe(Configuration configuration, QObject* parent)
    : DesktopSessionProbing(parent), m_configuration(std::move(configuration))
{
    m_report.session = session(m_configuration.environment);
    m_report.currentDesktop = m_configuration.environment.value(u"XDG_CURRENT_DESKTOP"_s);
    m_report.hotKeyFacility = m_configuration.hotKeyFacility;
    if (!m_configuration.soundServerProbe)
        m_configuration.soundServerProbe = &canberraContextOpens;
    if (!m_configuration.x11TrayProbe) {
        const bool x11 = m_report.session == DesktopSessionReport::Session::x11;
        m_configuration.x11TrayProbe = x11 ? &x11TrayManagerPresent : [] { return false; };
    }
    if (m_configuration.bus.isConnected()) {
        // A bar started after Velmora, or one that quits, changes the answer.
        auto* watcher = new QDBusServiceWatcher(trayWatcherService, m_configuration.bus,
                                                QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &LinuxDesktopSessionProbe::askTrayHost);
        for (const QString& signal : {u"StatusNotifierHostRegistered"_s, u"StatusNotifierHostUnregistered"_s})
            m_configuration.bus.connect(trayWatcherService, trayWatcherPath, trayWatcherService, signal, this,
                                        SLOT(askTrayHost()));
    }
    refresh();
}

void LinuxDesktopSessionProbe::refresh()
{
    askTrayHost();
    askPortalVersion();
    probeSoundServer();
}

void LinuxDesktopSessionProbe::setTriggerDescription(const QString& description)
{
    update([&](DesktopSessionReport& report) { report.triggerDescription = description; });
}

void LinuxDesktopSessionProbe::askTrayHost()
{
    const bool x11Tray = m_configuration.x11TrayProbe();
    if (!m_configuration.bus.isConnected()) {
        update([&](DesktopSessionReport& report) { report.hasTrayHost = x11Tray; });
        return;
    }
    getProperty(m_configuration.bus, trayWatcherService, trayWatcherPath, trayWatcherService,
                u"IsStatusNotifierHostRegistered"_s, this, [this, x11Tray](const QVariant& value) {
                    m_statusNotifierHost = value.toBool();
                    update([&](DesktopSessionReport& report) { report.hasTrayHost = x11Tray || m_statusNotifierHost; });
                });
}

void LinuxDesktopSessionProbe::askPortalVersion()
{
    if (m_report.hotKeyFacility != DesktopSessionReport::HotKeyFacility::portal || !m_configuration.bus.isConnected())
        return;
    getProperty(m_configuration.bus, portalService, u"/org/freedesktop/portal/desktop"_s,
                u"org.freedesktop.portal.GlobalShortcuts"_s, u"version"_s, this, [this](const QVariant& value) {
                    if (value.isValid())
                        update([&](DesktopSessionReport& report) { report.portalVersion = value.toUInt(); });
                });
}

void LinuxDesktopSessionProbe::probeSoundServer()
{
    if (std::exchange(m_soundProbeRunning, true))
        return;
    auto answered = std::make_shared<bool>(false);
    QThread* thread = QThread::create([answered, probe = m_configuration.soundServerProbe] { *answered = probe(); });
    // Both hops land on the main thread; the answer is dropped if this probe is gone by then.
    connect(thread, &QThread::finished, this, [this, answered] {
        m_soundProbeRunning = false;
        update([&](DesktopSessionReport& report) { report.hasSoundServer = *answered; });
    });
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    thread->start();
}

void LinuxDesktopSessionProbe::update(const std::function<void(DesktopSessionReport&)>& change)
{
    DesktopSessionReport changed = m_report;
    change(changed);
    if (changed == m_report)
        return;
    m_report = std::move(changed);
    Q_EMIT reportChanged();
}
