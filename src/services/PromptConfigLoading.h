// Loads the whole library off the main thread; the store publishes the result.
#pragma once

#include "AppLanguage.h"
#include "PromptLoadResult.h"

#include <QFuture>

class PromptConfigLoading {
public:
    virtual ~PromptConfigLoading() = default;
    virtual QFuture<PromptLoadResult> loadAllConfigs(AppLanguage language) = 0;
};
