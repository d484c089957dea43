// The status item's texts and menu, built from a count and a language without a window system.
#include "Localization.h"
#include "StatusItemPresentation.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestStatusItemPresentation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void accessibilityTexts_data()
    {
        QTest::addColumn<qint64>("count");
        QTest::addColumn<AppLanguage>("language");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("help");
        const QString helpEnglish = u"Click to open the prompt panel. Right-click for the menu."_s;
        const QString helpChinese = u"点按打开提示词面板，右键点按打开菜单。"_s;
        QTest::newRow("unknown count, English") << qint64(-1) << AppLanguage::english << u"Velmora"_s << helpEnglish;
        QTest::newRow("none, English") << qint64(0) << AppLanguage::english << u"Velmora, prompts: 0"_s << helpEnglish;
        QTest::newRow("seven, English") << qint64(7) << AppLanguage::english << u"Velmora, prompts: 7"_s << helpEnglish;
        QTest::newRow("unknown count, Chinese") << qint64(-1) << AppLanguage::zhHans << u"Velmora"_s << helpChinese;
        QTest::newRow("none, Chinese") << qint64(0) << AppLanguage::zhHans << u"Velmora，0 个提示词"_s << helpChinese;
        QTest::newRow("seven, Chinese") << qint64(7) << AppLanguage::zhHans << u"Velmora，7 个提示词"_s << helpChinese;
    }

    void accessibilityTexts()
    {
        QFETCH(qint64, count);
        QFETCH(AppLanguage, language);
        QFETCH(QString, label);
        QFETCH(QString, help);
        const StatusItemPresentation presentation(u"Codex · Velmora"_s, count, language);
        QCOMPARE(presentation.accessibilityLabel, label);
        QCOMPARE(presentation.accessibilityHelp, help);
        QVERIFY(presentation.attributedTitle.isEmpty());
        const StatusItemButtonConfiguration expected{QString(), label, help, 20};
        QCOMPARE(presentation.buttonConfiguration, expected);
        // The title says nothing to the record.
        QVERIFY(presentation == StatusItemPresentation(u"Terminal"_s, count, language));
    }

    void menuIsTheSameSixEntriesInEveryLanguage_data()
    {
        QTest::addColumn<AppLanguage>("language");
        QTest::newRow("English") << AppLanguage::english;
        QTest::newRow("Chinese") << AppLanguage::zhHans;
    }

    void menuIsTheSameSixEntriesInEveryLanguage()
    {
        QFETCH(AppLanguage, language);
        const auto text = [language](const char* key) {
            return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), language);
        };
        const QString ellipsis = QString(QChar(0x2026));
        const QList<StatusItemMenuPresentation> expected{
            {StatusItemMenuCommand::open, text("menu.open.velmora"), u""_s, false},
            {StatusItemMenuCommand::manageWorkspaces, text("action.manage.workspaces") + ellipsis, u""_s, false},
            {StatusItemMenuCommand::settings, text("action.settings") + ellipsis, u","_s, false},
            {StatusItemMenuCommand::welcomeGuide, text("first.welcome.menu") + ellipsis, u""_s, false},
            {StatusItemMenuCommand::reload, text("action.reload.config"), u""_s, false},
            {StatusItemMenuCommand::quit, text("action.quit"), u"q"_s, true},
        };
        for (const qint64 count : {qint64(-1), qint64(0), qint64(42)})
            QCOMPARE(StatusItemPresentation(QString(), count, language).menuItems, expected);
    }
};

QTEST_GUILESS_MAIN(TestStatusItemPresentation)
#include "tst_statusitempresentation.moc"
