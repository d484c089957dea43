#include "AppLanguageStore.h"

#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestAppLanguageStore : public QObject {
    Q_OBJECT

    QTemporaryDir m_dir;
    const QString m_key = QString::fromLatin1(L10n::interfaceLanguageKey);

    std::unique_ptr<QSettings> settings()
    {
        return std::make_unique<QSettings>(m_dir.filePath(u"settings.ini"_s), QSettings::IniFormat);
    }

private Q_SLOTS:
    void init() { settings()->clear(); }

    void readsTheStoredChoice_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<AppLanguage>("selection");
        QTest::newRow("absent") << QVariant() << AppLanguage::system;
        QTest::newRow("Chinese") << QVariant(u"zhHans"_s) << AppLanguage::zhHans;
        QTest::newRow("English") << QVariant(u"english"_s) << AppLanguage::english;
        QTest::newRow("unknown") << QVariant(u"fr"_s) << AppLanguage::system;
        QTest::newRow("wrong type") << QVariant(7) << AppLanguage::system;
    }

    void readsTheStoredChoice()
    {
        QFETCH(QVariant, stored);
        QFETCH(AppLanguage, selection);
        auto defaults = settings();
        if (stored.isValid())
            defaults->setValue(m_key, stored);
        AppLanguageStore store(defaults.get(), [] { return QStringList{u"zh-Hans-CN"_s}; });
        QCOMPARE(store.selection(), selection);
        QCOMPARE(defaults->value(m_key), stored); // nothing is written until the user chooses
    }

    void effectiveLanguage()
    {
        auto defaults = settings();
        QStringList preferred{u"zh-Hant-TW"_s};
        AppLanguageStore store(defaults.get(), [&] { return preferred; });
        QCOMPARE(store.effectiveLanguage(), AppLanguage::english);
        preferred = {u"zh-CN"_s};
        QCOMPARE(store.effectiveLanguage(), AppLanguage::zhHans);
        store.setSelection(AppLanguage::english);
        QCOMPARE(store.effectiveLanguage(), AppLanguage::english);
    }

    void choosingWritesAtOnce()
    {
        auto defaults = settings();
        AppLanguageStore store(defaults.get(), [] { return QStringList{}; });
        QSignalSpy spy(&store, &AppLanguageStore::selectionChanged);
        store.setSelection(AppLanguage::zhHans);
        QCOMPARE(settings()->value(m_key).toString(), u"zhHans"_s);
        store.setSelection(AppLanguage::system);
        QCOMPARE(settings()->value(m_key).toString(), u"system"_s);
        QCOMPARE(spy.count(), 2);
    }
};

QTEST_GUILESS_MAIN(TestAppLanguageStore)
#include "tst_applanguagestore.moc"
