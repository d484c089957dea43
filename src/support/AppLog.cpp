#include "AppLog.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutex>

#include <cstdio>
#include <syslog.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace AppLog {

namespace {

Q_LOGGING_CATEGORY(persistenceCategory, "app.velmora.persistence")
Q_LOGGING_CATEGORY(contextCategory, "app.velmora.context")
Q_LOGGING_CATEGORY(promptsCategory, "app.velmora.prompts")
Q_LOGGING_CATEGORY(uiCategory, "app.velmora.ui")

QMutex sinkMutex;
Sink testSink;

} // namespace

const QLoggingCategory& loggingCategory(Category category)
{
    switch (category) {
    case Category::persistence:
        return persistenceCategory();
    case Category::context:
        return contextCategory();
    case Category::prompts:
        return promptsCategory();
    case Category::ui:
        return uiCategory();
    }
    return uiCategory();
}

void error(Category category, const QString& line)
{
    {
        QMutexLocker lock(&sinkMutex);
        if (testSink) {
            testSink(category, line);
            return;
        }
    }
    const QLoggingCategory& logging = loggingCategory(category);
    if (!logging.isCriticalEnabled())
        return;
    const QByteArray text = QByteArray(logging.categoryName()) + ": " + line.toUtf8();
    static const bool opened = [] {
        openlog("velmora", LOG_PID, LOG_USER);
        return true;
    }();
    Q_UNUSED(opened);
    syslog(LOG_ERR, "%s", text.constData());
    if (isatty(STDERR_FILENO))
        std::fprintf(stderr, "%s\n", text.constData());
}

QString errorSummary(const AppError& error)
{
    return error.typeName + u" domain="_s + error.domain + u" code="_s + QString::number(error.code);
}

QString fileContext(const std::optional<QString>& path)
{
    if (!path)
        return u"none"_s;
    const QFileInfo info(*path);
    const QString parent = QFileInfo(info.path()).fileName();
    if (parent.isEmpty())
        return info.fileName();
    return parent + u'/' + info.fileName();
}

void setSinkForTesting(Sink sink)
{
    QMutexLocker lock(&sinkMutex);
    testSink = std::move(sink);
}

} // namespace AppLog
