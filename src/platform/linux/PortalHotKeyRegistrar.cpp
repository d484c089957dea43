#include "PortalHotKeyRegistrar.h"

#include "AppLanguage.h"
#include "AppLog.h"
#include "PortalShortcut.h"
#include "X11KeyMapping.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QStringList>

#include <xkbcommon/xkbcommon.h>

#include <functional>
#include <map>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString globalShortcutsInterface = u"org.freedesktop.portal.GlobalShortcuts"_s;
const QString requestInterface = u"org.freedesktop.portal.Request"_s;
const QString sessionInterface = u"org.freedesktop.portal.Session"_s;
const char* const signalSlot = SLOT(handlePortalSignal(QDBusMessage));
constexpr int startTimeoutMs = 5000; // a portal that is not running yet is started by the first call

QString service()
{
    return QString::fromLatin1(PortalHotKeyRegistrar::serviceName);
}

QString toggleShortcutID()
{
    return QString::fromLatin1(PortalHotKeyRegistrar::shortcutID);
}

// The host registry's Register: from then on the portal knows this connection by the application id.
QDBusMessage introduction(const QString& applicationID)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(service(), u"/org/freedesktop/host/portal/Registry"_s,
                                       u"org.freedesktop.host.portal.Registry"_s, u"Register"_s);
    call << applicationID << QVariantMap();
    return call;
}

enum class Step { creatingSession, binding, bound, failed, waitingForPortal };

struct Binding {
    PromptKeyboardShortcut shortcut;
    HotKeyID id;
    Step step = Step::creatingSession;
    QString sessionPath = {}; // the portal session, once created
    QString requestPath = {}; // the request awaiting its Response
    QString triggerDescription = {};
};

// The toggle shortcut among those of an answer, if the desktop bound it.
std::optional<PortalShortcut> toggleShortcutIn(const QVariantMap& results)
{
    for (const PortalShortcut& shortcut : PortalShortcut::listFrom(results.value(u"shortcuts"_s))) {
        if (shortcut.id == toggleShortcutID())
            return shortcut;
    }
    return std::nullopt;
}

QString objectPathText(const QVariant& value)
{
    return value.userType() == qMetaTypeId<QDBusObjectPath>() ? value.value<QDBusObjectPath>().path()
                                                              : value.toString();
}

} // namespace

struct PortalHotKeyRegistrar::Private {
    PortalHotKeyRegistrar* owner = nullptr;
    QDBusConnection bus;
    QString applicationID;
    std::unique_ptr<QDBusServiceWatcher> watcher;
    bool portalPresent = false;

    std::map<HotKeyHandlerReference, PressHandler> handlers;
    std::map<HotKeyReference, Binding> bindings;
    AnswerHandler answerHandler;
    quint64 nextReference = 0;
    quint64 tokenCount = 0;
    quint32 lastPressTime = 0;
    QString lastTriggerDescription;

    explicit Private(const QDBusConnection& connection) : bus(connection) {}

    QString newToken() { return u"velmora_%1"_s.arg(++tokenCount); }
    Binding* find(HotKeyReference reference);
    std::optional<HotKeyReference> referenceWhere(const std::function<bool(const Binding&)>& matches) const;
    void subscribe(const QString& path, const QString& interface, const QString& member);
    void unsubscribe(const QString& path, const QString& interface, const QString& member);
    void request(HotKeyReference reference, const QString& method, QVariantList arguments);
    void createSession(HotKeyReference reference);
    void bind(HotKeyReference reference);
    // Stops listening to a request or session and, with `closeIt`, closes it on the portal's side.
    void release(QString& path, const QString& interface, const QString& member, bool closeIt);
    void dropRequest(Binding& binding, bool closeIt);
    void closeSession(Binding& binding, bool closeIt);
    void fail(HotKeyReference reference, qint32 status);
    void answer(HotKeyID id, qint32 status, const QString& triggerDescription) const;
    void handleResponse(const QDBusMessage& message);
    void handleActivated(const QDBusMessage& message);
    void handleShortcutsChanged(const QDBusMessage& message);
    void handleSessionClosed(const QDBusMessage& message);
    void handleOwnerChanged(const QString& oldOwner, const QString& newOwner);
    void bindWaiting();
};

Binding* PortalHotKeyRegistrar::Private::find(HotKeyReference reference)
{
    const auto found = bindings.find(reference);
    return found == bindings.end() ? nullptr : &found->second;
}

std::optional<HotKeyReference>
PortalHotKeyRegistrar::Private::referenceWhere(const std::function<bool(const Binding&)>& matches) const
{
    for (const auto& [reference, binding] : bindings) {
        if (matches(binding))
            return reference;
    }
    return std::nullopt;
}

void PortalHotKeyRegistrar::Private::subscribe(const QString& path, const QString& interface,
                                               const QString& member)
{
    bus.connect(service(), path, interface, member, owner, signalSlot);
}

void PortalHotKeyRegistrar::Private::unsubscribe(const QString& path, const QString& interface,
                                                 const QString& member)
{
    bus.disconnect(service(), path, interface, member, owner, signalSlot);
}

void PortalHotKeyRegistrar::Private::request(HotKeyReference reference, const QString& method,
                                             QVariantList arguments)
{
    // The portal names the request after our token; subscribing first means its Response can't
    // slip past us, however soon it comes.
    const QString token = newToken();
    QString sender = bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    const QString path = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token);
    subscribe(path, requestInterface, u"Response"_s);
    find(reference)->requestPath = path;

    QVariantMap options{{u"handle_token"_s, token}};
    if (method == u"CreateSession")
        options.insert(u"session_handle_token"_s, newToken());
    arguments.append(options);
    QDBusMessage call =
        QDBusMessage::createMethodCall(service(), portalPath, globalShortcutsInterface, method);
    call.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [this, reference, path](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<QDBusObjectPath> reply = *finished;
                         Binding* binding = find(reference);
                         if (!binding || binding->requestPath != path)
                             return; // given up meanwhile
                         if (reply.isError()) {
                             AppLog::ui(u"Portal hot key request failed code=%1"_s.arg(int(reply.error().type())));
                             fail(reference, HotKeyRegistrationStatus::refusedByDesktop);
                             return;
                         }
                         // Portals older than the token scheme choose the path themselves.
                         const QString given = reply.value().path();
                         if (given != path) {
                             unsubscribe(path, requestInterface, u"Response"_s);
                             subscribe(given, requestInterface, u"Response"_s);
                             binding->requestPath = given;
                         }
                     });
}

void PortalHotKeyRegistrar::Private::createSession(HotKeyReference reference)
{
    find(reference)->step = Step::creatingSession;
    request(reference, u"CreateSession"_s, {});
}

void PortalHotKeyRegistrar::Private::bind(HotKeyReference reference)
{
    Binding& binding = *find(reference);
    binding.step = Step::binding;
    QVariantMap options{{u"description"_s, L10n::text(u"linux.shortcut.portal.description"_s)}};
    const QString trigger = preferredTrigger(binding.shortcut);
    if (!trigger.isEmpty())
        options.insert(u"preferred_trigger"_s, trigger);
    const QList<PortalShortcut> shortcuts{{toggleShortcutID(), options}};
    request(reference, u"BindShortcuts"_s,
            {QVariant::fromValue(QDBusObjectPath(binding.sessionPath)), QVariant::fromValue(shortcuts),
             QString()}); // no parent window: the panel may not be open
}

void PortalHotKeyRegistrar::Private::release(QString& path, const QString& interface, const QString& member,
                                             bool closeIt)
{
    if (path.isEmpty())
        return;
    unsubscribe(path, interface, member);
    if (closeIt)
        bus.asyncCall(QDBusMessage::createMethodCall(service(), path, interface, u"Close"_s));
    path.clear();
}

void PortalHotKeyRegistrar::Private::dropRequest(Binding& binding, bool closeIt)
{
    release(binding.requestPath, requestInterface, u"Response"_s, closeIt);
}

void PortalHotKeyRegistrar::Private::closeSession(Binding& binding, bool closeIt)
{
    release(binding.sessionPath, sessionInterface, u"Closed"_s, closeIt);
}

void PortalHotKeyRegistrar::Private::fail(HotKeyReference reference, qint32 status)
{
    Binding& binding = *find(reference);
    dropRequest(binding, false);
    closeSession(binding, true);
    binding.step = Step::failed;
    binding.triggerDescription.clear();
    answer(binding.id, status, {});
}

void PortalHotKeyRegistrar::Private::answer(HotKeyID id, qint32 status,
                                            const QString& triggerDescription) const
{
    // A copy: the handler may register another shortcut, which may replace the handler.
    if (const AnswerHandler handler = answerHandler)
        handler(id, status, triggerDescription);
}

void PortalHotKeyRegistrar::Private::handleResponse(const QDBusMessage& message)
{
    const auto reference =
        referenceWhere([&](const Binding& binding) { return binding.requestPath == message.path(); });
    const QVariantList arguments = message.arguments();
    if (!reference || arguments.size() < 2)
        return;
    Binding& binding = *find(*reference);
    dropRequest(binding, false);
    const uint response = arguments.at(0).toUInt();
    const auto results = qdbus_cast<QVariantMap>(arguments.at(1));
    if (response != 0) {
        // 1: the user cancelled the desktop's dialog; 2: the desktop ended the request otherwise.
        fail(*reference, response == 1 ? HotKeyRegistrationStatus::cancelledByUser
                                       : HotKeyRegistrationStatus::refusedByDesktop);
        return;
    }
    if (binding.step == Step::creatingSession) {
        binding.sessionPath = objectPathText(results.value(u"session_handle"_s));
        if (binding.sessionPath.isEmpty()) {
            fail(*reference, HotKeyRegistrationStatus::refusedByDesktop);
            return;
        }
        subscribe(binding.sessionPath, sessionInterface, u"Closed"_s);
        bind(*reference);
        return;
    }
    const auto bound = toggleShortcutIn(results);
    if (!bound) {
        fail(*reference, HotKeyRegistrationStatus::refusedByDesktop);
        return;
    }
    binding.step = Step::bound;
    binding.triggerDescription = bound->options.value(u"trigger_description"_s).toString();
    lastTriggerDescription = binding.triggerDescription;
    answer(binding.id, 0, binding.triggerDescription);
}

void PortalHotKeyRegistrar::Private::handleActivated(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 3 || arguments.at(1).toString() != toggleShortcutID())
        return;
    const QString session = objectPathText(arguments.at(0));
    const auto reference = referenceWhere([&](const Binding& binding) {
        return binding.step == Step::bound && binding.sessionPath == session;
    });
    if (!reference)
        return; // a session given up: an older registration's press
    lastPressTime = quint32(arguments.at(2).toULongLong()); // milliseconds, wrapping as X11 times do
    const HotKeyID id = find(*reference)->id;
    // Copies: a handler may install or remove handlers.
    std::vector<PressHandler> current;
    for (const auto& [handlerReference, handler] : handlers)
        current.push_back(handler);
    for (const PressHandler& handler : current)
        handler(id);
}

void PortalHotKeyRegistrar::Private::handleShortcutsChanged(const QDBusMessage& message)
{
    const QVariantList arguments = message.arguments();
    if (arguments.size() < 2)
        return;
    const QString session = objectPathText(arguments.at(0));
    const auto reference = referenceWhere([&](const Binding& binding) {
        return binding.step == Step::bound && binding.sessionPath == session;
    });
    const auto changed = toggleShortcutIn({{u"shortcuts"_s, arguments.at(1)}});
    if (!reference || !changed)
        return;
    Binding& binding = *find(*reference);
    binding.triggerDescription = changed->options.value(u"trigger_description"_s).toString();
    lastTriggerDescription = binding.triggerDescription;
    answer(binding.id, 0, binding.triggerDescription);
}

void PortalHotKeyRegistrar::Private::handleSessionClosed(const QDBusMessage& message)
{
    const auto reference =
        referenceWhere([&](const Binding& binding) { return binding.sessionPath == message.path(); });
    if (!reference)
        return;
    closeSession(*find(*reference), false); // the desktop closed it: nothing left to close
    fail(*reference, HotKeyRegistrationStatus::refusedByDesktop);
}

void PortalHotKeyRegistrar::Private::handleOwnerChanged(const QString& oldOwner, const QString& newOwner)
{
    if (!oldOwner.isEmpty()) {
        // Sessions and requests went with the portal; what was asked for is asked again on its return.
        portalPresent = false;
        QList<HotKeyID> lost;
        for (auto& [reference, binding] : bindings) {
            if (binding.step == Step::failed || binding.step == Step::waitingForPortal)
                continue;
            dropRequest(binding, false);
            closeSession(binding, false);
            binding.triggerDescription.clear();
            binding.step = Step::waitingForPortal;
            lost.append(binding.id);
        }
        for (const HotKeyID& id : lost)
            answer(id, HotKeyRegistrationStatus::unavailable, {});
    }
    if (newOwner.isEmpty())
        return;
    portalPresent = true;
    if (!referenceWhere([](const Binding& binding) { return binding.step == Step::waitingForPortal; }))
        return;
    // A new portal process knows nothing of us: introduce the application before anything else.
    auto* registered =
        new QDBusPendingCallWatcher(bus.asyncCall(introduction(applicationID), startTimeoutMs), owner);
    QObject::connect(registered, &QDBusPendingCallWatcher::finished, owner,
                     [this](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         bindWaiting(); // a portal without the registry knows us by our connection
                     });
}

void PortalHotKeyRegistrar::Private::bindWaiting()
{
    if (!portalPresent)
        return;
    for (auto& [reference, binding] : bindings) {
        if (binding.step == Step::waitingForPortal)
            createSession(reference);
    }
}

bool PortalHotKeyRegistrar::introduceApplication(const QDBusConnection& bus, const QString& applicationID)
{
    return bus.call(introduction(applicationID), QDBus::Block, startTimeoutMs).type() ==
           QDBusMessage::ReplyMessage;
}

bool PortalHotKeyRegistrar::offersGlobalShortcuts(const QDBusConnection& bus)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(service(), portalPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    call << globalShortcutsInterface << u"version"_s;
    const QDBusMessage reply = bus.call(call, QDBus::Block, startTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return false;
    return reply.arguments().constFirst().value<QDBusVariant>().variant().toUInt() >= 1;
}

QString PortalHotKeyRegistrar::preferredTrigger(const PromptKeyboardShortcut& shortcut)
{
    const auto keysym = X11KeyMapping::keysym(shortcut.keyCode);
    char name[64] = {};
    if (!keysym || xkb_keysym_get_name(*keysym, name, sizeof name) <= 0)
        return {};
    // In the order the desktop shows modifiers: Super, Ctrl, Alt, Shift.
    const quint64 modifiers = shortcut.modifiersRawValue;
    QStringList parts;
    if (modifiers & ShortcutModifiers::control)
        parts << u"LOGO"_s;
    if (modifiers & ShortcutModifiers::command)
        parts << u"CTRL"_s;
    if (modifiers & ShortcutModifiers::option)
        parts << u"ALT"_s;
    if (modifiers & ShortcutModifiers::shift)
        parts << u"SHIFT"_s;
    parts << QString::fromLatin1(name);
    return parts.join(u'+');
}

PortalHotKeyRegistrar::PortalHotKeyRegistrar(const QDBusConnection& bus, const QString& applicationID,
                                             QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(bus))
{
    PortalShortcut::registerMetaTypes();
    d->owner = this;
    d->applicationID = applicationID;
    d->portalPresent = bus.interface() && bus.interface()->isServiceRegistered(service()).value();
    d->watcher =
        std::make_unique<QDBusServiceWatcher>(service(), bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(d->watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& oldOwner, const QString& newOwner) {
                d->handleOwnerChanged(oldOwner, newOwner);
            });
    for (const QString& member : {u"Activated"_s, u"ShortcutsChanged"_s})
        d->subscribe(portalPath, globalShortcutsInterface, member);
}

PortalHotKeyRegistrar::~PortalHotKeyRegistrar()
{
    // Tell the portal, so that the desktop's settings drop our shortcuts with us.
    for (auto& [reference, binding] : d->bindings) {
        d->dropRequest(binding, true);
        d->closeSession(binding, true);
    }
}

QString PortalHotKeyRegistrar::triggerDescription() const
{
    return d->lastTriggerDescription;
}

qint32 PortalHotKeyRegistrar::installEventHandler(PressHandler handler, HotKeyHandlerReference& reference)
{
    reference = ++d->nextReference;
    d->handlers.emplace(reference, std::move(handler));
    return 0;
}

void PortalHotKeyRegistrar::removeEventHandler(HotKeyHandlerReference reference)
{
    d->handlers.erase(reference);
}

qint32 PortalHotKeyRegistrar::registerHotKey(const PromptKeyboardShortcut& shortcut, HotKeyID id,
                                             HotKeyReference& reference)
{
    if (!d->portalPresent)
        return HotKeyRegistrationStatus::unavailable;
    reference = ++d->nextReference;
    d->bindings.emplace(reference, Binding{shortcut, id});
    d->createSession(reference);
    return 0;
}

qint32 PortalHotKeyRegistrar::unregisterHotKey(HotKeyReference reference)
{
    Binding* binding = d->find(reference);
    if (!binding)
        return HotKeyRegistrationStatus::unknownRegistration;
    d->dropRequest(*binding, true);
    d->closeSession(*binding, true);
    d->bindings.erase(reference);
    return 0;
}

void PortalHotKeyRegistrar::setAnswerHandler(AnswerHandler handler)
{
    d->answerHandler = std::move(handler);
}

quint32 PortalHotKeyRegistrar::lastPressTimestamp() const
{
    return d->lastPressTime;
}

void PortalHotKeyRegistrar::handlePortalSignal(const QDBusMessage& message)
{
    const QString member = message.member();
    if (message.interface() == requestInterface && member == u"Response")
        d->handleResponse(message);
    else if (message.interface() == sessionInterface && member == u"Closed")
        d->handleSessionClosed(message);
    else if (member == u"Activated")
        d->handleActivated(message);
    else if (member == u"ShortcutsChanged")
        d->handleShortcutsChanged(message);
}
