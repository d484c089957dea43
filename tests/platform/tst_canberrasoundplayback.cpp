#include "CanberraSoundPlayback.h"
#include "PromptCopySoundPlayer.h"
#include "ShortcutSettingsStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QString makeDirectory(const QTemporaryDir& root, const QString& relative)
{
    const QString path = root.filePath(relative);
    QDir().mkpath(path);
    return QDir::cleanPath(path);
}

void touch(const QString& path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

} // namespace

class TestCanberraSoundPlayback : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void directoriesPreferTheInstalledOneThenTheSourceTree()
    {
        QTemporaryDir root;
        const QString executable = makeDirectory(root, u"build/release/src"_s);
        QCOMPARE(CanberraSoundPlayback::soundDirectories(executable), QStringList());
        const QString tree = makeDirectory(root, u"resources/sounds"_s);
        QCOMPARE(CanberraSoundPlayback::soundDirectories(executable), QStringList{tree});
        const QString installed = makeDirectory(root, u"build/release/share/velmora/sounds"_s);
        QCOMPARE(CanberraSoundPlayback::soundDirectories(executable), (QStringList{installed, tree}));
    }

    void soundFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("found"); // relative to the root; empty for nothing
        QTest::newRow("first folder wins") << u"Glass"_s << u"first/Glass.wav"_s;
        QTest::newRow("second folder") << u"Hero"_s << u"second/Hero.wav"_s;
        QTest::newRow("unknown") << u"Basso"_s << QString();
        QTest::newRow("path outside") << u"../outside/Pop"_s << QString();
        QTest::newRow("hidden") << u".Pop"_s << QString();
        QTest::newRow("empty") << QString() << QString();
    }

    void soundFile()
    {
        QFETCH(QString, name);
        QFETCH(QString, found);
        QTemporaryDir root;
        const QStringList folders{makeDirectory(root, u"first"_s), makeDirectory(root, u"second"_s)};
        makeDirectory(root, u"outside"_s);
        for (const QString& file : {u"first/Glass.wav"_s, u"second/Glass.wav"_s, u"second/Hero.wav"_s,
                                    u"outside/Pop.wav"_s, u"first/.Pop.wav"_s})
            touch(root.filePath(file));
        const std::optional<QString> file = CanberraSoundPlayback::soundFile(name, folders);
        QCOMPARE(file.value_or(QString()), found.isEmpty() ? QString() : root.filePath(found));
        QCOMPARE(bool(CanberraSoundPlayback::factory(folders)(name)), !found.isEmpty());
    }

    // Whether a sound server runs here or not: a file that is gone plays nothing and reports nothing.
    void missingFileIsSilent()
    {
        CanberraSoundPlayback voice(u"/nonexistent/velmora/Glass.wav"_s);
        QVERIFY(!voice.play());
        QVERIFY(!voice.isPlaying());
        voice.setCurrentTime(0);
        voice.stop();

        PromptCopySoundPlayer player(CanberraSoundPlayback::factory({u"/nonexistent/velmora"_s}));
        player.play(u"Glass"_s);
        QCOMPARE(player.voiceCount(), 0);
    }

    // Every sound the settings offer ships as a small 16-bit PCM WAV file of its own.
    void everyOfferedSoundShips()
    {
        const QString folder = QFINDTESTDATA("../resources/sounds");
        QVERIFY(!folder.isEmpty());
        QSet<QByteArray> contents;
        for (const auto& option : ShortcutSettingsStore::copySoundOptions()) {
            if (option.value.isEmpty())
                continue;
            const std::optional<QString> path = CanberraSoundPlayback::soundFile(option.value, {folder});
            QVERIFY2(path, qPrintable(option.value));
            QFile file(*path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            const QByteArray bytes = file.readAll();
            QVERIFY(bytes.size() < 60 * 1024);
            QVERIFY(bytes.startsWith("RIFF") && bytes.mid(8, 8) == "WAVEfmt ");
            QCOMPARE(bytes.mid(20, 2), QByteArray("\x01\x00", 2)); // PCM
            QCOMPARE(bytes.mid(34, 2), QByteArray("\x10\x00", 2)); // 16 bits
            contents.insert(bytes);
        }
        QCOMPARE(contents.size(), 5);
    }
};

QTEST_GUILESS_MAIN(TestCanberraSoundPlayback)
#include "tst_canberrasoundplayback.moc"
