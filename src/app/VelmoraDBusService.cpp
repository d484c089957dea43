#include "VelmoraDBusService.h"

#include "ContextDetector.h"
#include "PromptStore.h"
#include "VelmoraRuntime.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

#include <cstdio>

using namespace Qt::StringLiterals;

VelmoraDBusService::VelmoraDBusService(VelmoraRuntime& runtime, QObject* parent)
    : QObject(parent), m_runtime(runtime)
{}

bool VelmoraDBusService::askRunningInstanceToShow()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface()->isServiceRegistered(QString::fromLatin1(serviceName)))
        return false;
    const QDBusMessage show =
        QDBusMessage::createMethodCall(QString::fromLatin1(serviceName), QString::fromLatin1(objectPath),
                                       QString::fromLatin1(interfaceName), u"Show"_s);
    bus.call(show, QDBus::Block, 2000);
    return true;
}

bool VelmoraDBusService::registerOnSessionBus()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        std::fprintf(stderr, "velmora: no session bus; running without single-instance control\n");
        return true;
    }
    if (!bus.registerService(QString::fromLatin1(serviceName)))
        return false;
    bus.registerObject(QString::fromLatin1(objectPath), this, QDBusConnection::ExportScriptableSlots);
    return true;
}

void VelmoraDBusService::Reload()
{
    m_runtime.promptStore().reload();
    m_runtime.contextDetector().refresh(true);
}
