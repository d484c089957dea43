// The window of a requested update check, offscreen: one dialog at a time, each state's texts in
// both languages, Download opening the version's page.

#include "UpdateCheckDialog.h"
#include "UpdateCheckErrors.h"

#include <QApplication>
#include <QDesktopServices>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

class LinkCatcher : public QObject {
    Q_OBJECT

public:
    QList<QUrl> urls;

public Q_SLOTS:
    void open(const QUrl& url) { urls.append(url); }
};

class TestUpdateCheckDialog : public QObject {
    Q_OBJECT

    LinkCatcher m_browser;
    AppLanguage m_language = AppLanguage::english;

    UpdateCheckDialog::LanguageProvider language()
    {
        return [this] {
            return m_language;
        };
    }

    static UpdateCheckOutcome available()
    {
        return UpdateCheckOutcome::updateAvailable(
            u"0.1.0"_s, {u"1.10.0"_s, u"1.10"_s, QUrl(u"https://velmora.app/releases/1.10"_s)});
    }

private Q_SLOTS:
    void initTestCase() { QDesktopServices::setUrlHandler(u"https"_s, &m_browser, "open"); }
    void cleanupTestCase() { QDesktopServices::unsetUrlHandler(u"https"_s); }
    void init()
    {
        m_browser.urls.clear();
        m_language = AppLanguage::english;
    }

    void oneDialogAtATime()
    {
        UpdateCheckDialogPresenter presenter(language());
        QCOMPARE(presenter.dialog(), nullptr);
        presenter.presentChecking();
        UpdateCheckDialog* dialog = presenter.dialog();
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        QVERIFY(!dialog->isModal());
        QCOMPARE(dialog->state(), UpdateCheckDialog::State::checking);
        presenter.presentOutcome(UpdateCheckOutcome::upToDate(u"0.1.0"_s));
        QCOMPARE(dialog->state(), UpdateCheckDialog::State::upToDate);
        presenter.presentChecking(); // the same window again, checking anew
        QCOMPARE(presenter.dialog(), dialog);
        QCOMPARE(dialog->state(), UpdateCheckDialog::State::checking);
        const QWidgetList windows = QApplication::topLevelWidgets();
        QCOMPARE(std::count_if(windows.cbegin(), windows.cend(),
                               [](QWidget* widget) {
                                   return qobject_cast<UpdateCheckDialog*>(widget) && widget->isVisible();
                               }),
                 1);
    }

    void aDialogClosedWhileCheckingStaysClosed()
    {
        UpdateCheckDialogPresenter presenter(language());
        presenter.presentChecking();
        QTest::mouseClick(presenter.dialog()->closeButton(), Qt::LeftButton);
        QVERIFY(!presenter.dialog()->isVisible());
        presenter.presentOutcome(available());
        QVERIFY(!presenter.dialog()->isVisible());
        QCOMPARE(presenter.dialog()->state(), UpdateCheckDialog::State::checking);
    }

    void eachStateSaysWhatHappened_data()
    {
        QTest::addColumn<int>("language");
        QTest::newRow("English") << int(AppLanguage::english);
        QTest::newRow("Chinese") << int(AppLanguage::zhHans);
    }

    void eachStateSaysWhatHappened()
    {
        QFETCH(int, language);
        m_language = AppLanguage(language);
        const QString suffix = m_language == AppLanguage::english ? u"en"_s : u"zh"_s;
        UpdateCheckDialog dialog(this->language());
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        const auto shot = [&dialog, &suffix](const QString& state) {
            dialog.grab().save(u"/tmp/update-dialog-%1-%2.png"_s.arg(state, suffix));
        };

        QCOMPARE(dialog.state(), UpdateCheckDialog::State::checking);
        QVERIFY(!dialog.titleText().isEmpty());
        QVERIFY(!dialog.titleText().startsWith(u"linux."_s));
        QVERIFY(!dialog.downloadButton()->isVisible());
        shot(u"checking"_s);

        dialog.showOutcome(UpdateCheckOutcome::upToDate(u"0.1.0"_s));
        QCOMPARE(dialog.state(), UpdateCheckDialog::State::upToDate);
        QVERIFY(dialog.messageText().contains(u"0.1.0"_s));
        QVERIFY(!dialog.downloadButton()->isVisible());
        QVERIFY(dialog.closeButton()->isDefault());
        shot(u"uptodate"_s);

        dialog.showOutcome(available());
        QCOMPARE(dialog.state(), UpdateCheckDialog::State::updateAvailable);
        QVERIFY(dialog.messageText().contains(u"1.10"_s));
        QVERIFY(dialog.messageText().contains(u"0.1.0"_s));
        QVERIFY(!dialog.messageText().contains(u"1.10.0"_s)); // the display version is shown
        QVERIFY(dialog.downloadButton()->isVisible());
        QVERIFY(dialog.downloadButton()->isDefault());
        shot(u"available"_s);

        QStringList failureTexts;
        for (const UpdateCheckFailure failure : {UpdateCheckFailure::offline, UpdateCheckFailure::server,
                                                 UpdateCheckFailure::signature, UpdateCheckFailure::feed}) {
            dialog.showOutcome(UpdateCheckOutcome::failed(
                u"0.1.0"_s, failure, UpdateCheckErrors::make(UpdateCheckErrors::bodyTooLarge, failure)));
            QCOMPARE(dialog.state(), UpdateCheckDialog::State::failed);
            QVERIFY(!dialog.downloadButton()->isVisible());
            QVERIFY(!dialog.messageText().startsWith(u"linux."_s));
            failureTexts.append(dialog.messageText());
            shot(u"failed-"_s + toRawValue(failure));
        }
        failureTexts.removeDuplicates();
        QCOMPARE(failureTexts.size(), 4); // each failure in its own words
    }

    void downloadOpensTheVersionsPage()
    {
        UpdateCheckDialogPresenter presenter(language());
        presenter.presentChecking();
        presenter.presentOutcome(available());
        UpdateCheckDialog* dialog = presenter.dialog();
        QTest::mouseClick(dialog->downloadButton(), Qt::LeftButton);
        QCOMPARE(m_browser.urls, QList<QUrl>{QUrl(u"https://velmora.app/releases/1.10"_s)});
        QVERIFY(!dialog->isVisible());
    }

    void escapeCloses()
    {
        UpdateCheckDialogPresenter presenter(language());
        presenter.presentChecking();
        presenter.presentOutcome(UpdateCheckOutcome::upToDate(u"0.1.0"_s));
        QTest::keyClick(presenter.dialog(), Qt::Key_Escape);
        QVERIFY(!presenter.dialog()->isVisible());
        QVERIFY(m_browser.urls.isEmpty());
    }
};

QTEST_MAIN(TestUpdateCheckDialog)
#include "tst_updatecheckdialog.moc"
