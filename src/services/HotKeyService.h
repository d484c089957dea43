// Keeps one system-wide keyboard shortcut registered and calls one callback when it is pressed.
// Presses hop to the main thread and are dropped unless they belong to the registration in force,
// so that a press can never reach the callback of an earlier registration. Main thread only.
#pragma once

#include "HotKeyRegistering.h"
#include "KeyboardShortcutModels.h"

#include <QObject>
#include <functional>
#include <optional>

class HotKeyService : public QObject {
    Q_OBJECT

public:
    using Callback = std::function<void()>;

    static constexpr quint32 signature = 0x564C4D41; // 'VLMA'

    // `registrar` outlives the service. With `installsEventHandler` the press handler is installed
    // at once; a failed installation is tried again by each registration.
    explicit HotKeyService(HotKeyRegistering* registrar, bool installsEventHandler = true,
                           QObject* parent = nullptr);
    ~HotKeyService() override;

    // Replaces the registration in force; 0 on success, else the registrar's status. A failure
    // leaves no hot key registered: the caller decides whether to register the old one again.
    qint32 registerHotKey(const PromptKeyboardShortcut& shortcut, Callback onPressed);

    // Gives up the hot key and the press handler, as at termination.
    void stop();

    // While a shortcut recorder listens, the registered combination must reach it and not the panel:
    // the first suspension lets go of the grab, the last resumption takes it back (a failure is
    // logged and answered). The registration, its generation and callback stay as they are.
    void suspendForRecording();
    qint32 resumeAfterRecording();
    bool isSuspendedForRecording() const { return m_recordingSuspensions > 0; }

    // Calls the callback unless the press belongs to another registration than the one in force.
    void handleHotKeyEvent(quint32 id, quint64 generation);

    bool isRunning() const { return m_isRunning; }
    quint32 registrationGeneration() const { return m_registrationGeneration; }
    std::optional<quint64> activeGeneration() const { return m_activeGeneration; }
    std::optional<quint32> activeEventID() const { return m_activeEventID; }
    qint32 eventHandlerStatus() const { return m_eventHandlerStatus; }
    bool hasEventHandler() const { return m_eventHandler.has_value(); }
    bool installsEventHandler() const { return m_installsEventHandler; }

    void setRegistrationGenerationForTesting(quint32 generation) { m_registrationGeneration = generation; }

private:
    void installEventHandler();
    void invalidateRegistration();

    HotKeyRegistering* m_registrar;
    bool m_installsEventHandler;
    std::optional<HotKeyHandlerReference> m_eventHandler;
    qint32 m_eventHandlerStatus = 0;
    std::optional<HotKeyReference> m_hotKeyRef;
    Callback m_callback;
    quint32 m_registrationGeneration = 0;
    std::optional<quint64> m_activeGeneration;
    std::optional<quint32> m_activeEventID;
    bool m_isRunning = false;
    int m_recordingSuspensions = 0;
};
