// Keeps the import previews up to date while the user types: waits for a pause, parses off the main
// thread, and never shows a result for text that has changed since. Main thread only.
#pragma once

#include "AppLanguage.h"
#include "PromptImportParser.h"

#include <QFuture>
#include <QList>
#include <QObject>
#include <functional>
#include <optional>

class PromptImportViewModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<PromptImportPreview> previews READ previews NOTIFY previewsChanged)
    Q_PROPERTY(
        bool hasCurrentImportPreview READ hasCurrentImportPreview NOTIFY hasCurrentImportPreviewChanged)

public:
    using LanguageProvider = std::function<AppLanguage()>;
    // The wait before a parse: a future that finishes after the given nanoseconds. A future that is
    // cancelled or holds an exception ends the wait without a parse.
    using Sleeper = std::function<QFuture<void>(qint64 nanoseconds)>;
    // Runs on a worker thread, with copies of its arguments; an exception means no result.
    using Parser = std::function<QList<PromptImportPreview>(const QString& text, AppLanguage language)>;

    static constexpr qint64 debounceNanoseconds = 200000000;

    // Absent functions take their defaults: a timer on this thread, PromptImportParser::parse, and
    // nothing at the end of a task.
    explicit PromptImportViewModel(LanguageProvider languageProvider, Sleeper sleeper = {},
                                   Parser parser = {}, std::function<void()> onTaskFinished = {},
                                   QObject* parent = nullptr);
    ~PromptImportViewModel() override;

    const QList<PromptImportPreview>& previews() const { return m_previews; }
    // The previews are those of the current text, and there is at least one.
    bool hasCurrentImportPreview() const { return m_hasCurrentImportPreview; }
    qint64 publishCount() const { return m_publishCount; }
    quint64 generation() const { return m_generation; }
    std::optional<quint64> parseTaskToken() const { return m_parseTaskToken; }
    bool isParsePending() const { return m_parseTask != nullptr; }

    // Drops the shown previews at once and parses the text after the pause, unless it changes again.
    void updateRawText(const QString& text);
    // Drops the shown previews and any parse under way; its task still finishes.
    void cancelPendingParse();

    // The default wait: a single-shot timer on the calling thread, whose event loop must run.
    static QFuture<void> timerSleep(qint64 nanoseconds);

Q_SIGNALS:
    void previewsChanged();
    void hasCurrentImportPreviewChanged();

private:
    class ParseTask;
    friend class ParseTask;

    void finishParseTask(quint64 token);
    void setPreviews(const QList<PromptImportPreview>& previews, bool current);

    LanguageProvider m_languageProvider;
    Sleeper m_sleeper;
    Parser m_parser;
    std::function<void()> m_onTaskFinished;

    QList<PromptImportPreview> m_previews;
    bool m_hasCurrentImportPreview = false;
    qint64 m_publishCount = 0;
    ParseTask* m_parseTask = nullptr; // a child of this object
    std::optional<quint64> m_parseTaskToken;
    quint64 m_generation = 0;
};
