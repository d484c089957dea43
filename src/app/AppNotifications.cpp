#include "AppNotifications.h"

using namespace Qt::StringLiterals;

void AppNotifications::post(const QString& name, const QVariant& object)
{
    if (name == u"velmoraRequestOpenSettings")
        Q_EMIT velmoraRequestOpenSettings();
    else if (name == u"velmoraRequestOpenWorkspaceManager")
        Q_EMIT velmoraRequestOpenWorkspaceManager(object);
    else if (name == u"velmoraRequestOpenWelcomeGuide")
        Q_EMIT velmoraRequestOpenWelcomeGuide();
    else if (name == u"velmoraRequestOpenFromMenu")
        Q_EMIT velmoraRequestOpenFromMenu();
    else if (name == u"velmoraRequestClose")
        Q_EMIT velmoraRequestClose();
}
