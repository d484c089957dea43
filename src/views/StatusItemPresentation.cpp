#include "StatusItemPresentation.h"

#include "Localization.h"

using namespace Qt::StringLiterals;

StatusItemPresentation::StatusItemPresentation(const QString& title, qint64 count,
                                               std::optional<AppLanguage> language)
{
    Q_UNUSED(title)
    const AppLanguage resolved = language.value_or(L10n::currentLanguage());
    const auto text = [resolved](const QString& key) {
        return AppLocalizationCatalog::shared().string(key, resolved);
    };
    const QString ellipsis = u"\u2026"_s;

    accessibilityLabel = count < 0 ? text(u"product.name"_s)
                                   : text(u"status.accessibility.label"_s).arg(QString::number(count));
    accessibilityHelp = text(u"status.accessibility.help"_s);
    buttonConfiguration.accessibilityLabel = accessibilityLabel;
    buttonConfiguration.accessibilityHelp = accessibilityHelp;
    menuItems = {
        {StatusItemMenuCommand::open, text(u"menu.open.velmora"_s), QString(), false},
        {StatusItemMenuCommand::manageWorkspaces, text(u"action.manage.workspaces"_s) + ellipsis, QString(),
         false},
        {StatusItemMenuCommand::settings, text(u"action.settings"_s) + ellipsis, u","_s, false},
        {StatusItemMenuCommand::welcomeGuide, text(u"first.welcome.menu"_s) + ellipsis, QString(), false},
        {StatusItemMenuCommand::reload, text(u"action.reload.config"_s), QString(), false},
        {StatusItemMenuCommand::quit, text(u"action.quit"_s), u"q"_s, true},
    };
}
