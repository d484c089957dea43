#include "HotKeyService.h"

#include "AppLog.h"

#include <QMetaObject>
#include <QPointer>

#include <limits>

using namespace Qt::StringLiterals;

HotKeyService::HotKeyService(HotKeyRegistering* registrar, bool installsEventHandler, QObject* parent)
    : QObject(parent), m_registrar(registrar), m_installsEventHandler(installsEventHandler)
{
    if (m_installsEventHandler)
        installEventHandler();
}

HotKeyService::~HotKeyService()
{
    stop();
}

void HotKeyService::installEventHandler()
{
    if (m_eventHandler)
        return;
    QPointer<HotKeyService> weakService(this);
    // The handler may run on any thread: it reads the id and nothing else, and the queued hop
    // orders the press behind every registration already made on the main thread.
    auto handler = [weakService](HotKeyID hotKeyID) {
        if (hotKeyID.signature != signature)
            return;
        HotKeyService* service = weakService.data();
        if (!service)
            return;
        QMetaObject::invokeMethod(
            service,
            [weakService, id = hotKeyID.id] {
                if (weakService)
                    weakService->handleHotKeyEvent(id, id);
            },
            Qt::QueuedConnection);
    };
    HotKeyHandlerReference reference = 0;
    m_eventHandlerStatus = m_registrar->installEventHandler(std::move(handler), reference);
    if (m_eventHandlerStatus == 0)
        m_eventHandler = reference;
}

void HotKeyService::invalidateRegistration()
{
    ++m_registrationGeneration; // wraps
    m_activeGeneration.reset();
    m_activeEventID.reset();
    m_isRunning = false;
    m_callback = nullptr;
}

qint32 HotKeyService::registerHotKey(const PromptKeyboardShortcut& shortcut, Callback onPressed)
{
    if (m_installsEventHandler && !m_eventHandler)
        installEventHandler();
    if (m_eventHandlerStatus != 0)
        return m_eventHandlerStatus;

    invalidateRegistration();
    // Free the old key first, so that the new registration can't collide with it.
    if (m_hotKeyRef) {
        m_registrar->unregisterHotKey(*m_hotKeyRef);
        m_hotKeyRef.reset();
    }

    const quint32 next =
        m_registrationGeneration == std::numeric_limits<quint32>::max() ? 1 : m_registrationGeneration + 1;
    m_registrationGeneration = next;

    HotKeyReference reference = 0;
    const qint32 status = m_registrar->registerHotKey(shortcut, HotKeyID{signature, next}, reference);
    if (status != 0)
        return status;

    m_hotKeyRef = reference;
    m_callback = std::move(onPressed);
    m_activeGeneration = next;
    m_activeEventID = next;
    m_isRunning = true;
    return 0;
}

void HotKeyService::stop()
{
    invalidateRegistration();
    if (m_hotKeyRef) {
        m_registrar->unregisterHotKey(*m_hotKeyRef);
        m_hotKeyRef.reset();
    }
    if (m_eventHandler) {
        m_registrar->removeEventHandler(*m_eventHandler);
        m_eventHandler.reset();
    }
}

void HotKeyService::handleHotKeyEvent(quint32 id, quint64 generation)
{
    if (!m_isRunning || m_activeEventID != id || m_activeGeneration != generation)
        return;
    // A copy: the callback may register another shortcut, which replaces m_callback.
    const Callback callback = m_callback;
    if (callback)
        callback();
}

void HotKeyService::suspendForRecording()
{
    if (m_recordingSuspensions++ == 0)
        m_registrar->suspendGrabs();
}

qint32 HotKeyService::resumeAfterRecording()
{
    if (m_recordingSuspensions == 0 || --m_recordingSuspensions > 0)
        return 0;
    const qint32 status = m_registrar->resumeGrabs();
    if (status != 0)
        AppLog::ui(u"Resume hot key after recording failed code=%1"_s.arg(status));
    return status;
}
