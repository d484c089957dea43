// The main of the benches that drive widgets: offscreen unless the caller names a platform, and the
// bench's own objects freed by `beforeExit` while the application still stands.
#pragma once

#include <QApplication>

#include <benchmark/benchmark.h>

#include <functional>

inline int runWidgetBenchmarks(int argc, char** argv, const std::function<void()>& beforeExit = {})
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (beforeExit)
        beforeExit();
    benchmark::Shutdown();
    return 0;
}
