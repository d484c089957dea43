// The store over the real background loader and a real library folder: what a reload publishes
// when a file breaks before any good load, and when one breaks later.

#include "BackgroundPromptConfigLoader.h"
#include "Localization.h"
#include "PromptStore.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString text(const char* key)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), AppLanguage::english);
}

QStringList idsOf(const QList<PromptWorkspace>& workspaces)
{
    QStringList ids;
    for (const PromptWorkspace& workspace : workspaces)
        ids.append(workspace.id);
    return ids;
}

} // namespace

class TestPromptStoreDiskLoad : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QSettings> m_settings;

    void write(const QString& relativePath, const QByteArray& bytes)
    {
        const QString path = m_home->filePath(relativePath);
        QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    std::unique_ptr<PromptStore> makeStore()
    {
        auto loader = std::make_shared<BackgroundPromptConfigLoader>(m_home->path());
        return std::make_unique<PromptStore>(
            m_home->path(), [] { return AppLanguage::english; }, m_settings.get(),
            PromptStore::Collaborators{loader, nullptr, nullptr}, false);
    }

    static void reload(PromptStore& store)
    {
        QFuture<void> finished = store.reloadAndWait();
        QTRY_VERIFY(finished.isFinished());
    }

    void writeGoodLibrary()
    {
        write(u".velmora/global.yaml"_s, "prompts:\n  - id: g\n    title: Global\n");
        write(
            u".velmora/workspaces/alpha.yaml"_s,
            "workspace:\n  name: Alpha\n  match_paths:\n    - /src/alpha\nprompts:\n  - id: a\n    text: |\n"
            "      Alpha text\n");
    }

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        QVERIFY(m_home->isValid());
        m_settings = std::make_unique<QSettings>(m_home->filePath(u"settings.ini"_s), QSettings::IniFormat);
    }

    void brokenFileOnTheFirstLoadIsListedAndNothingIsShown()
    {
        writeGoodLibrary();
        write(u".velmora/workspaces/broken.yaml"_s, "prompts:\n\t- id: b\n");
        auto store = makeStore();
        reload(*store);
        QCOMPARE(store->configIssues().size(), 1);
        QCOMPARE(store->configIssues()[0].displayName, u"broken.yaml"_s);
        QCOMPARE(store->configIssues()[0].kind, PromptConfigIssueKind::invalidFormat);
        // With no good load to fall back on, a partial library is never shown.
        QVERIFY(store->globalPrompts().isEmpty());
        QVERIFY(store->workspaces().isEmpty());
        QCOMPARE(store->statusMessage(), text("status.loaded.configs").arg(u"2"_s, QString()));
    }

    void fileThatBreaksLaterKeepsTheGoodLibrary()
    {
        writeGoodLibrary();
        write(u".velmora/workspaces/beta.yaml"_s, "prompts:\n  - id: b\n");
        auto store = makeStore();
        reload(*store);
        QCOMPARE(idsOf(store->workspaces()), (QStringList{u"alpha"_s, u"beta"_s}));

        write(u".velmora/workspaces/beta.yaml"_s, "prompts:\n  - id: b\n    title: [broken]\n");
        reload(*store);
        QCOMPARE(store->configIssues().size(), 1);
        QCOMPARE(store->configIssues()[0].id, u"workspace:beta.yaml:config.issue.invalid.format"_s);
        QCOMPARE(idsOf(store->workspaces()), (QStringList{u"alpha"_s, u"beta"_s}));
        QCOMPARE(store->globalPrompts().size(), 1);
        QCOMPARE(store->statusMessage(), text("status.config.preserved.previous"));

        write(u".velmora/workspaces/beta.yaml"_s, "prompts:\n  - id: b2\n");
        reload(*store);
        QVERIFY(store->configIssues().isEmpty());
        QCOMPARE(store->workspaces()[1].prompts[0].id, u"b2"_s);
    }
};

QTEST_GUILESS_MAIN(TestPromptStoreDiskLoad)
#include "tst_promptstorediskload.moc"
