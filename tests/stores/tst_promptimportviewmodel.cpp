// The import previews while the user types, with the wait under the test's control and a parser
// that runs only when the test lets it: the last text alone is parsed, an older result never shows,
// a cancel publishes nothing, and a view model destroyed mid-parse is never called back.

#include "PromptImportViewModel.h"

#include <QException>
#include <QMutex>
#include <QPromise>
#include <QSignalSpy>
#include <QTest>
#include <QThreadPool>
#include <QWaitCondition>

#include <memory>
#include <stdexcept>

using namespace Qt::StringLiterals;

namespace {

// Each wait is a promise that the test fulfils or fails.
struct ControlledSleeper {
    QList<std::shared_ptr<QPromise<void>>> waits;

    PromptImportViewModel::Sleeper function()
    {
        return [this](qint64 nanoseconds) {
            if (nanoseconds != PromptImportViewModel::debounceNanoseconds)
                qFatal("unexpected wait");
            auto promise = std::make_shared<QPromise<void>>();
            promise->start();
            waits.append(promise);
            return promise->future();
        };
    }
    void wake(qsizetype index) { waits[index]->finish(); }
};

// Records each text it is given and holds each call until the test opens it.
struct GatedParser {
    QMutex mutex;
    QWaitCondition changed;
    QStringList started;
    QSet<QString> open;

    PromptImportViewModel::Parser function()
    {
        return [this](const QString& text, AppLanguage) {
            QMutexLocker lock(&mutex);
            started.append(text);
            changed.wakeAll();
            while (!open.contains(text))
                changed.wait(&mutex);
            if (text == u"throw")
                throw std::runtime_error("parser failed");
            return QList<PromptImportPreview>{{u"id-"_s + text, u"Title"_s, text}};
        };
    }
    void release(const QString& text)
    {
        QMutexLocker lock(&mutex);
        open.insert(text);
        changed.wakeAll();
    }
    QStringList startedTexts()
    {
        QMutexLocker lock(&mutex);
        return started;
    }
};

} // namespace

class TestPromptImportViewModel : public QObject {
    Q_OBJECT

    ControlledSleeper m_sleeper;
    std::unique_ptr<GatedParser> m_parser;
    int m_finished = 0;
    std::unique_ptr<PromptImportViewModel> m_model;

    QStringList shownTexts() const
    {
        QStringList texts;
        for (const PromptImportPreview& preview : m_model->previews())
            texts.append(preview.text);
        return texts;
    }

private Q_SLOTS:
    // Two parses are held at once in one test.
    void initTestCase() { QThreadPool::globalInstance()->setMaxThreadCount(4); }

    void init()
    {
        m_sleeper = {};
        m_parser = std::make_unique<GatedParser>();
        m_finished = 0;
        m_model =
            std::make_unique<PromptImportViewModel>([] { return AppLanguage::english; }, m_sleeper.function(),
                                                    m_parser->function(), [this] { ++m_finished; });
    }

    void cleanup()
    {
        m_model.reset();
        for (const QString& text : {u"a"_s, u"b"_s, u"c"_s, u"throw"_s})
            m_parser->release(text);
        QThreadPool::globalInstance()->waitForDone();
    }

    void fastTypingParsesTheLastTextOnly()
    {
        for (const QString& text : {u"a"_s, u"b"_s, u"c"_s})
            m_model->updateRawText(text);
        QCOMPARE(m_sleeper.waits.size(), 3);
        QCOMPARE(m_model->parseTaskToken(), std::optional<quint64>(3));
        m_parser->release(u"c"_s);
        for (qsizetype i = 0; i < 3; ++i)
            m_sleeper.wake(i);
        QTRY_COMPARE(m_finished, 3);
        QCOMPARE(m_parser->startedTexts(), QStringList{u"c"_s});
        QCOMPARE(shownTexts(), QStringList{u"c"_s});
        QVERIFY(m_model->hasCurrentImportPreview());
        QCOMPARE(m_model->publishCount(), 1);
        QVERIFY(!m_model->isParsePending());
    }

    void olderResultNeverShows()
    {
        m_model->updateRawText(u"a"_s);
        m_sleeper.wake(0);
        QTRY_COMPARE(m_parser->startedTexts(), QStringList{u"a"_s});
        m_model->updateRawText(u"b"_s);
        m_sleeper.wake(1);
        QTRY_COMPARE(m_parser->startedTexts().size(), 2);
        m_parser->release(u"b"_s);
        QTRY_COMPARE(shownTexts(), QStringList{u"b"_s});
        m_parser->release(u"a"_s); // the slow parse of the old text ends last
        QTRY_COMPARE(m_finished, 2);
        QCOMPARE(shownTexts(), QStringList{u"b"_s});
        QCOMPARE(m_model->publishCount(), 1);

        // Typing drops what is shown at once.
        QSignalSpy current(m_model.get(), &PromptImportViewModel::hasCurrentImportPreviewChanged);
        m_model->updateRawText(u"c"_s);
        QVERIFY(m_model->previews().isEmpty() && !m_model->hasCurrentImportPreview());
        QCOMPARE(current.size(), 1);
    }

    void cancelInTheWaitPublishesNothing()
    {
        m_model->updateRawText(u"a"_s);
        m_model->cancelPendingParse();
        QVERIFY(!m_model->isParsePending());
        QCOMPARE(m_model->parseTaskToken(), std::nullopt);
        QCOMPARE(m_model->generation(), quint64(2));
        QTRY_COMPARE(m_finished, 1);
        m_parser->release(u"a"_s);
        m_sleeper.wake(0); // too late: the task is over
        QTest::qWait(0);
        QVERIFY(m_parser->startedTexts().isEmpty());
        QCOMPARE(m_model->publishCount(), 0);
    }

    void failuresPublishNothing()
    {
        m_model->updateRawText(u"a"_s);
        m_sleeper.waits[0]->setException(std::make_exception_ptr(QException()));
        m_sleeper.waits[0]->finish();
        QTRY_COMPARE(m_finished, 1);
        m_model->updateRawText(u"throw"_s);
        m_parser->release(u"throw"_s);
        m_sleeper.wake(1);
        QTRY_COMPARE(m_finished, 2);
        QCOMPARE(m_parser->startedTexts(), QStringList{u"throw"_s});
        QCOMPARE(m_model->publishCount(), 0);
        QVERIFY(!m_model->isParsePending());
    }

    void destroyedMidParse()
    {
        m_model->updateRawText(u"a"_s);
        m_sleeper.wake(0);
        QTRY_COMPARE(m_parser->startedTexts(), QStringList{u"a"_s});
        m_model.reset();
        m_parser->release(u"a"_s);
        QThreadPool::globalInstance()->waitForDone();
        QTest::qWait(0);
        QCOMPARE(m_finished, 0);
    }

    void defaultsParseAfterThePause()
    {
        PromptImportViewModel model([] { return AppLanguage::english; });
        model.updateRawText(u"## Alpha\nbody"_s);
        QVERIFY(model.previews().isEmpty());
        QTRY_VERIFY(model.hasCurrentImportPreview());
        QCOMPARE(model.previews().size(), 1);
        QCOMPARE(model.previews()[0].title, u"Alpha"_s);
    }
};

QTEST_GUILESS_MAIN(TestPromptImportViewModel)
#include "tst_promptimportviewmodel.moc"
