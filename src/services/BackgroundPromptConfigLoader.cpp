#include "BackgroundPromptConfigLoader.h"

#include "PromptConfigLoader.h"

#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

BackgroundPromptConfigLoader::BackgroundPromptConfigLoader(QString homeDirectory, PromptConfigLimits limits)
    : m_homeDirectory(std::move(homeDirectory)), m_limits(limits), m_queue(std::make_unique<QThreadPool>())
{
    // A serial queue: two loads never read the folder at the same time.
    m_queue->setMaxThreadCount(1);
}

BackgroundPromptConfigLoader::~BackgroundPromptConfigLoader()
{
    m_queue->waitForDone();
}

QFuture<PromptLoadResult> BackgroundPromptConfigLoader::loadAllConfigs(AppLanguage language)
{
    // Each load has its own loader, so warnings never mix between loads, and nothing here is shared
    // with the main thread but copies.
    return QtConcurrent::run(m_queue.get(), [homeDirectory = m_homeDirectory, limits = m_limits, language] {
        PromptConfigLoader loader(
            homeDirectory, [language] { return language; }, limits, nullptr, false);
        return loader.loadAllConfigs();
    });
}
