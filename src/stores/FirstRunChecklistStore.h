// The first-run flags: whether the welcome guide is still due, whether the user dismissed the
// checklist, and whether a copy has ever succeeded; and which checklist steps the library fulfils
// now, worked out afresh each time. Main thread only; each flag is written when it changes.
#pragma once

#include "AgentContext.h"
#include "PromptModels.h"

#include <QObject>
#include <QSet>

class ContextBindingStore;
class QSettings;

enum class FirstRunStep { workspace, binding, successfulCopy };

inline constexpr FirstRunStep allFirstRunSteps[] = {FirstRunStep::workspace, FirstRunStep::binding,
                                                    FirstRunStep::successfulCopy};

QString toRawValue(FirstRunStep step);

struct FirstRunChecklistSnapshot {
    QSet<FirstRunStep> completed;

    bool operator==(const FirstRunChecklistSnapshot&) const = default;
};

namespace FirstRunChecklistProgressResolver {
struct Progress {
    bool hasWorkspace = false;
    bool hasBinding = false;

    bool operator==(const Progress&) const = default;
};
// Only workspaces saved in files count; samples and project files don't.
Progress resolve(const QList<PromptWorkspace>& workspaces, const AgentContext& context,
                 const ContextBindingStore* bindingStore);
} // namespace FirstRunChecklistProgressResolver

class FirstRunChecklistStore : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isDismissed READ isDismissed NOTIFY isDismissedChanged)
    Q_PROPERTY(bool shouldPresentWelcome READ shouldPresentWelcome NOTIFY shouldPresentWelcomeChanged)

public:
    static constexpr auto dismissedKey = "Velmora.firstRunTipsDismissed.v1";
    static constexpr auto successfulCopyKey = "Velmora.firstRunSuccessfulCopy.v1";
    static constexpr auto welcomeCompletedKey = "Velmora.firstRunWelcomeCompleted.v1";

    // Reads the flags; a user who dismissed the checklist or copied before counts as welcomed.
    explicit FirstRunChecklistStore(QSettings* defaults, QObject* parent = nullptr);

    bool isDismissed() const { return m_isDismissed; }
    bool shouldPresentWelcome() const { return m_shouldPresentWelcome; }
    bool hasSuccessfulCopy() const;

    // Once, after the first load: a library saved before the flag existed counts as welcomed.
    void prepareWelcomeForLaunch(bool hasPersistedWorkspace);
    // The panel, after a copy that succeeded.
    void recordSuccessfulCopy();
    // The checklist's dismiss, and Settings' reopen.
    void setDismissed(bool dismissed);
    // The welcome guide finished by any of its ways out.
    void completeWelcome();
    // The guide opened again on request.
    void requestWelcome();

    FirstRunChecklistSnapshot snapshot(const QList<PromptWorkspace>& workspaces, const AgentContext& context,
                                       const ContextBindingStore* bindingStore) const;

Q_SIGNALS:
    void isDismissedChanged();
    void shouldPresentWelcomeChanged();
    // A flag without a published field changed (the successful copy).
    void changed();

private:
    void setShouldPresentWelcome(bool present);

    QSettings* m_defaults;
    bool m_isDismissed = false;
    bool m_shouldPresentWelcome = true;
};
