// The import sheet over a real store and library folder, with the file chooser and the debounce's wait
// under the test's control: the proposed target, packs over text, the Import button during the wait,
// keys, drops, the notice above the size limit, and an import refused by the version check.

#include "AppLanguageStore.h"
#include "FakeFileChooser.h"
#include "PromptConfigLoader.h"
#include "PromptImportPreviewList.h"
#include "PromptImportSheet.h"
#include "PromptImportTextEditor.h"
#include "PromptPanelPreferences.h"
#include "PromptStoreFixture.h"
#include "VelmoraButton.h"
#include "VelmoraSheetHost.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMimeData>
#include <QPointer>
#include <QPromise>
#include <QUrl>

using namespace PromptStoreFixture;

class TestPromptImportSheet : public QObject {
    Q_OBJECT

    Fixture f;
    std::unique_ptr<AppLanguageStore> m_language;
    std::unique_ptr<PromptPanelPreferences> m_preferences;
    FakeFileChooser m_chooser;
    QList<std::shared_ptr<QPromise<void>>> m_waits;
    std::unique_ptr<QWidget> m_presenter;
    QPointer<VelmoraSheetHost> m_host;

    // Loads what the library folder holds, as the app's loader reads it.
    void loadFromDisk()
    {
        f.load(PromptConfigLoader(f.homePath(), [] { return AppLanguage::english; }).loadAllConfigs());
    }

    PromptImportSheet* present(std::optional<QString> initialWorkspaceID = std::nullopt)
    {
        PromptImportSheet::Dependencies dependencies;
        dependencies.promptStore = f.store.get();
        dependencies.languageStore = m_language.get();
        dependencies.preferences = m_preferences.get();
        dependencies.fileChooser = &m_chooser;
        dependencies.initialWorkspaceID = std::move(initialWorkspaceID);
        dependencies.sleeper = [this](qint64) {
            auto promise = std::make_shared<QPromise<void>>();
            promise->start();
            m_waits.append(promise);
            return promise->future();
        };
        m_host = PromptImportSheet::present(m_presenter.get(), dependencies);
        return qobject_cast<PromptImportSheet*>(m_host->content());
    }

    // Types the text and lets the last wait end, so the parse runs.
    void typeAndSettle(PromptImportSheet* sheet, const QString& text)
    {
        sheet->editor()->setPlainText(text);
        m_waits.last()->finish();
        QTRY_VERIFY(sheet->viewModel()->hasCurrentImportPreview());
    }

    QString pack(const char* name) const
    {
        return QFINDTESTDATA(u"data/packs/"_s + QString::fromLatin1(name) + u".velmora-pack.yaml"_s);
    }

    void drop(PromptImportTextEditor* editor, const QString& path)
    {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        data.setText(path);
        const QPoint at(4, 4);
        QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor->viewport(), &enter);
        QDropEvent dropped(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(editor->viewport(), &dropped);
    }

private Q_SLOTS:
    void init()
    {
        f.setUp();
        m_language = std::make_unique<AppLanguageStore>(f.settings.get(), [] { return QStringList{u"en"_s}; });
        m_preferences = std::make_unique<PromptPanelPreferences>(f.settings.get());
        m_chooser = {};
        m_waits.clear();
        m_presenter = std::make_unique<QWidget>();
        m_presenter->resize(800, 800);
        m_presenter->show();
        f.writeFile(u".velmora/workspaces/work.yaml"_s,
                    "workspace:\n  name: \"Work\"\n\nprompts:\n  - id: \"imported-alpha\"\n    title: \"Old\"\n"
                    "    text: |\n      old\n");
        f.writeFile(u".velmora/workspaces/zeta.yaml"_s, "workspace:\n  name: \"Zeta\"\n");
        loadFromDisk();
    }

    void cleanup()
    {
        delete m_host.data();
        m_presenter.reset();
        f.tearDown();
    }

    void proposesOnlyAUserWorkspaceNamedByThePanel_data()
    {
        QTest::addColumn<std::optional<QString>>("initial");
        QTest::addColumn<QString>("target");
        QTest::newRow("none named") << std::optional<QString>() << QString();
        QTest::newRow("unknown workspace") << std::optional(u"ghost"_s) << QString();
        QTest::newRow("project workspace") << std::optional(u"project"_s) << QString();
        QTest::newRow("user workspace") << std::optional(u"zeta"_s) << u"zeta"_s;
    }

    void proposesOnlyAUserWorkspaceNamedByThePanel()
    {
        QFETCH(std::optional<QString>, initial);
        QFETCH(QString, target);
        PromptLoadResult result = PromptConfigLoader(f.homePath(), [] { return AppLanguage::english; }).loadAllConfigs();
        PromptWorkspace project = workspace(u"project"_s);
        project.source = PromptWorkspaceSource::projectConfig;
        result.workspaces.append(project);
        f.load(result);
        PromptImportSheet* sheet = present(initial);
        QCOMPARE(sheet->targetWorkspaceID(), target);
        QCOMPARE(sheet->targetRequiredLabel()->isVisible(), target.isEmpty());
        QCOMPARE(sheet->targetPicker()->currentData().toString(), target);
        QCOMPARE(sheet->targetPicker()->itemText(0), text("common.select.placeholder"));
        QCOMPARE(sheet->targetPicker()->count(), 4); // every workspace is offered all the same
        QVERIFY(!sheet->needsWorkspaceLabel()->isVisible());
        QTRY_VERIFY(sheet->editor()->hasFocus());
    }

    void anEmptyLibraryCanStillInstallAPack()
    {
        f.load({});
        PromptImportSheet* sheet = present();
        QVERIFY(sheet->needsWorkspaceLabel()->isVisible());
        QVERIFY(!sheet->targetPicker()->isVisible());
        QVERIFY(!sheet->importButton()->isEnabled());
        m_chooser.answers = {pack("valid")};
        QTest::mouseClick(sheet->choosePackButton(), Qt::LeftButton);
        QCOMPARE(m_chooser.requests.first().suffixes, QStringList({u"yaml"_s, u"yml"_s}));
        QCOMPARE(m_chooser.requests.first().acceptLabel, text("action.import"));
        QVERIFY(sheet->packSummary()->isVisible());
        QVERIFY(sheet->importButton()->isEnabled());
        QTest::mouseClick(sheet->installButton(), Qt::LeftButton);
        QTRY_VERIFY(!m_host);
        QCOMPARE(idsOf(f.store->workspaces()), QStringList({u"team-kit"_s}));
    }

    void aChosenPackWinsOverTheText()
    {
        PromptImportSheet* sheet = present(u"zeta"_s);
        typeAndSettle(sheet, u"## Alpha\nbody"_s);
        m_chooser.answers = {pack("valid")};
        sheet->choosePromptPack();
        QTest::keyClick(sheet->editor(), Qt::Key_Return, Qt::ControlModifier);
        QTRY_VERIFY(!m_host);
        QCOMPARE(f.store->workspaces().last().id, u"team-kit"_s);
        QVERIFY(f.store->workspaces()[1].prompts.isEmpty()); // zeta got nothing
    }

    void aCancelledChoiceKeepsThePackAndABadFileRemovesIt()
    {
        PromptImportSheet* sheet = present();
        m_chooser.answers = {pack("valid"), std::nullopt, pack("no-prompts")};
        sheet->choosePromptPack();
        const auto chosen = sheet->packPreview();
        QVERIFY(chosen);
        sheet->choosePromptPack();
        QCOMPARE(sheet->packPreview(), chosen);
        sheet->choosePromptPack();
        QVERIFY(!sheet->packPreview());
        QCOMPARE(sheet->packError(), std::optional(text("error.pack.no.prompts")));
        QVERIFY(sheet->packErrorLabel()->isVisible());
        QVERIFY(!sheet->packSummary()->isVisible());
        QVERIFY(!sheet->importButton()->isEnabled());
    }

    void importIsOffWhileTheTextWaitsForItsParse()
    {
        PromptImportSheet* sheet = present(u"zeta"_s);
        typeAndSettle(sheet, u"First\nbody one\n\nSecond\nbody two"_s);
        QVERIFY(sheet->importButton()->isEnabled());
        QCOMPARE(sheet->previewCountLabel()->text(), text("import.preview.count").arg(u"2"_s));
        QTest::keyClick(sheet->editor(), Qt::Key_Return); // a new line, nothing else
        QCOMPARE(sheet->rawText().count(u'\n'), 5);
        QVERIFY(!sheet->importButton()->isEnabled());
        QTest::keyClick(sheet->editor(), Qt::Key_Return, Qt::ControlModifier);
        QVERIFY(m_host); // the wait still runs: nothing imported
        m_waits.last()->finish();
        QTRY_VERIFY(sheet->importButton()->isEnabled());
        QTest::mouseClick(sheet->importButton(), Qt::LeftButton);
        QTRY_VERIFY(!m_host);
        QCOMPARE(idsOf(f.store->workspaces()[1].prompts), QStringList({u"imported-first"_s, u"imported-second"_s}));
    }

    void escapeLeavesWithoutAnyLatePreview()
    {
        PromptImportSheet* sheet = present(u"zeta"_s);
        QPointer<PromptImportViewModel> viewModel = sheet->viewModel();
        sheet->editor()->setPlainText(u"Some text"_s);
        QTest::keyClick(sheet->editor(), Qt::Key_Escape);
        QTRY_VERIFY(!m_host);
        QVERIFY(!viewModel || viewModel->publishCount() == 0);
        m_waits.last()->finish();
        QTest::qWait(0);
        QCOMPARE(f.store->workspaces()[1].prompts.size(), qsizetype(0));
    }

    void droppedFiles_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("inserted");  // empty: nothing
        QTest::addColumn<QString>("notice");     // key of the refusal, or empty
        QTest::newRow("text file") << u"notes.txt"_s << QByteArray("dropped ✓") << u"dropped ✓"_s << QString();
        QTest::newRow("not UTF-8") << u"bad.txt"_s << QByteArray("\xc0\xaf") << QString()
                                   << u"linux.import.file.unreadable"_s;
        QTest::newRow("too large") << u"big.txt"_s << QByteArray(524289, 'x') << QString()
                                   << u"linux.import.text.too.large"_s;
        QTest::newRow("a folder") << u"folder.txt"_s << QByteArray() << QString() << u"linux.import.file.unreadable"_s;
    }

    void droppedFiles()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        QFETCH(QString, inserted);
        QFETCH(QString, notice);
        PromptImportSheet* sheet = present();
        const QString path = bytes.isEmpty() ? f.makeFolder(name) : f.writeFile(name, bytes);
        drop(sheet->editor(), path);
        QCOMPARE(sheet->rawText(), inserted);
        QCOMPARE(sheet->fileNoticeLabel()->isVisible(), !notice.isEmpty());
        if (!notice.isEmpty()) {
            QCOMPARE(sheet->fileNoticeLabel()->text(),
                     text("linux.error.with.file.name").arg(text(notice.toLatin1().constData()), name));
        }
    }

    void aDroppedPackIsTakenAsChosen()
    {
        PromptImportSheet* sheet = present();
        drop(sheet->editor(), pack("valid"));
        QVERIFY(sheet->rawText().isEmpty());
        QCOMPARE(sheet->packPreview()->pack.metadata.id, u"team-kit"_s);
    }

    void textAboveTheLimitSaysSoWhereThePreviewsWouldBe_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<bool>("previews");
        QTest::newRow("at the limit") << 524288 << true;
        QTest::newRow("one byte above") << 524289 << false;
    }

    void textAboveTheLimitSaysSoWhereThePreviewsWouldBe()
    {
        QFETCH(int, bytes);
        QFETCH(bool, previews);
        PromptImportSheet* sheet = present(u"zeta"_s);
        // Two-byte characters up to the edge, and blanks around that don't count.
        const int wide = bytes / 2 - 1;
        sheet->editor()->setPlainText(u"  "_s + QString(wide, u'é') + QString(bytes - 2 * wide, u'x') + u"\n"_s);
        QCOMPARE(sheet->noPreviewLabel()->text(), text(previews ? "import.no.preview" : "linux.import.text.too.large"));
        m_waits.last()->finish();
        if (previews)
            QTRY_VERIFY(sheet->viewModel()->hasCurrentImportPreview());
        else
            QTRY_COMPARE(sheet->viewModel()->publishCount(), qint64(1));
        QCOMPARE(sheet->noPreviewLabel()->isVisible(), !previews);
    }

    void anImportRefusedByTheVersionCheckWorksOnSecondTry()
    {
        PromptImportSheet* sheet = present(u"work"_s);
        typeAndSettle(sheet, u"Alpha\nnew text"_s);
        f.writeFile(u".velmora/workspaces/work.yaml"_s,
                    "workspace:\n  name: \"Work\"\n\nprompts:\n  - id: \"imported-alpha\"\n    title: \"By hand\"\n"
                    "    text: |\n      changed\n  - id: \"imported-alpha-2\"\n    title: \"More\"\n    text: |\n"
                    "      more\n");
        QVERIFY(!sheet->importContent());
        QCOMPARE(f.store->statusMessage(), text("status.save.failed"));
        QVERIFY(f.store->isReloading());
        QCOMPARE(sheet->targetWorkspaceID(), u"work"_s);
        QCOMPARE(sheet->viewModel()->previews().size(), qsizetype(1));
        f.loader->finish(f.loader->pending.size() - 1,
                         PromptConfigLoader(f.homePath(), [] { return AppLanguage::english; }).loadAllConfigs());
        QTRY_VERIFY(!f.store->isReloading());
        QCOMPARE(f.store->statusMessage(), text("status.save.failed"));
        QVERIFY(sheet->importContent());
        QCOMPARE(idsOf(f.store->workspaces().first().prompts),
                 QStringList({u"imported-alpha"_s, u"imported-alpha-2"_s, u"imported-alpha-3"_s}));
    }
};

QTEST_MAIN(TestPromptImportSheet)
#include "tst_promptimportsheet.moc"
