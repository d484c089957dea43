// A library the user may read but not change: ~/.velmora and everything in it belong to another
// user. Every operation that writes runs in a child process that has given up root (file modes stop
// nothing for root), and must fail with a status and an error, memory and disk as they were.

#include "LibraryWriteOperations.h"

#include <QProcess>

#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace LibraryWriteOperations;

namespace {

constexpr auto operationVariable = "VELMORA_TEST_READONLY_OPERATION";
constexpr auto rootVariable = "VELMORA_TEST_READONLY_ROOT";
constexpr uid_t unprivilegedID = 65534; // "nobody"
const QString marker = u"readonly"_s;

std::optional<Operation> operationNamed(const QString& name)
{
    for (const Operation& operation : operations()) {
        if (QLatin1String(operation.name) == name)
            return operation;
    }
    return std::nullopt;
}

// Readable for everyone, writable by root alone.
void makeReadOnlyForOthers(const QString& folder)
{
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                      QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const bool isFolder = entries.fileInfo().isDir();
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther |
                                        (isFolder ? QFile::ExeOwner | QFile::ExeGroup | QFile::ExeOther
                                                  : QFileDevice::Permissions()));
    }
}

} // namespace

// The child's side: one operation on the library that stands at the given root.
class ReadOnlyOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void failsAndChangesNothing()
    {
        QCOMPARE(::geteuid(), unprivilegedID);
        const auto operation = operationNamed(qEnvironmentVariable(operationVariable));
        QVERIFY(operation);
        Library library;
        library.setUp(marker, qEnvironmentVariable(rootVariable));
        if (QTest::currentTestFailed())
            return;
        const Snapshot before = library.snapshot();
        QVERIFY(!operation->run(library));
        expectUnchanged(before, library.snapshot(), *operation);
        QVERIFY(!library.store->statusMessage().isEmpty());
        QVERIFY(!library.store->lastErrorMessage().value_or(QString()).isEmpty());
    }
};

class TestReadOnlyLibrary : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (::geteuid() != 0)
            QSKIP("needs root, to hand the library to another user; CI runs as root");
    }

    void everyWriteFailsAndChangesNothing_data()
    {
        QTest::addColumn<QString>("name");
        for (const Operation& operation : operations())
            QTest::newRow(operation.name) << QString::fromLatin1(operation.name);
    }

    void everyWriteFailsAndChangesNothing()
    {
        QFETCH(QString, name);
        Library library;
        library.setUp(marker);
        makeReadOnlyForOthers(library.rootPath);
        const QMap<QString, QByteArray> before = Library::filesUnder(library.rootPath);

        QProcess child;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QString::fromLatin1(operationVariable), name);
        environment.insert(QString::fromLatin1(rootVariable), library.rootPath);
        environment.insert(u"HOME"_s, library.home);
        child.setProcessEnvironment(environment);
        child.setProcessChannelMode(QProcess::MergedChannels);
        child.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(child.waitForFinished(120000));
        const QByteArray output = child.readAll();
        QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, output.constData());
        QVERIFY2(output.contains("PASS   : ReadOnlyOperation::failsAndChangesNothing()"), output.constData());
        QCOMPARE(Library::filesUnder(library.rootPath), before);
    }
};

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsSet(operationVariable)) {
        if (::setgid(unprivilegedID) != 0 || ::setuid(unprivilegedID) != 0)
            return 3;
        QCoreApplication app(argc, argv);
        ReadOnlyOperation operation;
        return QTest::qExec(&operation, argc, argv);
    }
    QCoreApplication app(argc, argv);
    TestReadOnlyLibrary test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_readonlylibrary.moc"
