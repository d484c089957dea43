// The panel's tile stage handed a new snapshot and repainted, as at each keystroke of a one-word
// search and at its clearing, over libraries of 100 and of 10,000 prompts (about 1 KiB of text
// each, 10 MiB in all): the cost follows the tiles in view, not the library. Also the opening of
// the stage on 10,000 prompts, and one scroll step of a scroll through all of them.
//   ninja bench_promptstage && ./bench/bench_promptstage

#include "PromptGridStageView.h"
#include "WidgetBenchmarkMain.h"

#include <QApplication>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace {

const QString searchWord = u"rollback"_s;

const char16_t* const sentences[] = {
    u"Read the module top to bottom and note every place where an error is swallowed. ",
    u"为每个公开函数写出前置条件和后置条件，并指出缺少的测试。",
    u"Suggest names that say what a value holds, not how it was computed. ",
    u"List the files this change touches and what each one now promises its callers. ",
};

PromptItem makePrompt(int index)
{
    PromptItem prompt;
    prompt.id = u"p%1"_s.arg(index);
    prompt.title = u"Audit step %1"_s.arg(index);
    prompt.group = index % 4 == 0 ? u"Naming"_s : u"Errors"_s;
    // One prompt in five matches the search: enough, in either library, to fill the view.
    if (index % 5 == 0)
        prompt.text = u"Write a Rollback Plan first. "_s;
    for (int sentence = index; prompt.text.size() < 700; ++sentence)
        prompt.text += QString::fromUtf16(sentences[sentence % 4]);
    return prompt;
}

// The snapshot's sections as the store makes them: the groups in order of first appearance, and
// the first nine visible prompts numbered.
PanelRenderSnapshot snapshotOf(const QList<PromptItem>& prompts, bool searched)
{
    PanelRenderSnapshot snapshot;
    QHash<QString, qsizetype> sections;
    for (const PromptItem& prompt : prompts) {
        if (searched && !prompt.text.contains(searchWord, Qt::CaseInsensitive))
            continue;
        snapshot.visiblePrompts.append(prompt);
        auto section = sections.find(prompt.group);
        if (section == sections.end()) {
            section = sections.insert(prompt.group, snapshot.sections.size());
            snapshot.sections.append(PromptSection{prompt.group, prompt.group, {}});
        }
        snapshot.sections[*section].prompts.append(prompt);
        if (snapshot.shortcutNumbers.size() < 9)
            snapshot.shortcutNumbers.insert(prompt.id, snapshot.shortcutNumbers.size() + 1);
    }
    snapshot.allowsPromptOrdering = !searched;
    return snapshot;
}

struct Library {
    PromptStageState full;
    PromptStageState searched;

    explicit Library(int count)
    {
        QList<PromptItem> prompts;
        for (int index = 0; index < count; ++index)
            prompts.append(makePrompt(index));
        full.snapshot = snapshotOf(prompts, false);
        searched.snapshot = snapshotOf(prompts, true);
        searched.selectedPromptID = searched.snapshot.visiblePrompts.first().id;
    }
};

const Library& library(int count)
{
    static std::map<int, Library> libraries;
    return libraries.try_emplace(count, count).first->second;
}

// The stage at the panel's size, shown, holding the whole library.
std::unique_ptr<PromptGridStageView> openStage(const Library& lib)
{
    auto stage = std::make_unique<PromptGridStageView>();
    stage->resize(484, 520);
    stage->setState(lib.full);
    stage->show();
    stage->viewport()->repaint();
    return stage;
}

void BM_NewSnapshotAndRepaint(benchmark::State& state)
{
    const Library& lib = library(int(state.range(0)));
    auto stage = openStage(lib);
    bool searching = false;
    for (auto _ : state) {
        searching = !searching;
        stage->setState(searching ? lib.searched : lib.full);
        stage->viewport()->repaint();
    }
    state.counters["prompts"] = double(state.range(0));
    state.counters["tiles"] = stage->tileWidgetCount();
}
BENCHMARK(BM_NewSnapshotAndRepaint)->Arg(100)->Arg(10000)->Unit(benchmark::kMicrosecond);

void BM_OpenStage(benchmark::State& state)
{
    const Library& lib = library(int(state.range(0)));
    for (auto _ : state) {
        auto stage = openStage(lib);
        benchmark::DoNotOptimize(stage.get());
    }
}
BENCHMARK(BM_OpenStage)->Arg(10000)->Unit(benchmark::kMicrosecond);

// One viewport's height further down each time, back to the top at the end.
void BM_ScrollStep(benchmark::State& state)
{
    const Library& lib = library(int(state.range(0)));
    auto stage = openStage(lib);
    QScrollBar* bar = stage->verticalScrollBar();
    for (auto _ : state) {
        bar->setValue(bar->value() >= bar->maximum() ? 0 : bar->value() + stage->viewport()->height());
        stage->viewport()->repaint();
    }
    state.counters["tiles"] = stage->tileWidgetCount();
    state.counters["stepsThroughAll"] = double(bar->maximum() / stage->viewport()->height() + 1);
}
BENCHMARK(BM_ScrollStep)->Arg(10000)->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv)
{
    return runWidgetBenchmarks(argc, argv);
}
