// The loader the store uses: each load runs PromptConfigLoader on a background thread, one load at a
// time, over copies of its values, and hands a plain result back.
#pragma once

#include "PromptConfigLoading.h"
#include "PromptModels.h"

#include <QString>
#include <memory>

class QThreadPool;

class BackgroundPromptConfigLoader : public PromptConfigLoading {
public:
    explicit BackgroundPromptConfigLoader(QString homeDirectory, PromptConfigLimits limits = {});
    // Waits for a load that is running.
    ~BackgroundPromptConfigLoader() override;

    // The samples come back whenever nothing exists: the store applies their dismissal itself.
    QFuture<PromptLoadResult> loadAllConfigs(AppLanguage language) override;

private:
    const QString m_homeDirectory;
    const PromptConfigLimits m_limits;
    std::unique_ptr<QThreadPool> m_queue;
};
