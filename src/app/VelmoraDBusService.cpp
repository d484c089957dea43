#include "VelmoraDBusService.h"

#include "AppLog.h"
#include "ContextDetector.h"
#include "PromptStore.h"
#include "StatusVelmoraController.h"
#include "VelmoraRuntime.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFutureWatcher>
#include <QVariantMap>

using namespace Qt::StringLiterals;

VelmoraDBusService::VelmoraDBusService(VelmoraRuntime& runtime, QObject* parent)
    : QObject(parent), m_runtime(runtime)
{
    connect(&m_runtime.promptStore(), &PromptStore::statusMessageChanged, this,
            [this] { announce({u"StatusMessage"_s}); });
}

bool VelmoraDBusService::askRunningInstanceToShow()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(QString::fromLatin1(serviceName)))
        return false;
    QDBusMessage show =
        QDBusMessage::createMethodCall(QString::fromLatin1(serviceName), QString::fromLatin1(objectPath),
                                       QString::fromLatin1(interfaceName), u"ShowPanel"_s);
    show.setAutoStartService(false);
    bus.call(show, QDBus::Block, 5000);
    return true;
}

bool VelmoraDBusService::registerOnSessionBus()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        AppLog::ui(u"Connect session bus failed code=%1"_s.arg(int(bus.lastError().type())));
        return true;
    }
    if (!bus.registerService(QString::fromLatin1(serviceName)))
        return false;
    bus.registerObject(QString::fromLatin1(objectPath), this,
                       QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportAllProperties);
    m_registered = true;
    return true;
}

void VelmoraDBusService::setController(StatusVelmoraController* controller)
{
    m_controller = controller;
    connect(controller, &StatusVelmoraController::panelStateChanged, this, [this] { announce({u"PanelState"_s}); });
    connect(controller, &StatusVelmoraController::statusModelChanged, this,
            [this] { announce({u"Title"_s, u"PromptCount"_s}); });
}

QString VelmoraDBusService::panelState() const
{
    return m_controller ? m_controller->panelState() : u"hidden"_s;
}

QString VelmoraDBusService::statusMessage() const
{
    return m_runtime.promptStore().statusMessage();
}

QString VelmoraDBusService::title() const
{
    return m_controller ? m_controller->statusModel().title : QString();
}

int VelmoraDBusService::promptCount() const
{
    return m_controller ? int(std::max<qint64>(m_controller->statusModel().count, 0)) : 0;
}

void VelmoraDBusService::TogglePanel()
{
    if (m_controller)
        m_controller->togglePanel();
}

void VelmoraDBusService::ShowPanel()
{
    if (m_controller)
        m_controller->showPanel();
}

void VelmoraDBusService::HidePanel()
{
    if (m_controller)
        m_controller->closePanel();
}

QString VelmoraDBusService::Reload()
{
    PromptStore& store = m_runtime.promptStore();
    QFuture<void> reloaded = store.reloadAndWait();
    m_runtime.contextDetector().refresh(true);
    if (!calledFromDBus())
        return store.statusMessage();
    setDelayedReply(true);
    auto* watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcher<void>::finished, this,
            [this, watcher, reply = message().createReply(), bus = connection()]() mutable {
                watcher->deleteLater();
                reply << m_runtime.promptStore().statusMessage();
                bus.send(reply);
            });
    watcher->setFuture(reloaded);
    return {};
}

void VelmoraDBusService::announce(const QStringList& properties)
{
    if (!m_registered)
        return;
    QVariantMap changed;
    for (const QString& name : properties)
        changed.insert(name, property(name.toLatin1().constData()));
    QDBusMessage signal = QDBusMessage::createSignal(QString::fromLatin1(objectPath),
                                                     u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s);
    signal << QString::fromLatin1(interfaceName) << changed << QStringList();
    QDBusConnection::sessionBus().send(signal);
}
