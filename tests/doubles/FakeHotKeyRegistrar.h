// A registrar that holds its registrations in memory: tests press keys by id and make any step fail.
#pragma once

#include "HotKeyRegistering.h"

#include <QList>
#include <map>

class FakeHotKeyRegistrar : public HotKeyRegistering {
public:
    struct Registration {
        PromptKeyboardShortcut shortcut;
        HotKeyID id;
    };

    qint32 installStatus = 0;       // returned by installEventHandler
    QList<qint32> registerStatuses; // consumed one per registration; 0 when empty
    int installCalls = 0;
    int registerCalls = 0;
    int unregisterCalls = 0;
    int removeCalls = 0;

    std::map<HotKeyHandlerReference, PressHandler> handlers;
    std::map<HotKeyReference, Registration> registrations;

    qint32 installEventHandler(PressHandler handler, HotKeyHandlerReference& reference) override
    {
        ++installCalls;
        if (installStatus != 0)
            return installStatus;
        reference = ++m_nextReference;
        handlers.emplace(reference, std::move(handler));
        return 0;
    }

    void removeEventHandler(HotKeyHandlerReference reference) override
    {
        ++removeCalls;
        handlers.erase(reference);
    }

    qint32 registerHotKey(const PromptKeyboardShortcut& shortcut, HotKeyID id,
                          HotKeyReference& reference) override
    {
        ++registerCalls;
        const qint32 status = registerStatuses.isEmpty() ? 0 : registerStatuses.takeFirst();
        if (status != 0)
            return status;
        reference = ++m_nextReference;
        registrations.emplace(reference, Registration{shortcut, id});
        return 0;
    }

    qint32 unregisterHotKey(HotKeyReference reference) override
    {
        ++unregisterCalls;
        return registrations.erase(reference) == 1 ? 0 : HotKeyRegistrationStatus::unknownRegistration;
    }

    int suspendCalls = 0;
    int resumeCalls = 0;
    qint32 resumeStatus = 0; // returned by resumeGrabs
    void suspendGrabs() override { ++suspendCalls; }
    qint32 resumeGrabs() override
    {
        ++resumeCalls;
        return resumeStatus;
    }

    // What the desktop does on a press: every handler hears the id.
    void press(HotKeyID id)
    {
        const auto current = handlers;
        for (const auto& [reference, handler] : current)
            handler(id);
    }

    // The id of the one registration held, as the desktop would report its press.
    HotKeyID heldID() const { return registrations.empty() ? HotKeyID{} : registrations.begin()->second.id; }

private:
    quint64 m_nextReference = 0;
};
