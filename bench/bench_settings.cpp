// The settings window and the welcome guide offscreen: the first open of the process (build, layout,
// first paint), a later open of the kept window, and a switch of category, with the resident memory
// before and after the first open.
//   ninja bench_settings && ./bench/bench_settings

#include "BackgroundPromptConfigLoader.h"
#include "FirstRunWelcomeView.h"
#include "PromptStore.h"
#include "SettingsHarness.h"
#include "WidgetBenchmarkMain.h"

#include <QApplication>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

double residentMegabytes()
{
    QFile statm(u"/proc/self/statm"_s);
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * double(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0) : 0;
}

struct Environment {
    QTemporaryDir home;
    QSettings settings{home.filePath(u"settings.ini"_s), QSettings::IniFormat};
    PromptStore store{home.path(), [] { return AppLanguage::english; }, &settings,
                      PromptStore::Collaborators{std::make_shared<BackgroundPromptConfigLoader>(home.path()),
                                                 nullptr, nullptr, nullptr},
                      false};
    SettingsHarness harness{store, &settings};
    std::unique_ptr<SettingsView> settingsView;
    std::unique_ptr<FirstRunWelcomeView> guide;

    // Made at first use, gone before the application.
    static std::unique_ptr<Environment>& instance()
    {
        static std::unique_ptr<Environment> environment;
        return environment;
    }
    static Environment& shared()
    {
        if (!instance())
            instance() = std::make_unique<Environment>();
        return *instance();
    }
};

// Shows the window and paints it once, now.
void present(QWidget& window)
{
    window.show();
    window.repaint();
}

void BM_SettingsFirstOpen(benchmark::State& state)
{
    Environment& environment = Environment::shared();
    const double before = residentMegabytes();
    for (auto _ : state) {
        environment.settingsView = std::make_unique<SettingsView>(environment.harness.dependencies());
        present(*environment.settingsView);
    }
    state.counters["rss_before_MB"] = before;
    state.counters["rss_after_MB"] = residentMegabytes();
}
BENCHMARK(BM_SettingsFirstOpen)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_SettingsLaterOpen(benchmark::State& state)
{
    SettingsView& view = *Environment::shared().settingsView;
    for (auto _ : state) {
        view.hide();
        present(view);
    }
}
BENCHMARK(BM_SettingsLaterOpen)->Unit(benchmark::kMillisecond);

void BM_SettingsCategorySwitch(benchmark::State& state)
{
    SettingsView& view = *Environment::shared().settingsView;
    int next = 0;
    for (auto _ : state) {
        view.setSelectedCategory(allSettingsCategories[next++ % 5]);
        view.repaint();
    }
}
BENCHMARK(BM_SettingsCategorySwitch)->Unit(benchmark::kMillisecond);

void BM_WelcomeGuideFirstOpen(benchmark::State& state)
{
    Environment& environment = Environment::shared();
    SettingsHarness& harness = environment.harness;
    const double before = residentMegabytes();
    for (auto _ : state) {
        environment.guide = std::make_unique<FirstRunWelcomeView>(*harness.shortcuts, *harness.languages,
                                                                  *harness.preferences, &harness.desktop,
                                                                  FirstRunWelcomeView::Actions{});
        present(*environment.guide);
    }
    state.counters["rss_before_MB"] = before;
    state.counters["rss_after_MB"] = residentMegabytes();
}
BENCHMARK(BM_WelcomeGuideFirstOpen)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_WelcomeGuideLaterOpen(benchmark::State& state)
{
    FirstRunWelcomeView& guide = *Environment::shared().guide;
    for (auto _ : state) {
        guide.hide();
        present(guide);
    }
}
BENCHMARK(BM_WelcomeGuideLaterOpen)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return runWidgetBenchmarks(argc, argv, [] { Environment::instance().reset(); });
}
