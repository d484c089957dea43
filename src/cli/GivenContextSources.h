// The frontmost application and its window title as given on the command line, in place of the live
// desktop, so that `context` and `list` can ask what Velmora would do for any window.
#pragma once

#include "FrontmostApplicationProviding.h"
#include "WindowTitleReading.h"

class GivenFrontmostApplication final : public FrontmostApplicationProviding {
public:
    explicit GivenFrontmostApplication(FrontmostApplication application)
        : m_application(std::move(application))
    {}

    std::optional<FrontmostApplication> frontmostApplication() const override { return m_application; }

private:
    FrontmostApplication m_application;
};

class GivenWindowTitle final : public WindowTitleReading {
public:
    explicit GivenWindowTitle(QString title) : m_title(std::move(title)) {}

    WindowTitleReadResult readFrontWindowTitle() override
    {
        WindowTitleReadResult result;
        result.title = m_title;
        return result;
    }

private:
    QString m_title;
};
