#include "Localization.h"

#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

QByteArray catalogJSON(const QByteArray& strings)
{
    return R"({"sourceLanguage":"en","version":"1.0","strings":{)" + strings + "}}";
}

} // namespace

class TestLocalization : public QObject {
    Q_OBJECT

    QTemporaryDir m_settingsDir;

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, m_settingsDir.path());
    }

    void systemResolution_data()
    {
        QTest::addColumn<QStringList>("preferred");
        QTest::addColumn<AppLanguage>("expected");
        QTest::newRow("none") << QStringList{} << AppLanguage::english;
        QTest::newRow("simplified, China") << QStringList{u"zh-Hans-CN"_s} << AppLanguage::zhHans;
        QTest::newRow("ZH-CN in capitals") << QStringList{u"ZH-CN"_s} << AppLanguage::zhHans;
        QTest::newRow("Singapore") << QStringList{u"zh-SG"_s} << AppLanguage::zhHans;
        QTest::newRow("locale with underscore") << QStringList{u"zh_CN"_s} << AppLanguage::zhHans;
        QTest::newRow("traditional, Taiwan") << QStringList{u"zh-Hant-TW"_s} << AppLanguage::english;
        QTest::newRow("only the first counts")
            << QStringList{u"de-DE"_s, u"zh-Hans"_s} << AppLanguage::english;
        QTest::newRow("English") << QStringList{u"en-US"_s} << AppLanguage::english;
    }

    void systemResolution()
    {
        QFETCH(QStringList, preferred);
        QFETCH(AppLanguage, expected);
        QCOMPARE(systemResolved(preferred), expected);
    }

    void lookupFallsBack_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<AppLanguage>("language");
        QTest::addColumn<QString>("expected");
        const QByteArray both =
            R"("k":{"localizations":{"en":{"stringUnit":{"value":"Hello"}},"zh-Hans":{"stringUnit":{"value":"你好"}}}})";
        const QByteArray englishOnly = R"("k":{"localizations":{"en":{"stringUnit":{"value":"Hello"}}}})";
        const QByteArray chineseOnly = R"("k":{"localizations":{"zh-Hans":{"stringUnit":{"value":"你好"}}}})";
        const QByteArray emptyChinese =
            R"("k":{"localizations":{"en":{"stringUnit":{"value":"Hello"}},"zh-Hans":{"stringUnit":{"value":""}}}})";
        const QByteArray noUnit =
            R"("k":{"localizations":{"en":{"stringUnit":{"value":"Hello"}},"zh-Hans":{"other":1}}})";
        const QByteArray noLocalizations = R"("k":{"comment":"x"})";
        QTest::newRow("Chinese text") << both << AppLanguage::zhHans << u"你好"_s;
        QTest::newRow("English text") << both << AppLanguage::english << u"Hello"_s;
        QTest::newRow("English only, asked in Chinese") << englishOnly << AppLanguage::zhHans << u"Hello"_s;
        QTest::newRow("Chinese only, asked in English") << chineseOnly << AppLanguage::english << u"k"_s;
        QTest::newRow("empty Chinese value") << emptyChinese << AppLanguage::zhHans << u"Hello"_s;
        QTest::newRow("Chinese without a string unit") << noUnit << AppLanguage::zhHans << u"Hello"_s;
        QTest::newRow("no localizations") << noLocalizations << AppLanguage::english << u"k"_s;
    }

    void lookupFallsBack()
    {
        QFETCH(QByteArray, entry);
        QFETCH(AppLanguage, language);
        QFETCH(QString, expected);
        const auto catalog = AppLocalizationCatalog::decode(catalogJSON(entry));
        QVERIFY(catalog.hasValue());
        QCOMPARE(catalog->string(u"k"_s, language), expected);
        QCOMPARE(catalog->string(u"missing.key"_s, language), u"missing.key"_s);
    }

    void brokenCatalogsFail_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::newRow("not JSON") << QByteArray("{");
        QTest::newRow("no strings") << QByteArray(R"({"version":"1.0"})");
        QTest::newRow("string unit without value")
            << catalogJSON(R"("k":{"localizations":{"en":{"stringUnit":{"state":"new"}}}})");
        QTest::newRow("value of the wrong type")
            << catalogJSON(R"("k":{"localizations":{"en":{"stringUnit":{"value":3}}}})");
    }

    void brokenCatalogsFail()
    {
        QFETCH(QByteArray, json);
        QVERIFY(!AppLocalizationCatalog::decode(json).hasValue());
    }

    void loadsFromTheSourceTreeUpwards()
    {
        QTemporaryDir root;
        QVERIFY(QDir(root.path()).mkpath(u"resources"_s));
        QVERIFY(QDir(root.path()).mkpath(u"a/b/c"_s));
        QFile file(root.filePath(u"resources/Localizable.xcstrings"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(catalogJSON(R"("k":{"localizations":{"en":{"stringUnit":{"value":"Found"}}}})"));
        file.close();

        const auto found = AppLocalizationCatalog::loadFromSourceTree(root.filePath(u"a/b/c"_s));
        QVERIFY(found.hasValue());
        QCOMPARE(found->string(u"k"_s, AppLanguage::english), u"Found"_s);

        QTemporaryDir empty;
        QVERIFY(QDir(empty.path()).mkpath(u"1/2/3/4/5/6/7/8"_s));
        QVERIFY(!AppLocalizationCatalog::loadFromSourceTree(empty.filePath(u"1/2/3/4/5/6/7/8"_s)).hasValue());
    }

    void sharedCatalogIsTheCompiledResource()
    {
        const auto& shared = AppLocalizationCatalog::shared();
        QVERIFY(!shared.values.isEmpty());
        QCOMPARE(shared.string(u"product.name"_s, AppLanguage::english), u"Velmora"_s);
        QVERIFY(shared.string(u"action.quit"_s, AppLanguage::zhHans) != u"action.quit"_s);
    }

    void currentLanguageReadsThePreference_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<AppLanguage>("expected");
        const AppLanguage system = systemResolved(systemPreferredLanguages());
        QTest::newRow("Chinese") << QVariant(u"zhHans"_s) << AppLanguage::zhHans;
        QTest::newRow("English") << QVariant(u"english"_s) << AppLanguage::english;
        QTest::newRow("system") << QVariant(u"system"_s) << system;
        QTest::newRow("unknown") << QVariant(u"klingon"_s) << system;
        QTest::newRow("absent") << QVariant() << system;
    }

    void currentLanguageReadsThePreference()
    {
        QFETCH(QVariant, stored);
        QFETCH(AppLanguage, expected);
        {
            QSettings settings(u"Velmora"_s, u"Velmora"_s);
            if (stored.isValid())
                settings.setValue(QString::fromLatin1(L10n::interfaceLanguageKey), stored);
            else
                settings.remove(QString::fromLatin1(L10n::interfaceLanguageKey));
        }
        QCOMPARE(L10n::currentLanguage(), expected);
        QVERIFY(L10n::currentLanguage() != AppLanguage::system);

        // An override wins over any stored choice until it is lifted.
        L10n::setLanguageOverride(AppLanguage::zhHans);
        QCOMPARE(L10n::currentLanguage(), AppLanguage::zhHans);
        QCOMPARE(L10n::text(u"status.bind.failed"_s), L10n::text(u"status.bind.failed"_s, AppLanguage::zhHans));
        L10n::setLanguageOverride(std::nullopt);
        QCOMPARE(L10n::currentLanguage(), expected);
    }
};

QTEST_GUILESS_MAIN(TestLocalization)
#include "tst_localization.moc"
