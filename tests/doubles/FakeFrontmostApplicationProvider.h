// A frontmost application the test sets, and activations the test signals.
#pragma once

#include "FrontmostApplicationProviding.h"

class FakeFrontmostApplicationProvider : public FrontmostApplicationProviding {
public:
    using FrontmostApplicationProviding::FrontmostApplicationProviding;

    std::optional<FrontmostApplication> frontmostApplication() const override
    {
        ++readCount;
        return application;
    }

    void activate(const QString& name, const std::optional<QString>& bundleIdentifier = std::nullopt)
    {
        application = FrontmostApplication{name, bundleIdentifier, 4242};
        Q_EMIT applicationActivated();
    }

    std::optional<FrontmostApplication> application;
    mutable int readCount = 0;
};
