// A prompt store over a temporary home with the real usage, binding and trust stores, a load that the
// test publishes, a binding writer that can be made to fail, and the log lines captured.
#pragma once

#include "AppLog.h"
#include "ContextBindingStore.h"
#include "FakeConfigLoader.h"
#include "Localization.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "SecureFileWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

namespace PromptStoreFixture {

using namespace Qt::StringLiterals;

inline QString text(const char* key)
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), AppLanguage::english);
}

inline PromptItem prompt(const QString& id, const QString& group = u"General"_s, bool pinned = false)
{
    PromptItem item;
    item.id = id;
    item.title = u"Title "_s + id;
    item.group = group;
    item.text = u"Text of "_s + id;
    item.isPinned = pinned;
    return item;
}

inline PromptWorkspace workspace(const QString& id, const QList<PromptItem>& prompts = {},
                                 const QStringList& matchPaths = {})
{
    PromptWorkspace result;
    result.id = id;
    result.name = id;
    result.prompts = prompts;
    result.matchPaths = matchPaths;
    return result;
}

inline QStringList idsOf(const QList<PromptItem>& prompts)
{
    QStringList ids;
    for (const PromptItem& item : prompts)
        ids.append(item.id);
    return ids;
}

inline QStringList idsOf(const QList<PromptWorkspace>& workspaces)
{
    QStringList ids;
    for (const PromptWorkspace& item : workspaces)
        ids.append(item.id);
    return ids;
}

struct LogLine {
    AppLog::Category category;
    QString line;
};

class Fixture {
public:
    std::unique_ptr<QTemporaryDir> home;
    std::unique_ptr<QSettings> settings;
    std::shared_ptr<FakeConfigLoader> loader;
    std::shared_ptr<PromptUsageStore> usage;
    std::shared_ptr<ContextBindingStore> bindings;
    std::unique_ptr<PromptStore> store;
    QList<LogLine> logs;
    bool failBindingWrites = false;

    // A new home, store and log; advanced matching on unless the test says otherwise.
    void setUp(bool advancedMatching = true)
    {
        QStandardPaths::setTestModeEnabled(true);
        home = std::make_unique<QTemporaryDir>();
        settings = std::make_unique<QSettings>(home->filePath(u"settings.ini"_s), QSettings::IniFormat);
        settings->setValue(QString::fromLatin1(PromptStore::advancedMatchingKey), advancedMatching);
        loader = std::make_shared<FakeConfigLoader>();
        usage = std::make_shared<PromptUsageStore>(homePath());
        ContextBindingStore::Dependencies dependencies;
        dependencies.writeData = [this](const QByteArray& data, const QString& path) -> Expected<void> {
            if (failBindingWrites)
                return AppError::posix(EIO);
            return SecureFileWriter::writeData(data, path);
        };
        dependencies.languageProvider = [] {
            return AppLanguage::english;
        };
        bindings = std::make_shared<ContextBindingStore>(homePath(), dependencies);
        failBindingWrites = false;
        makeStore();
        logs.clear();
        AppLog::setSinkForTesting([this](AppLog::Category category, const QString& line) {
            logs.append(LogLine{category, line});
        });
    }

    void tearDown()
    {
        AppLog::setSinkForTesting(nullptr);
        store.reset();
    }

    void makeStore()
    {
        store = std::make_unique<PromptStore>(
            homePath(), [] { return AppLanguage::english; }, settings.get(),
            PromptStore::Collaborators{loader, usage, bindings}, false);
    }

    // The canonical form, so that paths compare with what the store resolves.
    QString homePath() const { return QDir(home->path()).canonicalPath(); }

    void load(const PromptLoadResult& result)
    {
        store->reload();
        loader->finish(loader->pending.size() - 1, result);
        QTRY_VERIFY(!store->isReloading());
    }

    bool logged(AppLog::Category category, const QString& line) const
    {
        for (const LogLine& each : logs) {
            if (each.category == category && each.line == line)
                return true;
        }
        return false;
    }

    QString makeFolder(const QString& relative) const
    {
        const QString path = homePath() + u'/' + relative;
        QDir().mkpath(path);
        return path;
    }

    QString writeFile(const QString& relative, const QByteArray& bytes) const
    {
        const QString path = homePath() + u'/' + relative;
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            file.write(bytes);
        return path;
    }
};

} // namespace PromptStoreFixture
