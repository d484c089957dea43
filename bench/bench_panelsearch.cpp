// From a key press in the panel's search field to the repainted panel, over the real panel at 100
// and at 10,000 prompts (about 1 KiB each, 10 MiB in all): a word typed and deleted again, one key at a
// time, with the median and the worst key reported. The floor is one snapshot build with the same
// texts, which every keystroke needs; what the panel adds beyond it ("added") must not grow with the
// library. Runs offscreen by default; QT_QPA_PLATFORM=xcb runs it on an X server.
//   ninja bench_panelsearch && ./bench/bench_panelsearch

#include "../tests/views/PromptPanelHarness.h"
#include "ClipboardWriting.h"
#include "PanelRenderSnapshotBuilder.h"
#include "PromptConfigLoading.h"
#include "SearchVelmoraView.h"
#include "VelmoraSheetHost.h"
#include "WidgetBenchmarkMain.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString searchWord = u"rollback"_s;

const char16_t* const sentences[] = {
    u"Review the Change Set and list the Risks in order of severity, with File and Line. ",
    u"Prefer small, reversible Steps; name the Tests that prove each one and those still missing. ",
    u"请审查当前改动，按严重程度列出风险，并注明文件和行号。",
    u"Explain the Design in two Paragraphs, then give the Patch as a unified Diff. ",
};

PromptItem makePrompt(int index)
{
    PromptItem prompt;
    prompt.id = u"p%1"_s.arg(index);
    prompt.title = u"Review Module %1"_s.arg(index);
    prompt.group = index % 3 == 0 ? u"Quality"_s : u"Development"_s;
    prompt.tags = {u"Review"_s};
    if (index % 100 == 0)
        prompt.text = u"Write a Rollback Plan first. "_s;
    while (prompt.text.toUtf8().size() < 1000)
        prompt.text += QString::fromUtf16(sentences[(index + prompt.text.size()) % 4]);
    return prompt;
}

class ReadyLoader : public PromptConfigLoading {
public:
    PromptLoadResult result;
    QFuture<PromptLoadResult> loadAllConfigs(AppLanguage) override { return QtFuture::makeReadyFuture(result); }
};

struct NoClipboard : ClipboardWriting {
    bool writeText(const QString&) override { return true; }
};

// The key presses of one pass: the word typed, then deleted again.
QList<std::pair<Qt::Key, QString>> keysOfOnePass()
{
    QList<std::pair<Qt::Key, QString>> keys;
    for (const QChar character : searchWord)
        keys.append({Qt::Key(Qt::Key_A + (character.unicode() - u'a')), QString(character)});
    for (qsizetype index = 0; index < searchWord.size(); ++index)
        keys.append({Qt::Key_Backspace, QString()});
    return keys;
}

struct Panel {
    QTemporaryDir home;
    QSettings settings{home.filePath(u"settings.ini"_s), QSettings::IniFormat};
    std::shared_ptr<ReadyLoader> loader = std::make_shared<ReadyLoader>();
    std::unique_ptr<PromptStore> store;
    std::unique_ptr<PromptPanelHarness> harness;
    std::unique_ptr<PromptPanelView> view;

    explicit Panel(int prompts)
    {
        for (int index = 0; index < prompts; ++index)
            loader->result.globalPrompts.append(makePrompt(index));
        store = std::make_unique<PromptStore>(
            home.path(), [] { return AppLanguage::english; }, &settings,
            PromptStore::Collaborators{loader, nullptr, nullptr, nullptr}, false);
        // The reload finishes through the event loop: it must run meanwhile.
        const QFuture<void> loaded = store->reloadAndWait();
        while (!loaded.isFinished())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        harness = std::make_unique<PromptPanelHarness>(*store, &settings, std::make_shared<NoClipboard>(),
                                                       [](const QString&) { return nullptr; },
                                                       [](double, std::function<void()> work) { work(); });
        view = std::make_unique<PromptPanelView>(harness->dependencies(), PromptPanelView::Environment{});
        view->resize(484, 640);
        view->show();
        harness->morph->open(true);
        if (!QTest::qWaitForWindowExposed(view.get()))
            qFatal("the panel was never shown");
        QCoreApplication::processEvents();
    }
};

std::map<int, std::unique_ptr<Panel>>& panels()
{
    static std::map<int, std::unique_ptr<Panel>> made;
    return made;
}

Panel& panel(int prompts)
{
    std::unique_ptr<Panel>& made = panels()[prompts];
    if (!made)
        made = std::make_unique<Panel>(prompts);
    return *made;
}

void report(benchmark::State& state, QList<double> milliseconds)
{
    std::sort(milliseconds.begin(), milliseconds.end());
    state.counters["median_ms"] = milliseconds.at(milliseconds.size() / 2);
    state.counters["worst_ms"] = milliseconds.constLast();
}

// Each key: the event into the field, the render it causes, the posted work, and a synchronous paint.
void BM_PanelSearchKey(benchmark::State& state)
{
    Panel& subject = panel(int(state.range(0)));
    QLineEdit* field = subject.view->searchView()->field();
    field->setFocus();
    QList<double> keys;
    for (auto _ : state) {
        double pass = 0.0;
        for (const auto& [key, text] : keysOfOnePass()) {
            QElapsedTimer timer;
            timer.start();
            QTest::keyClick(field, key);
            QCoreApplication::processEvents();
            subject.view->repaint();
            const double milliseconds = double(timer.nsecsElapsed()) / 1e6;
            keys.append(milliseconds);
            pass += milliseconds;
        }
        state.SetIterationTime(pass / 1000.0);
    }
    report(state, keys);
}

// The floor: the snapshot of each text the pass goes through.
void BM_SnapshotForEachKey(benchmark::State& state)
{
    Panel& subject = panel(int(state.range(0)));
    const PromptMatchingService matching = subject.store->matchingService();
    const auto details = [&matching](const AgentContext& context) { return matching.matchDetails(context); };
    QStringList texts;
    for (qsizetype length = 1; length <= searchWord.size(); ++length)
        texts.append(searchWord.left(length));
    for (qsizetype length = searchWord.size() - 1; length >= 0; --length)
        texts.append(searchWord.left(length));
    QList<double> keys;
    for (auto _ : state) {
        double pass = 0.0;
        for (const QString& text : std::as_const(texts)) {
            QElapsedTimer timer;
            timer.start();
            benchmark::DoNotOptimize(
                PanelRenderSnapshotBuilder::make(*subject.store, AgentContext::unknown(), text, false, details));
            const double milliseconds = double(timer.nsecsElapsed()) / 1e6;
            keys.append(milliseconds);
            pass += milliseconds;
        }
        state.SetIterationTime(pass / 1000.0);
    }
    report(state, keys);
}

} // namespace

BENCHMARK(BM_PanelSearchKey)->Arg(100)->Arg(10000)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_SnapshotForEachKey)->Arg(100)->Arg(10000)->UseManualTime()->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv)
{
    return runWidgetBenchmarks(argc, argv, [] { panels().clear(); });
}
