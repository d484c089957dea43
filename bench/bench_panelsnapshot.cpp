// One build of the panel's snapshot over a library at the load limit (10,000 prompts, 10 MiB of
// text, all of them visible: 5,000 global prompts and 5,000 in the matched workspace), with a
// one-word search and without one, against the floor of a plain pass that lower-cases and scans the
// same fields. The searched build is measured after a first search, as at every keystroke but the
// first: the store keeps the lower-cased fields from one load to the next.

#include "PanelRenderSnapshotBuilder.h"
#include "PromptConfigLoading.h"
#include "PromptStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int promptCount = 10000;
constexpr qsizetype textBytes = 10485760 / promptCount;
// Appears in one prompt in a hundred, so almost every text is scanned to its end.
const QString searchWord = u"Rollback"_s;

const char16_t* const sentences[] = {
    u"Review the Change Set and list the Risks in order of severity, with File and Line. ",
    u"Prefer small, reversible Steps; name the Tests that prove each one and those still missing. ",
    u"Check every Error Path: a failure leaves the Data as it was and tells the User why. ",
    u"请审查当前改动，按严重程度列出风险，并注明文件和行号。",
    u"Explain the Design in two Paragraphs, then give the Patch as a unified Diff. ",
};

// About 1 KiB of UTF-8 per prompt, mixed English and Chinese, with capitals to fold.
PromptItem makePrompt(int index)
{
    PromptItem prompt;
    prompt.id = u"p%1"_s.arg(index);
    prompt.title = u"Review Module %1"_s.arg(index);
    prompt.group = index % 3 == 0 ? u"Quality"_s : u"Development"_s;
    prompt.tags = {u"Review"_s, u"Module-%1"_s.arg(index % 7)};
    prompt.isPinned = index % 50 == 0;
    if (index % 100 == 0)
        prompt.text = u"Write a "_s + searchWord + u" Plan first. "_s;
    for (int sentence = index; prompt.text.toUtf8().size() < textBytes; ++sentence)
        prompt.text += QString::fromUtf16(sentences[sentence % 5]);
    return prompt;
}

class ReadyLoader : public PromptConfigLoading {
public:
    PromptLoadResult result;
    QFuture<PromptLoadResult> loadAllConfigs(AppLanguage) override
    {
        return QtFuture::makeReadyFuture(result);
    }
};

struct Library {
    QTemporaryDir home;
    QString projectFolder = home.filePath(u"src/project"_s);
    QSettings settings{home.filePath(u"settings.ini"_s), QSettings::IniFormat};
    std::shared_ptr<ReadyLoader> loader = std::make_shared<ReadyLoader>();
    std::unique_ptr<PromptStore> store;
    AgentContext context = AgentContext::unknown();
    QList<PromptItem> prompts;

    Library()
    {
        QDir().mkpath(projectFolder);
        settings.setValue(QString::fromLatin1(PromptStore::advancedMatchingKey), true);
        PromptWorkspace workspace;
        workspace.id = u"project"_s;
        workspace.name = u"Project"_s;
        workspace.matchPaths = {projectFolder};
        for (int index = 0; index < promptCount; ++index) {
            prompts.append(makePrompt(index));
            (index % 2 ? workspace.prompts : loader->result.globalPrompts).append(prompts.last());
        }
        loader->result.workspaces = {workspace};
        PromptStore::Collaborators collaborators;
        collaborators.configLoader = loader;
        store = std::make_unique<PromptStore>(
            home.path(), [] { return AppLanguage::english; }, &settings, collaborators, false);
        store->reload();
        while (store->isReloading())
            QCoreApplication::processEvents();
        context.agent = AgentType::terminal;
        context.frontmostAppName = u"Terminal"_s;
        context.workspacePath = projectFolder;
        context.detectionSource = ContextDetectionSource::terminalDirectory;
    }

    PanelRenderSnapshot make(const QString& search) const
    {
        return PanelRenderSnapshotBuilder::make(
            *store, context, search, false,
            [this](const AgentContext& c) { return store->matchingService().matchDetails(c); });
    }
};

Library& library()
{
    static Library instance;
    return instance;
}

void buildSnapshot(benchmark::State& state, const QString& search, qsizetype expectedCount)
{
    const Library& lib = library();
    if (lib.make(search).visiblePrompts.size() != expectedCount) {
        state.SkipWithError("the library is not what the benchmark expects");
        return;
    }
    for (auto _ : state) {
        PanelRenderSnapshot snapshot = lib.make(search);
        benchmark::DoNotOptimize(snapshot);
    }
    state.counters["prompts"] = promptCount;
}

void BM_MakeWithSearch(benchmark::State& state)
{
    buildSnapshot(state, searchWord.toLower(), promptCount / 100);
}

void BM_MakeWithoutSearch(benchmark::State& state)
{
    buildSnapshot(state, QString(), promptCount);
}

// The floor: lower-case the searchable fields of every prompt and look for the word.
void BM_LowerCaseAndScan(benchmark::State& state)
{
    const Library& lib = library();
    const QString query = searchWord.toLower();
    qsizetype found = 0;
    for (auto _ : state) {
        found = 0;
        for (const PromptItem& prompt : std::as_const(lib.prompts)) {
            if (prompt.title.toLower().contains(query) || prompt.group.toLower().contains(query) ||
                prompt.text.toLower().contains(query) || prompt.tags.join(u' ').toLower().contains(query))
                ++found;
        }
        benchmark::DoNotOptimize(found);
    }
    if (found != promptCount / 100)
        state.SkipWithError("the floor found another number of prompts");
}

} // namespace

BENCHMARK(BM_MakeWithSearch)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_MakeWithoutSearch)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LowerCaseAndScan)->Unit(benchmark::kMillisecond)->MinTime(2.0);

int main(int argc, char** argv)
{
    // The store publishes a load through the event loop.
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
