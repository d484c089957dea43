#include "X11HotKeyRegistrar.h"

#include "AppLog.h"

#include <QList>
#include <QMetaObject>
#include <QSocketNotifier>

#include <X11/keysym.h>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

#include <cstdlib>
#include <map>

using namespace Qt::StringLiterals;

namespace {

constexpr quint16 coreModifierBits = 0x00FF; // Shift, Lock, Control, Mod1 to Mod5; not the buttons

struct Grab {
    xcb_keycode_t keycode = 0;
    quint16 modifiers = 0;
    bool operator==(const Grab&) const = default;
};

struct Registration {
    PromptKeyboardShortcut shortcut;
    HotKeyID id;
    QList<xcb_keycode_t> keycodes; // every key that carries the keysym
    quint16 modifiers = 0;         // without the lock bits
    QList<Grab> grabs;             // what the server holds for us
    bool suspended = false;        // let go of until resumed
};

} // namespace

struct X11HotKeyRegistrar::Private {
    X11HotKeyRegistrar* owner = nullptr;
    DesktopSessionType session = DesktopSessionType::none;
    QByteArray displayName;

    xcb_connection_t* connection = nullptr;
    xcb_key_symbols_t* keySymbols = nullptr;
    xcb_window_t root = XCB_NONE;
    std::unique_ptr<QSocketNotifier> notifier;
    X11KeyMapping::ModifierMasks masks;

    std::map<HotKeyHandlerReference, PressHandler> handlers;
    std::map<HotKeyReference, Registration> registrations;
    quint64 nextReference = 0;

    // An auto-repeated press comes right behind a release of the same key with the same time.
    xcb_keycode_t lastReleaseKeycode = 0;
    xcb_timestamp_t lastReleaseTime = 0;
    int ignoredRepeats = 0;
    xcb_timestamp_t lastPressTime = 0;

    bool connect();
    void disconnect();
    void readModifierMasks();
    QList<xcb_keycode_t> keycodesFor(quint32 keysym) const;
    QList<Grab> grabsFor(const Registration& registration) const;
    qint32 grab(const QList<Grab>& grabs);
    void ungrab(const QList<Grab>& grabs, HotKeyReference except);
    qint32 fillAndGrab(Registration& registration);
    void renewGrabs();
    void processEvents();
    void processEventsLater();
    void handleKeyPress(const xcb_key_press_event_t* event);
};

bool X11HotKeyRegistrar::Private::connect()
{
    if (connection)
        return true;
    if (session != DesktopSessionType::x11)
        return false;
    int screenNumber = 0;
    xcb_connection_t* candidate =
        xcb_connect(displayName.isEmpty() ? nullptr : displayName.constData(), &screenNumber);
    if (xcb_connection_has_error(candidate)) {
        xcb_disconnect(candidate);
        return false;
    }
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(candidate));
    for (int index = 0; index < screenNumber && screens.rem; ++index)
        xcb_screen_next(&screens);
    if (!screens.rem) {
        xcb_disconnect(candidate);
        return false;
    }
    connection = candidate;
    root = screens.data->root;
    keySymbols = xcb_key_symbols_alloc(connection);
    readModifierMasks();

    notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection), QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, owner, [this] { processEvents(); });
    return true;
}

void X11HotKeyRegistrar::Private::disconnect()
{
    notifier.reset();
    if (keySymbols)
        xcb_key_symbols_free(keySymbols);
    keySymbols = nullptr;
    if (connection)
        xcb_disconnect(connection);
    connection = nullptr;
    root = XCB_NONE;
    // The server drops a client's grabs with its connection.
    for (auto& [reference, registration] : registrations)
        registration.grabs.clear();
}

void X11HotKeyRegistrar::Private::readModifierMasks()
{
    masks = {};
    quint16 alt = 0;
    quint16 meta = 0;
    quint16 super = 0;
    xcb_get_modifier_mapping_reply_t* reply =
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr);
    if (reply) {
        const xcb_keycode_t* keycodes = xcb_get_modifier_mapping_keycodes(reply);
        const int perModifier = reply->keycodes_per_modifier;
        for (int modifier = 0; modifier < 8; ++modifier) {
            for (int slot = 0; slot < perModifier; ++slot) {
                const xcb_keycode_t keycode = keycodes[modifier * perModifier + slot];
                if (keycode == 0)
                    continue;
                for (int column = 0; column < 4; ++column) {
                    const xcb_keysym_t symbol = xcb_key_symbols_get_keysym(keySymbols, keycode, column);
                    const auto bit = quint16(1u << modifier);
                    if (symbol == XK_Num_Lock)
                        masks.numLock |= bit;
                    else if (symbol == XK_Alt_L || symbol == XK_Alt_R)
                        alt |= bit;
                    else if (symbol == XK_Meta_L || symbol == XK_Meta_R)
                        meta |= bit;
                    else if (symbol == XK_Super_L || symbol == XK_Super_R)
                        super |= bit;
                }
            }
        }
        std::free(reply);
    }
    // Keyboards without such keys in the map keep the usual bits: Mod1 and Mod4.
    if (alt || meta)
        masks.alt = alt ? alt : meta;
    if (super)
        masks.super = super;
    masks.numLock &=
        quint16(~(X11KeyMapping::shiftMask | X11KeyMapping::lockMask | X11KeyMapping::controlMask));
}

QList<xcb_keycode_t> X11HotKeyRegistrar::Private::keycodesFor(quint32 keysym) const
{
    QList<xcb_keycode_t> keycodes;
    xcb_keycode_t* found = xcb_key_symbols_get_keycode(keySymbols, keysym);
    if (!found)
        return keycodes;
    for (const xcb_keycode_t* keycode = found; *keycode != XCB_NO_SYMBOL; ++keycode) {
        if (!keycodes.contains(*keycode))
            keycodes.append(*keycode);
    }
    std::free(found);
    return keycodes;
}

QList<Grab> X11HotKeyRegistrar::Private::grabsFor(const Registration& registration) const
{
    QList<quint16> lockVariants{0, X11KeyMapping::lockMask};
    if (masks.numLock)
        lockVariants << masks.numLock << quint16(masks.numLock | X11KeyMapping::lockMask);
    QList<Grab> grabs;
    for (xcb_keycode_t keycode : registration.keycodes) {
        for (quint16 locks : lockVariants)
            grabs.append(Grab{keycode, quint16(registration.modifiers | locks)});
    }
    return grabs;
}

qint32 X11HotKeyRegistrar::Private::grab(const QList<Grab>& grabs)
{
    QList<xcb_void_cookie_t> cookies;
    for (const Grab& grab : grabs) {
        cookies.append(xcb_grab_key_checked(connection, 1, root, grab.modifiers, grab.keycode,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
    }
    qint32 status = 0;
    QList<Grab> held;
    for (qsizetype index = 0; index < cookies.size(); ++index) {
        if (xcb_generic_error_t* error = xcb_request_check(connection, cookies[index])) {
            if (status == 0)
                status = error->error_code;
            std::free(error);
        } else {
            held.append(grabs[index]);
        }
    }
    if (status != 0)
        ungrab(held, 0); // all or nothing: a half-held combination would fire only with some locks
    processEventsLater();
    return status;
}

void X11HotKeyRegistrar::Private::ungrab(const QList<Grab>& grabs, HotKeyReference except)
{
    for (const Grab& grab : grabs) {
        // Two registrations of ours may share a grab; the server keeps only one.
        bool sharedWithAnother = false;
        for (const auto& [reference, registration] : registrations) {
            if (reference != except && registration.grabs.contains(grab))
                sharedWithAnother = true;
        }
        if (!sharedWithAnother)
            xcb_ungrab_key(connection, grab.keycode, root, grab.modifiers);
    }
    xcb_flush(connection);
}

qint32 X11HotKeyRegistrar::Private::fillAndGrab(Registration& registration)
{
    const auto keysym = X11KeyMapping::keysym(registration.shortcut.keyCode);
    registration.keycodes = keysym ? keycodesFor(*keysym) : QList<xcb_keycode_t>();
    registration.modifiers = X11KeyMapping::x11Modifiers(registration.shortcut.modifiersRawValue, masks);
    registration.grabs.clear();
    if (registration.keycodes.isEmpty())
        return HotKeyRegistrationStatus::keyNotOnKeyboard;
    const QList<Grab> grabs = grabsFor(registration);
    const qint32 status = grab(grabs);
    if (status == 0)
        registration.grabs = grabs;
    return status;
}

void X11HotKeyRegistrar::Private::renewGrabs()
{
    // Grabs are made on keycodes; after a mapping change the keysyms may sit on other keys.
    for (auto& [reference, registration] : registrations) {
        for (const Grab& grab : registration.grabs)
            xcb_ungrab_key(connection, grab.keycode, root, grab.modifiers);
        registration.grabs.clear();
    }
    for (auto& [reference, registration] : registrations) {
        if (registration.suspended)
            continue;
        const qint32 status = fillAndGrab(registration);
        if (status != 0)
            AppLog::ui(u"Renew hot key grab failed code=%1"_s.arg(status));
    }
    xcb_flush(connection);
    Q_EMIT owner->grabsRenewed();
}

void X11HotKeyRegistrar::Private::processEventsLater()
{
    // A reply read during a request may have queued events behind it that the socket won't announce.
    QMetaObject::invokeMethod(
        owner, [this] { processEvents(); }, Qt::QueuedConnection);
}

void X11HotKeyRegistrar::Private::processEvents()
{
    if (!connection)
        return;
    bool mappingChanged = false;
    while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
        switch (event->response_type & 0x7F) {
        case XCB_KEY_PRESS:
            handleKeyPress(reinterpret_cast<const xcb_key_press_event_t*>(event));
            break;
        case XCB_KEY_RELEASE: {
            const auto* release = reinterpret_cast<const xcb_key_release_event_t*>(event);
            lastReleaseKeycode = release->detail;
            lastReleaseTime = release->time;
            break;
        }
        case XCB_MAPPING_NOTIFY: {
            auto* notify = reinterpret_cast<xcb_mapping_notify_event_t*>(event);
            if (notify->request == XCB_MAPPING_KEYBOARD || notify->request == XCB_MAPPING_MODIFIER) {
                xcb_refresh_keyboard_mapping(keySymbols, notify);
                mappingChanged = true;
            }
            break;
        }
        default:
            break;
        }
        std::free(event);
        if (!connection)
            return; // a handler gave up the connection
    }
    if (xcb_connection_has_error(connection)) {
        AppLog::ui(u"X11 hot key connection lost code=%1"_s.arg(xcb_connection_has_error(connection)));
        disconnect();
        return;
    }
    if (mappingChanged) {
        readModifierMasks();
        renewGrabs();
    }
}

void X11HotKeyRegistrar::Private::handleKeyPress(const xcb_key_press_event_t* event)
{
    if (event->detail == lastReleaseKeycode && event->time == lastReleaseTime) {
        ++ignoredRepeats;
        return;
    }
    const quint16 state =
        event->state & coreModifierBits & quint16(~(masks.numLock | X11KeyMapping::lockMask));
    QList<HotKeyID> pressed;
    for (const auto& [reference, registration] : registrations) {
        if (registration.modifiers == state && registration.keycodes.contains(event->detail) &&
            !registration.grabs.isEmpty())
            pressed.append(registration.id);
    }
    if (pressed.isEmpty())
        return;
    lastPressTime = event->time;
    // Copies: a handler may install or remove handlers.
    std::vector<PressHandler> current;
    for (const auto& [reference, handler] : handlers)
        current.push_back(handler);
    for (const HotKeyID& id : pressed) {
        for (const PressHandler& handler : current)
            handler(id);
    }
}

X11HotKeyRegistrar::X11HotKeyRegistrar(DesktopSessionType session, const QByteArray& displayName,
                                       QObject* parent)
    : QObject(parent), d(std::make_unique<Private>())
{
    d->owner = this;
    d->session = session;
    d->displayName = displayName;
    d->connect();
}

X11HotKeyRegistrar::~X11HotKeyRegistrar()
{
    if (d->connection) {
        for (auto& [reference, registration] : d->registrations) {
            for (const Grab& grab : registration.grabs)
                xcb_ungrab_key(d->connection, grab.keycode, d->root, grab.modifiers);
        }
        xcb_flush(d->connection);
    }
    d->disconnect();
}

bool X11HotKeyRegistrar::isConnected() const
{
    return d->connection != nullptr;
}

X11KeyMapping::ModifierMasks X11HotKeyRegistrar::modifierMasks() const
{
    return d->masks;
}

int X11HotKeyRegistrar::ignoredRepeatCount() const
{
    return d->ignoredRepeats;
}

quint32 X11HotKeyRegistrar::lastPressTimestamp() const
{
    return d->lastPressTime;
}

void X11HotKeyRegistrar::suspendGrabs()
{
    for (auto& [reference, registration] : d->registrations) {
        if (registration.suspended)
            continue;
        if (d->connection)
            d->ungrab(registration.grabs, reference);
        registration.grabs.clear();
        registration.suspended = true;
    }
}

qint32 X11HotKeyRegistrar::resumeGrabs()
{
    qint32 firstFailure = 0;
    for (auto& [reference, registration] : d->registrations) {
        if (!registration.suspended)
            continue;
        registration.suspended = false;
        const qint32 status =
            d->connection ? d->fillAndGrab(registration) : HotKeyRegistrationStatus::unavailable;
        if (status != 0) {
            AppLog::ui(u"Resume hot key grab failed code=%1"_s.arg(status));
            if (firstFailure == 0)
                firstFailure = status;
        }
    }
    return firstFailure;
}

qint32 X11HotKeyRegistrar::installEventHandler(PressHandler handler, HotKeyHandlerReference& reference)
{
    if (!d->connect())
        return HotKeyRegistrationStatus::unavailable;
    reference = ++d->nextReference;
    d->handlers.emplace(reference, std::move(handler));
    return 0;
}

void X11HotKeyRegistrar::removeEventHandler(HotKeyHandlerReference reference)
{
    d->handlers.erase(reference);
}

qint32 X11HotKeyRegistrar::registerHotKey(const PromptKeyboardShortcut& shortcut, HotKeyID id,
                                          HotKeyReference& reference)
{
    if (!d->connect())
        return HotKeyRegistrationStatus::unavailable;
    Registration registration;
    registration.shortcut = shortcut;
    registration.id = id;
    const qint32 status = d->fillAndGrab(registration);
    // A connection that broke on the way answers every check with success; nothing was grabbed.
    if (const int error = xcb_connection_has_error(d->connection)) {
        AppLog::ui(u"X11 hot key connection lost code=%1"_s.arg(error));
        d->disconnect();
        return HotKeyRegistrationStatus::unavailable;
    }
    if (status != 0)
        return status;
    reference = ++d->nextReference;
    d->registrations.emplace(reference, std::move(registration));
    return 0;
}

qint32 X11HotKeyRegistrar::unregisterHotKey(HotKeyReference reference)
{
    const auto found = d->registrations.find(reference);
    if (found == d->registrations.end())
        return HotKeyRegistrationStatus::unknownRegistration;
    const QList<Grab> grabs = found->second.grabs;
    d->registrations.erase(found);
    if (d->connection)
        d->ungrab(grabs, reference);
    return 0;
}
