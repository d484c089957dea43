// Every text key the interface uses must have an English and a Simplified Chinese text in the
// catalog, with the same %N arguments in both, so that QString::arg fills either language alike.

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <QStringList>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString englishCode = u"en"_s;
const QString chineseCode = u"zh-Hans"_s;
const QString linuxPrefix = u"linux."_s;
constexpr qsizetype expectedKeyCount = 322;

// The keys the program looks up, by area.
// clang-format off
const QStringList requiredKeys = {
    u"accessibility.prompt.tile.hint"_s, u"accessibility.prompt.tile.shortcut"_s,
    u"action.bind.existing.workspace"_s, u"action.cancel"_s, u"action.check.updates"_s,
    u"action.clear.search"_s, u"action.clear.shortcut"_s, u"action.copy"_s,
    u"action.copy.to.my.workspaces"_s, u"action.create"_s, u"action.create.and.bind.workspace"_s,
    u"action.create.first.workspace"_s, u"action.create.prompt"_s, u"action.create.workspace"_s,
    u"action.delete"_s, u"action.done.tip"_s, u"action.edit"_s, u"action.edit.workspace"_s,
    u"action.export.pack"_s, u"action.hide.samples"_s, u"action.import"_s, u"action.import.batch"_s,
    u"action.import.prompt.pack"_s, u"action.install.as.workspace"_s, u"action.install.builtin.pack"_s,
    u"action.manage.workspaces"_s, u"action.move.bottom"_s, u"action.move.down"_s, u"action.move.top"_s,
    u"action.move.up"_s, u"action.open.bindings"_s, u"action.open.system.settings"_s,
    u"action.open.workspace.manager"_s, u"action.pin"_s, u"action.quit"_s, u"action.reload.config"_s,
    u"action.reload.disk.version"_s, u"action.reset.shortcut"_s, u"action.retry.copy"_s, u"action.save"_s,
    u"action.save.as.new.workspace"_s, u"action.select.pack.file"_s, u"action.settings"_s,
    u"action.show.in.finder"_s, u"action.trust"_s, u"action.unpin"_s,
    u"agent.any"_s,
    u"automation.permission.hint"_s,
    u"common.none"_s, u"common.not.bound"_s, u"common.select.placeholder"_s,
    u"config.issue.aggregate.limit"_s, u"config.issue.invalid.format"_s, u"config.issue.invalid.utf8"_s,
    u"config.issue.per.file.limit"_s, u"config.issue.unreadable"_s,
    u"context.waiting"_s, u"context.window.hidden.app"_s, u"context.window.hidden.workspace"_s,
    u"context.window.unread"_s,
    u"copy.sound.off"_s,
    u"debug.app"_s, u"debug.binding"_s, u"debug.environment"_s, u"debug.file"_s, u"debug.hide"_s,
    u"debug.package.type"_s, u"debug.path.hint"_s, u"debug.project.config"_s, u"debug.prompt.pack"_s,
    u"debug.show"_s, u"debug.source"_s, u"debug.window"_s,
    u"empty.automation.message"_s, u"empty.automation.title"_s, u"empty.no.prompts.message"_s,
    u"empty.no.prompts.title"_s, u"empty.no.search.message"_s, u"empty.no.search.title"_s,
    u"empty.no.workspaces.message"_s, u"empty.no.workspaces.title"_s, u"empty.unavailable.message"_s,
    u"empty.unavailable.title"_s, u"empty.unbound.message"_s, u"empty.unbound.title"_s,
    u"environment.overview.title"_s, u"environment.overview.unmatched"_s,
    u"error.binding.file.unreadable.path"_s, u"error.binding.unknown.agent"_s, u"error.code"_s,
    u"error.code.unknown"_s, u"error.config.read.failed"_s, u"error.export.saved.user.workspace.only"_s,
    u"error.invalid.agent"_s, u"error.pack.no.prompts"_s, u"error.pack.prompt.required"_s,
    u"error.pack.too.large"_s, u"error.pack.too.many.prompts"_s, u"error.pack.unreadable"_s,
    u"error.window.title.read"_s, u"error.window.title.script.init"_s,
    u"error.workspace.file.not.managed"_s, u"error.workspace.not.found"_s,
    u"error.workspace.save.conflict"_s, u"error.workspace.save.deleted"_s,
    u"field.agent"_s, u"field.agent.help"_s, u"field.bind.to.agent"_s, u"field.config.file"_s,
    u"field.group"_s, u"field.group.choose.existing"_s, u"field.group.help"_s,
    u"field.group.placeholder"_s, u"field.prompt.body"_s, u"field.prompt.body.help"_s,
    u"field.prompt.count"_s, u"field.prompt.shortcut"_s, u"field.save.to.workspace"_s, u"field.title"_s,
    u"field.title.help"_s, u"field.title.placeholder"_s, u"field.workspace"_s, u"field.workspace.name"_s,
    u"field.workspace.name.example"_s,
    u"first.checklist.binding"_s, u"first.checklist.copy"_s, u"first.checklist.panel.help"_s,
    u"first.checklist.reopen"_s, u"first.checklist.settings.section"_s, u"first.checklist.title"_s,
    u"first.checklist.workspace"_s, u"first.welcome.later"_s, u"first.welcome.menu"_s,
    u"first.welcome.open.panel"_s, u"first.welcome.privacy"_s, u"first.welcome.reopen"_s,
    u"first.welcome.step.copy.detail"_s, u"first.welcome.step.copy.title"_s,
    u"first.welcome.step.open.detail"_s, u"first.welcome.step.open.title"_s,
    u"first.welcome.step.workspace.detail"_s, u"first.welcome.step.workspace.title"_s,
    u"first.welcome.subtitle"_s, u"first.welcome.title"_s, u"first.welcome.window.title"_s,
    u"help.add.prompt.disabled"_s, u"help.add.prompt.enabled"_s, u"help.debug.toggle"_s, u"help.import"_s,
    u"help.more"_s, u"help.shortcut.record"_s,
    u"import.drop.help"_s, u"import.needs.workspace"_s, u"import.no.preview"_s, u"import.preview.count"_s,
    u"import.target.required"_s, u"import.to.workspace"_s,
    u"language.english"_s, u"language.system"_s, u"language.zhHans"_s,
    u"list.separator"_s,
    u"menu.open.velmora"_s,
    u"pack.export.description"_s, u"pack.preview.summary"_s,
    u"panel.layout.grid"_s, u"panel.layout.list"_s,
    u"product.name"_s,
    u"project.config.found"_s, u"project.config.trust.help"_s, u"project.config.trusted.notice"_s,
    u"prompt.copied"_s, u"prompt.count.suffix"_s, u"prompt.default.common.group"_s,
    u"prompt.default.group"_s, u"prompt.import.default.group"_s, u"prompt.import.default.title"_s,
    u"prompt.pinned"_s, u"prompt.selected"_s, u"prompt.untitled"_s, u"prompt.variable.copy"_s,
    u"prompt.variable.copy.hint"_s, u"prompt.variable.help"_s, u"prompt.variable.optional.hint"_s,
    u"prompt.variable.required"_s, u"prompt.variable.required.error"_s,
    u"prompt.variable.required.hint"_s, u"prompt.variable.title"_s,
    u"sample.global.prompts"_s,
    u"search.placeholder"_s,
    u"settings.bound.environments"_s, u"settings.category.general"_s,
    u"settings.category.getting.started"_s, u"settings.category.prompts"_s,
    u"settings.category.shortcuts"_s, u"settings.category.updates"_s, u"settings.copy.haptics"_s,
    u"settings.copy.sound"_s, u"settings.current.shortcut"_s, u"settings.default.shortcut"_s,
    u"settings.default.tile.shortcut"_s, u"settings.display.feedback"_s, u"settings.download"_s,
    u"settings.environment.binding"_s, u"settings.hover.open"_s, u"settings.hover.open.help"_s,
    u"settings.language.title"_s, u"settings.prompt.packs"_s, u"settings.prompt.tile.shortcut"_s,
    u"settings.prompt.tile.shortcut.help"_s, u"settings.shortcut"_s, u"settings.shortcut.record.help"_s,
    u"settings.shortcut.using.default"_s, u"settings.startup.error"_s, u"settings.startup.help"_s,
    u"settings.startup.launch.at.login"_s, u"settings.startup.open.system.settings"_s,
    u"settings.startup.requires.approval"_s, u"settings.startup.title"_s, u"settings.support"_s,
    u"settings.text.size.comfortable"_s, u"settings.text.size.large"_s, u"settings.text.size.system"_s,
    u"settings.text.size.title"_s, u"settings.updates.auto.disabled.help"_s,
    u"settings.updates.auto.enabled.help"_s, u"settings.updates.auto.install"_s,
    u"settings.updates.placeholder"_s, u"settings.updates.title"_s, u"settings.usage.clear"_s,
    u"settings.usage.clear.confirm.message"_s, u"settings.usage.clear.confirm.title"_s,
    u"settings.usage.sort"_s, u"settings.usage.sort.frequent"_s, u"settings.usage.sort.manual"_s,
    u"settings.usage.sort.recent"_s, u"settings.usage.title"_s, u"settings.variable.recent.clear"_s,
    u"shortcut.error.needs.modifier"_s, u"shortcut.record.help"_s, u"shortcut.record.invalid"_s,
    u"shortcut.record.none"_s, u"shortcut.recording"_s, u"shortcut.register.failed"_s,
    u"shortcut.registered"_s, u"shortcut.registering"_s, u"shortcut.restore.failed"_s,
    u"shortcut.tile.record.help"_s, u"shortcut.tile.record.invalid"_s,
    u"source.environment"_s, u"source.ide.workspace"_s, u"source.manual.binding"_s,
    u"source.project.config"_s, u"source.terminal.directory"_s, u"source.unknown"_s,
    u"source.window.title"_s,
    u"status.accessibility.help"_s, u"status.accessibility.label"_s, u"status.bind.failed"_s,
    u"status.binding.file.unreadable"_s, u"status.bound.agent"_s, u"status.config.missing.samples"_s,
    u"status.config.no.prompts"_s, u"status.config.preserved.previous"_s,
    u"status.config.samples.hidden"_s, u"status.create.workspace.failed"_s, u"status.created.workspace"_s,
    u"status.delete.binding.failed"_s, u"status.deleted.binding"_s, u"status.export.failed"_s,
    u"status.exported.pack"_s, u"status.install.pack.failed"_s, u"status.installed.pack"_s,
    u"status.loaded.configs"_s, u"status.not.loaded"_s, u"status.project.trust.failed"_s,
    u"status.project.trusted"_s, u"status.save.binding.failed"_s, u"status.save.failed"_s,
    u"status.saved.workspace"_s, u"status.warning.suffix"_s,
    u"title.confirm.delete.prompt"_s, u"title.edit.prompt"_s, u"title.edit.workspace"_s,
    u"title.import.prompt"_s, u"title.new.prompt"_s, u"title.new.workspace"_s,
    u"title.preview.full.prompt"_s, u"title.workspace.manager"_s,
    u"warning.duplicate.prompt.id"_s,
    u"workspace.manager.bindings.short"_s, u"workspace.manager.clear.selection"_s,
    u"workspace.manager.delete.confirm.message"_s, u"workspace.manager.delete.confirm.title"_s,
    u"workspace.manager.delete.result"_s, u"workspace.manager.delete.selected"_s,
    u"workspace.manager.deleted.directly"_s, u"workspace.manager.editable.empty.help"_s,
    u"workspace.manager.editable.empty.title"_s, u"workspace.manager.empty.help"_s,
    u"workspace.manager.empty.title"_s, u"workspace.manager.filtered.empty.help"_s,
    u"workspace.manager.filtered.empty.title"_s, u"workspace.manager.modified"_s,
    u"workspace.manager.no.search"_s, u"workspace.manager.no.selection"_s, u"workspace.manager.prompts"_s,
    u"workspace.manager.readonly.global"_s, u"workspace.manager.readonly.help"_s,
    u"workspace.manager.readonly.project"_s, u"workspace.manager.readonly.sample"_s,
    u"workspace.manager.readonly.title"_s, u"workspace.manager.search.prompts"_s,
    u"workspace.manager.search.workspaces"_s, u"workspace.manager.select.filtered"_s,
    u"workspace.manager.select.workspace"_s, u"workspace.none.help"_s, u"workspace.not.saved"_s,
    u"workspace.source.global"_s, u"workspace.source.project"_s, u"workspace.source.sample"_s,
    u"workspace.source.user"_s, u"workspace.unbound.current"_s,
};
// clang-format on

// The argument numbers of a text, in ascending order, each once.
QList<int> placeholders(const QString& text)
{
    static const QRegularExpression pattern(u"%(\\d+)"_s);
    QSet<int> numbers;
    for (auto it = pattern.globalMatch(text); it.hasNext();)
        numbers.insert(it.next().captured(1).toInt());
    QList<int> sorted(numbers.cbegin(), numbers.cend());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

bool numberedWithoutGaps(const QList<int>& numbers)
{
    for (qsizetype i = 0; i < numbers.size(); ++i) {
        if (numbers.at(i) != i + 1)
            return false;
    }
    return true;
}

} // namespace

class TestCatalogKeys : public QObject {
    Q_OBJECT

    QJsonObject m_strings;

    QString text(const QString& key, const QString& code) const
    {
        return m_strings.value(key)
            .toObject()
            .value(u"localizations"_s)
            .toObject()
            .value(code)
            .toObject()
            .value(u"stringUnit"_s)
            .toObject()
            .value(u"value"_s)
            .toString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QFile file(u":/Localizable.xcstrings"_s);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.errorString()));
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
        QVERIFY2(error.error == QJsonParseError::NoError, qPrintable(error.errorString()));
        QVERIFY(document.isObject());
        QVERIFY(document.object().value(u"strings"_s).isObject());
        m_strings = document.object().value(u"strings"_s).toObject();
        QVERIFY(!m_strings.isEmpty());
    }

    void keyListIsComplete()
    {
        QCOMPARE(requiredKeys.size(), expectedKeyCount);
        const QSet<QString> distinct(requiredKeys.cbegin(), requiredKeys.cend());
        QCOMPARE(distinct.size(), expectedKeyCount);
    }

    void requiredKeyHasBothTexts_data()
    {
        QTest::addColumn<QString>("key");
        for (const QString& key : requiredKeys)
            QTest::newRow(qPrintable(key)) << key;
    }

    void requiredKeyHasBothTexts()
    {
        QFETCH(QString, key);
        QVERIFY2(m_strings.contains(key), "missing from the catalog");
        QVERIFY2(!text(key, englishCode).isEmpty(), "no English text");
        QVERIFY2(!text(key, chineseCode).isEmpty(), "no Chinese text");
    }

    void extraKeysBelongToTheLinuxEdition()
    {
        const QSet<QString> required(requiredKeys.cbegin(), requiredKeys.cend());
        for (const QString& key : m_strings.keys()) {
            if (!required.contains(key))
                QVERIFY2(key.startsWith(linuxPrefix), qPrintable(u"unexpected key "_s + key));
        }
    }

    void placeholdersAgree_data()
    {
        QTest::addColumn<QString>("key");
        for (const QString& key : m_strings.keys())
            QTest::newRow(qPrintable(key)) << key;
    }

    void placeholdersAgree()
    {
        QFETCH(QString, key);
        const QString english = text(key, englishCode);
        const QString chinese = text(key, chineseCode);
        const QList<int> englishNumbers = placeholders(english);
        QCOMPARE(placeholders(chinese), englishNumbers);
        QVERIFY2(numberedWithoutGaps(englishNumbers), qPrintable(u"English: "_s + english));
        QVERIFY2(numberedWithoutGaps(placeholders(chinese)), qPrintable(u"Chinese: "_s + chinese));
    }
};

QTEST_GUILESS_MAIN(TestCatalogKeys)
#include "tst_catalogkeys.moc"
