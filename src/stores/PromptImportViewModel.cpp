#include "PromptImportViewModel.h"

#include <QFutureWatcher>
#include <QPromise>
#include <QTimer>
#include <QtConcurrent>

#include <chrono>
#include <memory>

// One debounced parse: the wait, then the parse on a worker thread, then the publication if the
// text is still the one it was started for. A child of the view model, so that none of its steps
// runs once the view model is gone; a parse under way then ends on its thread and goes nowhere.
class PromptImportViewModel::ParseTask : public QObject {
public:
    ParseTask(PromptImportViewModel* owner, quint64 token, QString text, AppLanguage language)
        : QObject(owner), m_owner(owner), m_token(token), m_text(std::move(text)), m_language(language)
    {}

    void start()
    {
        m_sleep = m_owner->m_sleeper(debounceNanoseconds);
        m_sleepWatcher = new QFutureWatcher<void>(this);
        connect(m_sleepWatcher, &QFutureWatcherBase::finished, this, &ParseTask::slept);
        m_sleepWatcher->setFuture(m_sleep);
    }

    void cancel()
    {
        if (m_cancelled)
            return;
        m_cancelled = true;
        if (m_sleepWatcher) {
            // A cancelled wait ends at once, as a sleep that throws; later, like any other end.
            m_sleepWatcher->disconnect(this);
            m_sleep.cancel();
            QMetaObject::invokeMethod(this, &ParseTask::finish, Qt::QueuedConnection);
        } else {
            // A parse that has begun runs to its end; its result is dropped.
            m_parse.cancel();
        }
    }

private:
    static bool failed(QFuture<void>& future)
    {
        try {
            future.waitForFinished(); // finished already; rethrows what the sleeper stored
        } catch (...) {
            return true;
        }
        return future.isCanceled();
    }

    void slept()
    {
        m_sleepWatcher->deleteLater();
        m_sleepWatcher = nullptr;
        if (m_cancelled || failed(m_sleep)) {
            finish();
            return;
        }
        // The worker gets copies: nothing of the view model is touched off the main thread.
        m_parse = QtConcurrent::run([parser = m_owner->m_parser, text = m_text, language = m_language] {
            return parser(text, language);
        });
        auto* watcher = new QFutureWatcher<QList<PromptImportPreview>>(this);
        connect(watcher, &QFutureWatcherBase::finished, this, &ParseTask::parsed);
        watcher->setFuture(m_parse);
    }

    void parsed()
    {
        std::optional<QList<PromptImportPreview>> result;
        try {
            m_parse.waitForFinished();
            if (!m_parse.isCanceled() && m_parse.resultCount() > 0)
                result = m_parse.result();
        } catch (...) {
            // The parser threw: no result.
        }
        if (result && !m_cancelled && m_owner->m_generation == m_token) {
            m_owner->setPreviews(*result, !result->isEmpty());
            ++m_owner->m_publishCount;
        }
        finish();
    }

    void finish()
    {
        deleteLater();
        m_owner->finishParseTask(m_token);
    }

    PromptImportViewModel* const m_owner;
    const quint64 m_token;
    const QString m_text;
    const AppLanguage m_language;
    bool m_cancelled = false;
    QFuture<void> m_sleep;
    QFutureWatcher<void>* m_sleepWatcher = nullptr; // only while waiting
    QFuture<QList<PromptImportPreview>> m_parse;
};

PromptImportViewModel::PromptImportViewModel(LanguageProvider languageProvider, Sleeper sleeper,
                                             Parser parser, std::function<void()> onTaskFinished,
                                             QObject* parent)
    : QObject(parent), m_languageProvider(std::move(languageProvider)),
      m_sleeper(sleeper ? std::move(sleeper) : Sleeper(timerSleep)),
      m_parser(parser ? std::move(parser) : Parser(PromptImportParser::parse)),
      m_onTaskFinished(std::move(onTaskFinished))
{}

PromptImportViewModel::~PromptImportViewModel() = default;

QFuture<void> PromptImportViewModel::timerSleep(qint64 nanoseconds)
{
    auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    auto* timer = new QTimer;
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, timer, [promise, timer] {
        promise->finish();
        timer->deleteLater();
    });
    timer->start(std::chrono::ceil<std::chrono::milliseconds>(std::chrono::nanoseconds(nanoseconds)));
    return promise->future();
}

void PromptImportViewModel::updateRawText(const QString& text)
{
    const quint64 token = ++m_generation;
    const AppLanguage language = m_languageProvider();
    if (m_parseTask)
        m_parseTask->cancel();
    setPreviews({}, false);
    m_parseTaskToken = token;
    m_parseTask = new ParseTask(this, token, text, language);
    m_parseTask->start();
}

void PromptImportViewModel::cancelPendingParse()
{
    ++m_generation;
    ParseTask* const held = std::exchange(m_parseTask, nullptr);
    m_parseTaskToken.reset();
    setPreviews({}, false);
    if (held)
        held->cancel();
}

void PromptImportViewModel::finishParseTask(quint64 token)
{
    if (m_onTaskFinished)
        m_onTaskFinished();
    // A late end of an older task touches nothing.
    if (m_parseTaskToken == token) {
        m_parseTask = nullptr;
        m_parseTaskToken.reset();
    }
}

void PromptImportViewModel::setPreviews(const QList<PromptImportPreview>& previews, bool current)
{
    if (m_previews != previews) {
        m_previews = previews;
        Q_EMIT previewsChanged();
    }
    if (m_hasCurrentImportPreview != current) {
        m_hasCurrentImportPreview = current;
        Q_EMIT hasCurrentImportPreviewChanged();
    }
}
