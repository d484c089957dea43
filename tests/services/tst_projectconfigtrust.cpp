#include "ProjectConfigTrustStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

void writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

class TestProjectConfigTrust : public QObject {
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_home;
    QString m_project;

private Q_SLOTS:
    void init()
    {
        m_home = std::make_unique<QTemporaryDir>();
        m_project = m_home->filePath(u"src/app/.velmora.yaml"_s);
        writeFile(m_project, "prompts:\n  - title: Build\n    text: make\n");
    }

    void oneChangedByteWithdrawsTrustAndChangingBackRestoresIt()
    {
        ProjectConfigTrustStore store(m_home->path());
        store.reload();
        QVERIFY(!store.isTrusted(m_project));
        QVERIFY(store.trust(m_project));
        QVERIFY(store.isTrusted(m_project));

        writeFile(m_project, "prompts:\n  - title: Build\n    text: make!\n");
        QVERIFY(!store.isTrusted(m_project));
        writeFile(m_project, "prompts:\n  - title: Build\n    text: make\n");
        QVERIFY(store.isTrusted(m_project));

        QFile::remove(m_project);
        QVERIFY(!store.isTrusted(m_project));
    }

    void trustSurvivesARestartInACompactSortedFile()
    {
        const QString other = m_home->filePath(u"a/.velmora.yml"_s);
        writeFile(other, "name: A\n");
        {
            ProjectConfigTrustStore store(m_home->path());
            QVERIFY(store.trust(m_project));
            QVERIFY(store.trust(other));
        }
        ProjectConfigTrustStore store(m_home->path());
        store.reload();
        QVERIFY(store.isTrusted(m_project));
        QVERIFY(store.isTrusted(other));

        QFile file(store.fileURL());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray json = file.readAll();
        QVERIFY(!json.contains('\n'));
        QVERIFY(json.indexOf("a/.velmora.yml") < json.indexOf("src/app/.velmora.yaml"));
        QVERIFY(json.contains(ProjectConfigTrustStore::sha256Hex("name: A\n").toLatin1()));
        struct stat info = {};
        QCOMPARE(::stat(QFile::encodeName(store.fileURL()).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0600);
        QCOMPARE(::stat(QFile::encodeName(m_home->filePath(u".velmora"_s)).constData(), &info), 0);
        QCOMPARE(int(info.st_mode & 0777), 0700);
    }

    void trustThroughALinkCoversTheRealFileAndOtherLinks()
    {
        const QString link = m_home->filePath(u"link.yaml"_s);
        const QString otherLink = m_home->filePath(u"other-link.yaml"_s);
        QVERIFY(QFile::link(m_project, link));
        QVERIFY(QFile::link(m_project, otherLink));
        ProjectConfigTrustStore store(m_home->path());
        QVERIFY(store.trust(link));
        QVERIFY(store.isTrusted(m_project));
        QVERIFY(store.isTrusted(otherLink));
        QVERIFY(store.isTrusted(m_home->filePath(u"src/app/../app/.velmora.yaml"_s)));
    }

    void unreadableTrustFilesTrustNothing_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("not JSON") << QByteArray("[{\"path\"");
        QTest::newRow("an object") << QByteArray("{}");
        QTest::newRow("a record without its hash") << QByteArray("[{\"path\":\"/x\"}]");
    }

    void unreadableTrustFilesTrustNothing()
    {
        QFETCH(QByteArray, content);
        ProjectConfigTrustStore store(m_home->path());
        QVERIFY(store.trust(m_project));
        writeFile(store.fileURL(), content);
        store.reload();
        QVERIFY(store.trustedConfigHashesByPath().isEmpty());
        QVERIFY(!store.isTrusted(m_project));
        QVERIFY(store.trust(m_project)); // the next grant overwrites the file
        store.reload();
        QVERIFY(store.isTrusted(m_project));
    }

    void failures()
    {
        ProjectConfigTrustStore store(m_home->path());
        const auto missing = store.trust(m_home->filePath(u"nowhere/.velmora.yaml"_s));
        QVERIFY(!missing);
        QCOMPARE(missing.error().code, 260);
        QVERIFY(store.trustedConfigHashesByPath().isEmpty());

        // The trust file cannot be written: the grant holds for this run only.
        QVERIFY(QDir().mkpath(store.fileURL()));
        QVERIFY(!store.trust(m_project));
        QVERIFY(store.isTrusted(m_project));
        ProjectConfigTrustStore restarted(m_home->path());
        restarted.reload();
        QVERIFY(!restarted.isTrusted(m_project));
    }
};

QTEST_GUILESS_MAIN(TestProjectConfigTrust)
#include "tst_projectconfigtrust.moc"
