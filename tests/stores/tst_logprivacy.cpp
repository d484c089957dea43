// Drives every failing path that writes a log line, with a marker in prompt texts and titles, window
// titles, workspace names, match paths and the folders above the home, and checks each line that
// was written: no marker, and a phrase followed by name=value pairs of the allowed kinds only.

#include "FailingSecureFileWriter.h"
#include "LibraryWriteOperations.h"

#include "AppLog.h"
#include "ContextDetector.h"
#include "FakeFrontmostApplicationProvider.h"
#include "FakeWindowTitleReader.h"
#include "PromptPackService.h"
#include "PromptPersistenceService.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace LibraryWriteOperations;

namespace {

// Symbols only, so that no identifier made from a marked name (a slug) keeps any of it.
const QString marker = u"☂⟦⁂⟧☃"_s;

// What a line may hold after its phrase, by pair name.
const QRegularExpression linePattern(
    u"^[A-Z][A-Za-z0-9]*( [A-Za-z0-9]+)*"
    "( (file|directory)=(none|[^ /]+(/[^ /]+)?)"
    "| error=[A-Za-z][A-Za-z0-9_.]* domain=[A-Za-z][A-Za-z0-9_.]* code=-?[0-9]+"
    "| (workspaceID|sampleID|packID|bindingID)=[^ ]+"
    "| agent=[A-Za-z]+"
    "| (promptCount|recordCount|bytes|messageLength|code)=-?[0-9]+"
    "| needsAutomationPermission=(0|1|true|false))*$"_s);

} // namespace

class TestLogPrivacy : public QObject {
    Q_OBJECT

    Library library;
    QStringList logs;

    void expectLogged(const char* phrase)
    {
        const bool found = std::any_of(logs.cbegin(), logs.cend(),
                                       [&](const QString& line) { return line.startsWith(QLatin1String(phrase)); });
        QVERIFY2(found, phrase);
    }

    void newLibrary()
    {
        AppLog::setSinkForTesting(nullptr);
        FailingSecureFileWriter::failAt(-1);
        library.setUp(marker);
        AppLog::setSinkForTesting([this](AppLog::Category, const QString& line) { logs.append(line); });
    }

private Q_SLOTS:
    void initTestCase() { newLibrary(); }

    // Lines that no test can provoke (a lost X connection, a refusing desktop) are checked where they
    // are written: each pair a log call names is of an allowed kind.
    void everyLogCallNamesOnlyAllowedPairs()
    {
        static const QSet<QString> allowed = {u"file"_s,       u"directory"_s,   u"error"_s,         u"workspaceID"_s,
                                              u"sampleID"_s,   u"packID"_s,      u"bindingID"_s,     u"agent"_s,
                                              u"promptCount"_s, u"recordCount"_s, u"bytes"_s,         u"messageLength"_s,
                                              u"code"_s,       u"needsAutomationPermission"_s};
        const QRegularExpression call(u"AppLog::(ui|context|prompts|persistence)\\(\\s*u\"([^\"]*)\""_s);
        const QRegularExpression pair(u"([A-Za-z]+)=%"_s);
        QDirIterator files(QStringLiteral(VELMORA_SOURCE_DIR "/src"), {u"*.cpp"_s}, QDir::Files,
                           QDirIterator::Subdirectories);
        int calls = 0;
        while (files.hasNext()) {
            QFile file(files.next());
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QString source = QString::fromUtf8(file.readAll());
            for (const QRegularExpressionMatch& line : call.globalMatch(source)) {
                ++calls;
                for (const QRegularExpressionMatch& name : pair.globalMatch(line.captured(2)))
                    QVERIFY2(allowed.contains(name.captured(1)), qPrintable(file.fileName() + u": "_s + line.captured(2)));
            }
        }
        QVERIFY(calls > 40);
    }

    void cleanupTestCase()
    {
        AppLog::setSinkForTesting(nullptr);
        FailingSecureFileWriter::failAt(-1);
        QVERIFY(!logs.isEmpty());
        for (const QString& line : std::as_const(logs)) {
            for (QChar character : marker)
                QVERIFY2(!line.contains(character), qPrintable(line));
            QVERIFY2(linePattern.match(line).hasMatch(), qPrintable(line));
        }
    }

    void refusedWrites()
    {
        for (const Operation& operation : operations()) {
            for (int index : {0, 1, 2, 3}) {
                newLibrary();
                FailingSecureFileWriter::failAt(index);
                operation.run(library);
            }
        }
        newLibrary();
        AgentContext cursor;
        cursor.frontmostAppName = u"Cursor"_s;
        cursor.frontWindowTitle = marker;
        cursor.agent = AgentType::cursor;
        FailingSecureFileWriter::failAt(0);
        library.store->selectWorkspace(u"work"_s, cursor);
        for (const char* phrase : {"Save last selected workspace failed", "Save workspace failed", "Create workspace failed", "Create workspace copy failed",
                                   "Create workspace from transient sample failed", "Delete workspace failed",
                                   "Bind context failed", "Bind agent failed", "Delete binding failed",
                                   "Trust project config failed", "Save agent workspace bindings failed",
                                   "Save legacy bindings failed", "Set secure directory permissions failed",
                                   "Secure string write failed", "Secure data write failed"})
            expectLogged(phrase);
    }

    void conflictsAndRefusedDeletions()
    {
        newLibrary();
        LibraryWriteOperations::writeFile(library.home + u"/.velmora/workspaces/work.yaml"_s,
                                          "workspace:\n  name: \"By hand "_ba + marker.toUtf8() + "\"\n");
        QVERIFY(!library.store->addPrompt(promptWith(u"c"_s, marker), u"work"_s));
        QFile::remove(library.home + u"/.velmora/workspaces/work.yaml"_s);
        library.store->togglePinned(u"a"_s, u"work"_s);
        QVERIFY(library.store->lastWorkspaceSaveIssue());

        newLibrary();
        library.store->persistence()->finalWorkspaceRemoval = [](const QString&) -> Expected<void> {
            return AppError::posix(EBUSY, u"busy: "_s + marker);
        };
        QCOMPARE(library.store->deleteWorkspaces({u"work"_s}).failureCount(), 1);
        PromptWorkspace outside = library.store->workspaces().constFirst();
        outside.fileURL = library.projectFile;
        QVERIFY(!library.store->persistence()->isolateWorkspaceFile(outside));
        expectLogged("Delete workspace failed");
        expectLogged("Reject unmanaged workspace file isolation");
    }

    void unreadableFiles()
    {
        newLibrary();
        const QString base = library.home + u"/.velmora/"_s;
        QVERIFY(LibraryWriteOperations::writeFile(base + u"prompt-usage.json"_s, "[{\"promptID\": \""_ba + marker.toUtf8()));
        QVERIFY(LibraryWriteOperations::writeFile(base + u"agent-workspace-bindings.json"_s, marker.toUtf8()));
        QVERIFY(LibraryWriteOperations::writeFile(base + u"context-bindings.json"_s, "{\"x\": \""_ba + marker.toUtf8() + "\"}"));
        library.makeStore();
        QVERIFY(library.store->bindingStore()->hasAgentWorkspaceBindingLoadError());
        QVERIFY(QDir().mkpath(library.store->bindingStore()->titleHashSaltFilePath()));
        QVERIFY(library.store->bindingStore()->hashedTitleKeyword(marker).startsWith(u"title-hash:"_s));

        const QString pack = library.rootPath + u'/' + marker + u"/packs/shared.velmora-pack.yaml"_s;
        QVERIFY(LibraryWriteOperations::writeFile(pack, "pack:\n  name: \""_ba + marker.toUtf8() + "\"\n"));
        const PromptPackService packs(PromptPersistenceService(library.home), [] { return AppLanguage::english; });
        QVERIFY(!packs.parseImportPreviewAt(pack));
        for (const char* phrase : {"Load prompt usage failed", "Load agent workspace bindings failed",
                                   "Load legacy bindings failed", "Create title hash salt failed",
                                   "Preview prompt pack failed"})
            expectLogged(phrase);
    }

    // A failed title read reaches the user as an error text, never the log, whatever it holds.
    void titleReadErrors()
    {
        FakeFrontmostApplicationProvider frontmost;
        frontmost.application = FrontmostApplication{u"Code "_s + marker, u"com.microsoft.VSCode"_s, 4242};
        FakeWindowTitleReader titles;
        titles.result = {marker, true, u"read failed: "_s + marker};
        ContextDetector::Configuration configuration;
        configuration.frontmostApplicationProvider = &frontmost;
        configuration.windowTitleReader = &titles;
        configuration.automaticMatchingEnabledProvider = [] { return true; };
        configuration.environmentWorkspaceProvider = [] { return std::optional<QString>(); };
        configuration.startsTimer = false;
        ContextDetector detector(configuration);
        QSignalSpy detected(&detector, &ContextDetector::lastDetectionErrorChanged);
        detector.start();
        QTRY_VERIFY(!detected.isEmpty());
        QVERIFY(detector.lastDetectionError().value_or(QString()).contains(marker));
        QCOMPARE(titles.readCount, 1);
        detector.stop();
    }
};

QTEST_GUILESS_MAIN(TestLogPrivacy)
#include "tst_logprivacy.moc"
