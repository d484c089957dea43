#include "AppLog.h"
#include "SecureFileWriter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

int modeOf(const QString& path)
{
    struct stat info = {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return int(info.st_mode & 07777);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

} // namespace

class TestSecureFileWriter : public QObject {
    Q_OBJECT

    QStringList m_log;

private Q_SLOTS:
    void init()
    {
        m_log.clear();
        AppLog::setSinkForTesting([this](AppLog::Category category, const QString& line) {
            QCOMPARE(category, AppLog::Category::persistence);
            m_log.append(line);
        });
    }

    void cleanup() { AppLog::setSinkForTesting(nullptr); }

    void newFileIsOwnerOnlyWhateverTheUmask_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("text") << u"prompts: []\n名字"_s;
        QTest::newRow("empty text, empty file") << QString();
    }

    void newFileIsOwnerOnlyWhateverTheUmask()
    {
        QFETCH(QString, text);
        const mode_t previous = ::umask(0);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"global.yaml"_s);
        const auto result = SecureFileWriter::writeString(text, path);
        ::umask(previous);
        QVERIFY(result);
        QCOMPARE(modeOf(path), 0600);
        QCOMPARE(contentOf(path), text.toUtf8());
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{u"global.yaml"_s}); // no temporary file left behind
        QVERIFY(m_log.isEmpty());                // nothing is logged on success
    }

    void replacingAWideFileNarrowsIt()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"usage.json"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("old");
        file.close();
        QVERIFY(::chmod(QFile::encodeName(path).constData(), 0644) == 0);
        QVERIFY(SecureFileWriter::writeData("new", path));
        QCOMPARE(modeOf(path), 0600);
        QCOMPARE(contentOf(path), QByteArray("new"));
    }

    void missingFolderFailsAndCreatesNothing()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"workspaces/work.yaml"_s);
        const auto result = SecureFileWriter::writeData("x", path);
        QVERIFY(!result);
        QCOMPARE(result.error().code, qint64(ENOENT));
        QVERIFY(!QFileInfo::exists(dir.filePath(u"workspaces"_s)));
        QCOMPARE(m_log, QStringList{u"Secure data write failed file=workspaces/work.yaml bytes=1 "
                                    "error=POSIXError domain=NSPOSIXErrorDomain code=2"_s});
    }

    void aFolderInTheWayIsLeftAlone()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"work.yaml"_s);
        QVERIFY(QDir(dir.path()).mkpath(u"work.yaml/inner"_s));
        const auto result = SecureFileWriter::writeString(u"text"_s, path);
        QVERIFY(!result);
        QVERIFY(QFileInfo(path).isDir());
        QVERIFY(QFileInfo::exists(path + u"/inner"_s));
        QCOMPARE(m_log.size(), 1);
        QVERIFY(m_log[0].startsWith(u"Secure string write failed file="_s));
        QVERIFY(m_log[0].contains(u"bytes=4 "_s));
        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList{u"work.yaml"_s});
    }

    void restrictsAFolder()
    {
        QTemporaryDir dir;
        const QString folder = dir.filePath(u".velmora"_s);
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(::chmod(QFile::encodeName(folder).constData(), 0755) == 0);
        QVERIFY(SecureFileWriter::restrictDirectoryToCurrentUser(folder));
        QCOMPARE(modeOf(folder), 0700);

        QVERIFY(!SecureFileWriter::restrictDirectoryToCurrentUser(dir.filePath(u"missing"_s)));
        QCOMPARE(m_log, QStringList{u"Set secure directory permissions failed directory=%1/missing "
                                    "error=POSIXError domain=NSPOSIXErrorDomain code=2"_s.arg(
                                        QFileInfo(dir.path()).fileName())});
    }
};

QTEST_GUILESS_MAIN(TestSecureFileWriter)
#include "tst_securefilewriter.moc"
