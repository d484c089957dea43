// A key typed into the import sheet's text with 512 KiB in it: the main thread's share from the key
// event to the repainted sheet (the edit, the text handed to the view model, the preview cleared, the
// debounce restarted). The debounce never ends here, so no parse runs; that happens off the main
// thread anyway.
//   ninja bench_importsheet && ./bench/bench_importsheet

#include "AppLanguageStore.h"
#include "FakeFileChooser.h"
#include "PromptImportParser.h"
#include "PromptImportSheet.h"
#include "PromptImportTextEditor.h"
#include "PromptPanelPreferences.h"
#include "PromptStoreFixture.h"
#include "UTF8ByteCount.h"
#include "VelmoraSheetHost.h"
#include "WidgetBenchmarkMain.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QPromise>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Sections of mixed English and Chinese lines up to the size limit, less room for the keys typed.
QString largeText()
{
    const QString lines[] = {
        u"Review the change set below and list the risks in order of severity, with file and line."_s,
        u"请审查当前改动，按严重程度列出风险，并注明文件和行号。"_s,
        u"Explain the design in two paragraphs, then give the patch as a unified diff."_s,
    };
    QString text;
    qint64 bytes = 0;
    for (int section = 0; bytes < PromptImportParser::maximumTextBytes - 4096; ++section) {
        QString block = u"## Section %1\n"_s.arg(section);
        for (int line = 0; line < 12; ++line)
            block += lines[(section + line) % 3] + u'\n';
        block += u'\n';
        bytes += utf8ByteCount(block);
        text += block;
    }
    return text;
}

void BM_ImportEditorKey(benchmark::State& state)
{
    PromptStoreFixture::Fixture fixture;
    fixture.setUp();
    AppLanguageStore language(fixture.settings.get(), [] { return QStringList{u"en"_s}; });
    PromptPanelPreferences preferences(fixture.settings.get());
    FakeFileChooser chooser;
    QList<std::shared_ptr<QPromise<void>>> waits;
    QWidget presenter;
    presenter.resize(800, 800);
    presenter.show();

    PromptImportSheet::Dependencies dependencies;
    dependencies.promptStore = fixture.store.get();
    dependencies.languageStore = &language;
    dependencies.preferences = &preferences;
    dependencies.fileChooser = &chooser;
    dependencies.sleeper = [&waits](qint64) {
        auto promise = std::make_shared<QPromise<void>>();
        promise->start();
        waits.append(promise);
        return promise->future();
    };
    const QPointer<VelmoraSheetHost> host = PromptImportSheet::present(&presenter, dependencies);
    auto* sheet = qobject_cast<PromptImportSheet*>(host->content());
    PromptImportTextEditor* editor = sheet->editor();
    editor->setPlainText(largeText());
    editor->moveCursor(QTextCursor::End);
    editor->setFocus();
    QCoreApplication::processEvents();
    presenter.repaint();

    QList<double> keys;
    int typed = 0;
    for (auto _ : state) {
        // Letters, and now and then a backspace, so the text stays near its size.
        const Qt::Key key = typed++ % 4 == 3 ? Qt::Key_Backspace : Qt::Key_A;
        QElapsedTimer timer;
        timer.start();
        QTest::keyClick(editor, key);
        QCoreApplication::processEvents();
        presenter.repaint();
        const double milliseconds = double(timer.nsecsElapsed()) / 1e6;
        keys.append(milliseconds);
        state.SetIterationTime(milliseconds / 1000.0);
    }
    std::sort(keys.begin(), keys.end());
    state.counters["median_ms"] = keys.at(keys.size() / 2);
    state.counters["worst_ms"] = keys.constLast();
    state.counters["KiB"] = double(editor->toPlainText().toUtf8().size()) / 1024.0;
    for (const auto& wait : std::as_const(waits))
        wait->finish();
    delete host;
    fixture.tearDown();
}
BENCHMARK(BM_ImportEditorKey)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(200);

} // namespace

int main(int argc, char** argv)
{
    return runWidgetBenchmarks(argc, argv);
}
