#include "FirstRunChecklistStore.h"

#include "Preferences.h"
#include "PromptMatchingService.h"

#include <QSettings>

using namespace Qt::StringLiterals;

namespace {

QString key(const char* name)
{
    return QString::fromLatin1(name);
}

} // namespace

QString toRawValue(FirstRunStep step)
{
    switch (step) {
    case FirstRunStep::workspace:
        return u"workspace"_s;
    case FirstRunStep::binding:
        return u"binding"_s;
    case FirstRunStep::successfulCopy:
        return u"successfulCopy"_s;
    }
    return {};
}

FirstRunChecklistProgressResolver::Progress
FirstRunChecklistProgressResolver::resolve(const QList<PromptWorkspace>& workspaces,
                                           const AgentContext& context,
                                           const ContextBindingStore* bindingStore)
{
    PromptMatchingService matching;
    for (const PromptWorkspace& workspace : workspaces) {
        if (workspace.source == PromptWorkspaceSource::userWorkspace && workspace.fileURL)
            matching.workspaces.append(workspace);
    }
    matching.bindingStore = bindingStore;
    return {!matching.workspaces.isEmpty(), !matching.validAgentBindings(context).isEmpty()};
}

FirstRunChecklistStore::FirstRunChecklistStore(QSettings* defaults, QObject* parent)
    : QObject(parent), m_defaults(defaults)
{
    const auto flag = [defaults](const char* name) {
        return Preferences::boolean(*defaults, key(name)).value_or(false);
    };
    m_isDismissed = flag(dismissedKey);
    if (defaults->contains(key(welcomeCompletedKey))) {
        m_shouldPresentWelcome = !flag(welcomeCompletedKey);
    } else if (m_isDismissed || flag(successfulCopyKey)) {
        defaults->setValue(key(welcomeCompletedKey), true);
        m_shouldPresentWelcome = false;
    }
}

bool FirstRunChecklistStore::hasSuccessfulCopy() const
{
    return Preferences::boolean(*m_defaults, key(successfulCopyKey)).value_or(false);
}

void FirstRunChecklistStore::prepareWelcomeForLaunch(bool hasPersistedWorkspace)
{
    if (m_defaults->contains(key(welcomeCompletedKey)) || !hasPersistedWorkspace)
        return;
    m_defaults->setValue(key(welcomeCompletedKey), true);
    setShouldPresentWelcome(false);
}

void FirstRunChecklistStore::recordSuccessfulCopy()
{
    m_defaults->setValue(key(successfulCopyKey), true);
    Q_EMIT changed();
}

void FirstRunChecklistStore::setDismissed(bool dismissed)
{
    m_defaults->setValue(key(dismissedKey), dismissed);
    if (dismissed == m_isDismissed)
        return;
    m_isDismissed = dismissed;
    Q_EMIT isDismissedChanged();
}

void FirstRunChecklistStore::completeWelcome()
{
    m_defaults->setValue(key(welcomeCompletedKey), true);
    setShouldPresentWelcome(false);
}

void FirstRunChecklistStore::requestWelcome()
{
    setShouldPresentWelcome(true);
}

void FirstRunChecklistStore::setShouldPresentWelcome(bool present)
{
    if (present == m_shouldPresentWelcome)
        return;
    m_shouldPresentWelcome = present;
    Q_EMIT shouldPresentWelcomeChanged();
}

FirstRunChecklistSnapshot FirstRunChecklistStore::snapshot(const QList<PromptWorkspace>& workspaces,
                                                           const AgentContext& context,
                                                           const ContextBindingStore* bindingStore) const
{
    const auto progress = FirstRunChecklistProgressResolver::resolve(workspaces, context, bindingStore);
    FirstRunChecklistSnapshot result;
    if (progress.hasWorkspace)
        result.completed.insert(FirstRunStep::workspace);
    if (progress.hasBinding)
        result.completed.insert(FirstRunStep::binding);
    if (hasSuccessfulCopy())
        result.completed.insert(FirstRunStep::successfulCopy);
    return result;
}
