// A loader whose loads finish when the test says, in any order.
#pragma once

#include "PromptConfigLoading.h"

#include <QPromise>
#include <memory>
#include <vector>

class FakeConfigLoader : public PromptConfigLoading {
public:
    QFuture<PromptLoadResult> loadAllConfigs(AppLanguage language) override
    {
        languages.push_back(language);
        auto promise = std::make_shared<QPromise<PromptLoadResult>>();
        promise->start();
        pending.push_back(promise);
        return promise->future();
    }

    // Finishes the load started `index`-th (0-based) with this result.
    void finish(size_t index, const PromptLoadResult& result)
    {
        pending.at(index)->addResult(result);
        pending.at(index)->finish();
    }

    std::vector<AppLanguage> languages;
    std::vector<std::shared_ptr<QPromise<PromptLoadResult>>> pending;
};
