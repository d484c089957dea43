// The workspace manager offscreen over a library at the load limit (about 10,000 prompts in 100
// workspace files, near 10 MiB): its first open (build, layout, first paint), then a word typed into
// each filter, a key at a time, each key to a repaint; and beside each, its floor: the filter pass
// alone over the same data with the same queries. The prompt filter runs on a workspace of 100
// prompts and on one of 4,000.
//   ninja bench_workspacemanager && ./bench/bench_workspacemanager

#include "WorkspaceManagerHarness.h"

#include <QApplication>
#include <QLineEdit>

#include "WorkspaceManagerPromptList.h"
#include "WorkspaceManagerWorkspaceList.h"
#include "WidgetBenchmarkMain.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int regularWorkspaces = 99;
constexpr int promptsPerWorkspace = 100;
constexpr int largeWorkspacePrompts = 4000;

QByteArray promptEntry(int workspace, int prompt, int bodyBytes)
{
    const QByteArray id = "w" + QByteArray::number(workspace) + "p" + QByteArray::number(prompt);
    const char* topics[] = {"review", "deploy", "refactor", "test", "explain"};
    QByteArray body = "Please " + QByteArray(topics[prompt % 5]) + " the module " + id + " with care. ";
    while (body.size() < bodyBytes)
        body += "Keep the change small, name every risk, and list the commands that verify it. ";
    body.truncate(bodyBytes);
    return "  - id: " + id + "\n    title: " + QByteArray(topics[prompt % 5]) + " step " +
           QByteArray::number(prompt) + "\n    group: Group " + QByteArray::number(prompt % 7) +
           "\n    text: |\n      " + body + "\n";
}

struct Environment {
    WorkspaceManagerHarness harness;
    qint64 libraryBytes = 0;

    Environment()
    {
        for (int workspace = 0; workspace <= regularWorkspaces; ++workspace) {
            const bool large = workspace == regularWorkspaces;
            QByteArray file =
                "workspace:\n  name: " +
                (large ? QByteArray("Large backlog") : "Team " + QByteArray::number(workspace)) +
                "\nprompts:\n";
            for (int prompt = 0; prompt < (large ? largeWorkspacePrompts : promptsPerWorkspace); ++prompt)
                file += promptEntry(workspace, prompt, large ? 120 : 880);
            harness.write(u"workspaces/w%1.yaml"_s.arg(workspace, 3, 10, QLatin1Char('0')), file);
            libraryBytes += file.size();
        }
        harness.reload();
    }

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

// The texts a field holds after each key of `word`, then empty again (the last key clears it).
QStringList keystrokes(const QString& word)
{
    QStringList texts;
    for (qsizetype length = 1; length <= word.size(); ++length)
        texts.append(word.left(length));
    texts.append(QString());
    return texts;
}

void BM_ManagerFirstOpen(benchmark::State& state)
{
    Environment& environment = Environment::shared();
    WorkspaceManagerHarness& h = environment.harness;
    for (auto _ : state) {
        WorkspaceManagerView::Dependencies dependencies{h.store.get(), &h.languages, &h.chooser};
        h.view = std::make_unique<WorkspaceManagerView>(dependencies, u"w050"_s);
        h.view->resize(980, 680);
        h.view->show();
        h.view->repaint();
    }
    qsizetype prompts = 0;
    for (const PromptWorkspace& workspace : h.store->workspaces())
        prompts += workspace.prompts.size();
    state.counters["workspaces"] = double(h.store->workspaces().size());
    state.counters["prompts"] = double(prompts);
    state.counters["MiB"] = double(environment.libraryBytes) / (1024.0 * 1024.0);
    // The reload that appearing started, out of the way of the next measurements.
    QTRY_VERIFY_WITH_TIMEOUT(!h.store->isReloading(), 30000);
}
BENCHMARK(BM_ManagerFirstOpen)->Iterations(1)->Unit(benchmark::kMillisecond);

// What the event loop does after a key: the layouts that changed, then a paint of what they dirtied.
void repaintDirty(QWidget& window)
{
    QCoreApplication::sendPostedEvents();
    // The window's own update request, which the platform would deliver at its next frame.
    QEvent request(QEvent::UpdateRequest);
    QCoreApplication::sendEvent(window.windowHandle(), &request);
}

// Counts the paints a widget gets, to show that each key was painted.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* widget) : QObject(widget) { widget->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        paints += event->type() == QEvent::Paint;
        return false;
    }
};

void typeIntoFilter(benchmark::State& state, QLineEdit* field, const QString& word)
{
    WorkspaceManagerView& view = *Environment::shared().harness.view;
    auto* counter = new PaintCounter(view.workspaceList()->viewport());
    const QStringList texts = keystrokes(word);
    qsizetype next = 0;
    for (auto _ : state) {
        field->setText(texts.at(next++ % texts.size()));
        repaintDirty(view);
    }
    state.counters["list_paints_per_key"] = double(counter->paints) / double(state.iterations());
    delete counter;
}

void BM_WorkspaceFilterKey(benchmark::State& state)
{
    typeIntoFilter(state, Environment::shared().harness.view->workspaceFilter(), u"team 4"_s);
}
BENCHMARK(BM_WorkspaceFilterKey)->Unit(benchmark::kMillisecond);

void BM_WorkspaceFilterFloor(benchmark::State& state)
{
    WorkspaceManagerView& view = *Environment::shared().harness.view;
    const QStringList texts = keystrokes(u"team 4"_s);
    qsizetype next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(view.filteredWorkspaces(texts.at(next++ % texts.size())));
    }
}
BENCHMARK(BM_WorkspaceFilterFloor)->Unit(benchmark::kMillisecond);

void promptFilter(benchmark::State& state, bool floor)
{
    WorkspaceManagerView& view = *Environment::shared().harness.view;
    view.setSelectedWorkspaceID(state.range(0) ? u"w099"_s : u"w050"_s);
    const PromptWorkspace shown = *view.selectedWorkspace();
    const QStringList texts = keystrokes(u"deploy"_s);
    auto* counter = new PaintCounter(view.promptList()->viewport());
    qsizetype next = 0;
    for (auto _ : state) {
        const QString& text = texts.at(next++ % texts.size());
        if (floor) {
            benchmark::DoNotOptimize(view.filteredPrompts(shown, text));
        } else {
            view.promptFilter()->setText(text);
            repaintDirty(view);
        }
    }
    state.counters["prompts"] = double(shown.prompts.size());
    if (!floor)
        state.counters["list_paints_per_key"] = double(counter->paints) / double(state.iterations());
    delete counter;
}

void BM_PromptFilterKey(benchmark::State& state)
{
    promptFilter(state, false);
}
BENCHMARK(BM_PromptFilterKey)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_PromptFilterFloor(benchmark::State& state)
{
    promptFilter(state, true);
}
BENCHMARK(BM_PromptFilterFloor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return runWidgetBenchmarks(argc, argv, [] { Environment::instance().reset(); });
}
