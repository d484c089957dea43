// The prompt editor opened over a workspace of 5,000 prompts, offscreen, to its first paint: the
// first open of the process (fonts, style) and the later ones. And one prompt saved into a 1 MiB
// workspace file, from the click on Save until the sheet is gone, against the floor of writing the
// same bytes atomically and hashing them back.
//   ninja bench_prompteditor && ./bench/bench_prompteditor

#include "BackgroundPromptConfigLoader.h"
#include "ContentDigest.h"
#include "PromptEditorSheet.h"
#include "PromptStore.h"
#include "SecureFileWriter.h"
#include "VelmoraButton.h"
#include "VelmoraSheetHost.h"
#include "WidgetBenchmarkMain.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// A workspace file of `count` prompts with about `textBytes` of text each.
QByteArray workspaceFile(int count, int textBytes)
{
    QByteArray file = "workspace:\n  name: Bench\nprompts:\n";
    const QByteArray line = "      Read the module and note every place where an error is swallowed.\n";
    for (int index = 0; index < count; ++index) {
        file += "  - id: p" + QByteArray::number(index) + "\n    title: Step " + QByteArray::number(index) +
                "\n    group: Group " + QByteArray::number(index % 12) + "\n    text: |\n";
        for (int written = 0; written < textBytes; written += int(line.size()))
            file += line;
    }
    return file;
}

struct Library {
    QTemporaryDir home;
    QSettings settings{home.filePath(u"settings.ini"_s), QSettings::IniFormat};
    std::unique_ptr<PromptStore> store;
    QWidget window;

    explicit Library(const QByteArray& file)
    {
        const QString folder = home.path() + u"/.velmora/workspaces"_s;
        QDir().mkpath(folder);
        QFile out(folder + u"/bench.yaml"_s);
        out.open(QIODevice::WriteOnly);
        out.write(file);
        out.close();
        store = std::make_unique<PromptStore>(
            home.path(), [] { return AppLanguage::english; }, &settings,
            PromptStore::Collaborators{std::make_shared<BackgroundPromptConfigLoader>(home.path()), nullptr,
                                       nullptr, nullptr},
            false);
        QFuture<void> loaded = store->reloadAndWait();
        while (!loaded.isFinished())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        window.resize(900, 700);
        window.show();
        QCoreApplication::processEvents();
    }

    QString filePath() const { return home.path() + u"/.velmora/workspaces/bench.yaml"_s; }

    VelmoraSheetHost* open(std::optional<PromptItem> editing = std::nullopt)
    {
        auto* sheet = new PromptEditorSheet(*store, {AgentContext::unknown(), u"bench"_s, std::move(editing)});
        auto* host = new VelmoraSheetHost(&window, sheet);
        host->present();
        host->repaint(); // the first paint, now
        return host;
    }
};

// The libraries made, gone before the application: their windows and temporary homes with them.
std::vector<std::unique_ptr<Library>>& libraries()
{
    static std::vector<std::unique_ptr<Library>> made;
    return made;
}

Library& largeLibrary()
{
    // Short prompts, one line each: the file has to stay within the 1 MiB a file may hold.
    static Library& library = *libraries().emplace_back(std::make_unique<Library>(workspaceFile(5000, 1)));
    return library;
}

void openAndClose(benchmark::State& state)
{
    Library& library = largeLibrary();
    if (library.store->workspaces().isEmpty()) {
        state.SkipWithError("the library didn't load");
        return;
    }
    for (auto _ : state) {
        VelmoraSheetHost* host = library.open();
        state.PauseTiming();
        host->reject();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        state.ResumeTiming();
    }
    state.counters["prompts"] = double(library.store->workspaces().constFirst().prompts.size());
}

// Registered first, so that it is the first open of the process.
void BM_OpenPromptEditorFirstTime(benchmark::State& state)
{
    openAndClose(state);
}
BENCHMARK(BM_OpenPromptEditorFirstTime)->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_OpenPromptEditorLater(benchmark::State& state)
{
    openAndClose(state);
}
BENCHMARK(BM_OpenPromptEditorLater)->Unit(benchmark::kMillisecond);

Library& megabyteLibrary()
{
    // Just under the 1 MiB a file may hold.
    static Library& library = *libraries().emplace_back(std::make_unique<Library>(workspaceFile(1100, 860)));
    return library;
}

void BM_SavePromptIntoMegabyteFile(benchmark::State& state)
{
    Library& library = megabyteLibrary();
    if (library.store->workspaces().isEmpty()) {
        state.SkipWithError("the library didn't load");
        return;
    }
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        PromptItem edited = library.store->workspaces().constFirst().prompts.at(550);
        VelmoraSheetHost* host = library.open(edited);
        auto* sheet = static_cast<PromptEditorSheet*>(host->content());
        // Same length each round, so the file stays the same size.
        sheet->titleField()->setText(round++ % 2 ? u"Edited A"_s : u"Edited B"_s);
        QPointer<VelmoraSheetHost> watched = host;
        state.ResumeTiming();
        sheet->saveButton()->click();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        if (watched && watched->isVisible())
            state.SkipWithError("the sheet stayed open");
    }
    state.counters["fileBytes"] = double(QFileInfo(library.filePath()).size());
}
BENCHMARK(BM_SavePromptIntoMegabyteFile)->Unit(benchmark::kMillisecond);

void BM_SaveFloorWriteAndHash(benchmark::State& state)
{
    Library& library = megabyteLibrary();
    QFile file(library.filePath());
    file.open(QIODevice::ReadOnly);
    const QByteArray bytes = file.readAll();
    file.close();
    for (auto _ : state) {
        if (!SecureFileWriter::writeData(bytes, library.filePath()))
            state.SkipWithError("write failed");
        QFile back(library.filePath());
        back.open(QIODevice::ReadOnly);
        benchmark::DoNotOptimize(ContentDigest::sha256Hex(back.readAll()));
    }
    state.counters["fileBytes"] = double(bytes.size());
}
BENCHMARK(BM_SaveFloorWriteAndHash)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QStandardPaths::setTestModeEnabled(true);
    return runWidgetBenchmarks(argc, argv, [] { libraries().clear(); });
}
