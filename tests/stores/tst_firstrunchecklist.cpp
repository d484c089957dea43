// The first-run flags as they start from what the preferences hold, and the checklist steps the
// library fulfils.
#include "FirstRunChecklistStore.h"
#include "PromptStoreFixture.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace PromptStoreFixture;

namespace {

const QString dismissed = QString::fromLatin1(FirstRunChecklistStore::dismissedKey);
const QString copied = QString::fromLatin1(FirstRunChecklistStore::successfulCopyKey);
const QString welcomed = QString::fromLatin1(FirstRunChecklistStore::welcomeCompletedKey);

} // namespace

class TestFirstRunChecklist : public QObject {
    Q_OBJECT

    Fixture f;

private Q_SLOTS:
    void init() { f.setUp(); }
    void cleanup() { f.tearDown(); }

    void startFollowsTheStoredFlags_data()
    {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<bool>("isDismissed");
        QTest::addColumn<bool>("presentsWelcome");
        QTest::addColumn<QVariant>("welcomedAfter");
        QTest::newRow("fresh") << QVariantMap{} << false << true << QVariant();
        QTest::newRow("dismissed counts as welcomed")
            << QVariantMap{{dismissed, true}} << true << false << QVariant(u"true"_s);
        QTest::newRow("a copy counts as welcomed")
            << QVariantMap{{copied, true}} << false << false << QVariant(u"true"_s);
        QTest::newRow("welcome not finished wins")
            << QVariantMap{{welcomed, false}, {copied, true}} << false << true << QVariant(u"false"_s);
        QTest::newRow("welcome finished")
            << QVariantMap{{welcomed, true}} << false << false << QVariant(u"true"_s);
        QTest::newRow("a flag of the wrong type is false")
            << QVariantMap{{dismissed, u"yes"_s}} << false << true << QVariant();
    }

    void startFollowsTheStoredFlags()
    {
        QFETCH(QVariantMap, stored);
        for (auto it = stored.cbegin(); it != stored.cend(); ++it)
            f.settings->setValue(it.key(), it.value());
        f.settings->sync();
        QSettings settings(f.settings->fileName(), QSettings::IniFormat);
        const FirstRunChecklistStore store(&settings);
        QTEST(store.isDismissed(), "isDismissed");
        QTEST(store.shouldPresentWelcome(), "presentsWelcome");
        QFETCH(QVariant, welcomedAfter);
        QCOMPARE(settings.value(welcomed).toString(), welcomedAfter.toString());
    }

    void aPersistedWorkspaceWelcomesOnlyWithoutAFlag()
    {
        FirstRunChecklistStore fresh(f.settings.get());
        fresh.prepareWelcomeForLaunch(false);
        QVERIFY(fresh.shouldPresentWelcome());
        fresh.prepareWelcomeForLaunch(true);
        QVERIFY(!fresh.shouldPresentWelcome());
        QCOMPARE(f.settings->value(welcomed).toBool(), true);

        f.settings->setValue(welcomed, false);
        FirstRunChecklistStore unfinished(f.settings.get());
        unfinished.prepareWelcomeForLaunch(true);
        QVERIFY(unfinished.shouldPresentWelcome());
    }

    void writesFromOutside()
    {
        FirstRunChecklistStore store(f.settings.get());
        QSignalSpy changed(&store, &FirstRunChecklistStore::changed);
        store.recordSuccessfulCopy();
        QCOMPARE(changed.count(), 1);
        QVERIFY(store.hasSuccessfulCopy());
        store.setDismissed(true);
        QVERIFY(FirstRunChecklistStore(f.settings.get()).isDismissed());
        store.setDismissed(false);
        QVERIFY(!store.isDismissed());
        store.completeWelcome();
        QVERIFY(!store.shouldPresentWelcome());
        store.requestWelcome();
        QVERIFY(store.shouldPresentWelcome());
    }

    void onlySavedWorkspacesAndTheirBindingsTick()
    {
        PromptWorkspace saved = workspace(u"saved"_s);
        saved.fileURL = f.homePath() + u"/.velmora/workspaces/saved.yaml"_s;
        PromptWorkspace project = workspace(u"project"_s);
        project.source = PromptWorkspaceSource::projectConfig;
        project.fileURL = f.homePath() + u"/p/.velmora.yaml"_s;
        PromptWorkspace sample = workspace(u"sample"_s);
        sample.source = PromptWorkspaceSource::transientSample;
        AgentContext cursor = AgentContext::unknown();
        cursor.agent = AgentType::cursor;
        cursor.frontmostAppName = u"Cursor"_s;
        FirstRunChecklistStore store(f.settings.get());

        QCOMPARE(store.snapshot({project, sample}, cursor, f.bindings.get()).completed, QSet<FirstRunStep>{});
        QVERIFY(f.store->bindAgent(AgentType::cursor, u"saved"_s, false));
        QCOMPARE(store.snapshot({saved, project}, cursor, f.bindings.get()).completed,
                 (QSet<FirstRunStep>{FirstRunStep::workspace, FirstRunStep::binding}));
        // The binding's workspace deleted: no tick for it.
        QCOMPARE(store.snapshot({project}, cursor, f.bindings.get()).completed, QSet<FirstRunStep>{});
        store.recordSuccessfulCopy();
        QCOMPARE(store.snapshot({}, cursor, f.bindings.get()).completed,
                 QSet<FirstRunStep>{FirstRunStep::successfulCopy});
    }
};

QTEST_GUILESS_MAIN(TestFirstRunChecklist)
#include "tst_firstrunchecklist.moc"
