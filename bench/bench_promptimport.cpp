// The import of pasted text at its size limit, in both section styles, and the preview of a pack at
// its limits (1 MiB, 500 prompts), each against the floor of one pass that splits the same text into
// trimmed lines; and, for scale, the prompt file reader's extraction pass that the preview runs.

#include "CharacterClasses.h"
#include "PromptConfigLoader.h"
#include "PromptImportParser.h"
#include "PromptPackService.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

const QString lines[] = {
    u"Review the change set below and list the risks in order of severity, with file and line."_s,
    u"  - Check error paths: every failure must leave the data as it was and tell the user why."_s,
    u"请审查当前改动，按严重程度列出风险，并注明文件和行号。"_s,
    u"Explain the design in two paragraphs, then give the patch as a unified diff."_s,
    u"优先覆盖失败路径、边界条件和回归风险；说明每一步由哪些测试证明。"_s,
};

// 200 sections (all that is parsed) filling the size limit: titled by `## ` lines, or short first
// lines between blank lines.
QString importText(bool explicitSections)
{
    QString text;
    for (int section = 0; section < 200; ++section) {
        text += explicitSections ? u"## Section %1\n"_s.arg(section) : u"Section %1\n"_s.arg(section);
        for (int line = 0; line < 16; ++line) {
            text += lines[(section + line) % 5];
            text += u'\n';
            if (explicitSections && line == 8)
                text += u'\n'; // a blank line is body text here
        }
        text += u'\n';
    }
    for (qsizetype excess = text.toUtf8().size() - PromptImportParser::maximumTextBytes; excess > 0;
         excess = text.toUtf8().size() - PromptImportParser::maximumTextBytes)
        text.chop(std::max<qsizetype>(1, excess / 3));
    return text;
}

QString packText()
{
    QString text =
        u"pack:\n  id: \"bench\"\n  name: \"Bench\"\n  version: \"1.0.0\"\nworkspace:\n  name: \"Bench\"\n"
        u"  match_paths: []\n\nprompts:\n"_s;
    for (int prompt = 0; prompt < PromptPackService::maximumPromptCount; ++prompt) {
        text += u"  - id: \"p%1\"\n    title: \"Prompt %1\"\n    group: \"Group %2\"\n    agent: \"codex\"\n"
                u"    tags:\n      - \"review\"\n    text: |\n"_s.arg(prompt)
                    .arg(prompt % 7);
        for (int line = 0; line < 20; ++line)
            text += u"      "_s + lines[(prompt + line) % 5] + u'\n';
        text += u'\n';
    }
    // Pad the last prompt's text up to the size limit.
    for (qsizetype bytes = text.toUtf8().size(); bytes + 80 <= PromptPackService::maximumPackBytes;
         bytes += 80)
        text += u"      "_s + QString(73, u'x') + u'\n';
    return text;
}

const QString& text(int kind)
{
    static const QString texts[] = {importText(true), importText(false), packText()};
    return texts[kind];
}

void setBytes(benchmark::State& state, const QString& text)
{
    state.SetBytesProcessed(state.iterations() * text.toUtf8().size());
}

void BM_SplitIntoTrimmedLines(benchmark::State& state)
{
    const QString& input = text(int(state.range(0)));
    for (auto _ : state) {
        qsizetype total = 0;
        CharacterClasses::LineReader reader(input);
        QStringView line;
        while (reader.next(line))
            total += CharacterClasses::trimmedWhitespace(line).size();
        benchmark::DoNotOptimize(total);
    }
    setBytes(state, input);
}

void BM_ParseImport(benchmark::State& state)
{
    const QString& input = text(int(state.range(0)));
    for (auto _ : state) {
        QList<PromptImportPreview> previews = PromptImportParser::parse(input, AppLanguage::english);
        if (previews.size() != 200) {
            state.SkipWithError("the text did not give 200 previews");
            return;
        }
        benchmark::DoNotOptimize(previews);
    }
    setBytes(state, input);
}

void BM_PackPreview(benchmark::State& state)
{
    const QString& input = text(2);
    QTemporaryDir home;
    const PromptPackService service(PromptPersistenceService(home.path()),
                                    [] { return AppLanguage::english; });
    for (auto _ : state) {
        auto preview = service.parseImportPreviewFrom(input);
        if (!preview || preview->pack.workspace.prompts.size() != PromptPackService::maximumPromptCount) {
            state.SkipWithError("the pack was refused");
            return;
        }
        benchmark::DoNotOptimize(preview);
    }
    setBytes(state, input);
}

// The share of the preview that is the prompt file reader's: its prompt extraction pass alone.
void BM_PackPromptExtraction(benchmark::State& state)
{
    const QString& input = text(2);
    PromptConfigLoader loader(QString(), [] { return AppLanguage::english; });
    for (auto _ : state) {
        QList<PromptItem> prompts = loader.parsePrompts(input);
        benchmark::DoNotOptimize(prompts);
    }
    setBytes(state, input);
}

} // namespace

// 0: explicit sections, 1: blank-separated sections, 2: the pack.
BENCHMARK(BM_SplitIntoTrimmedLines)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMicrosecond)->MinTime(1.0);
BENCHMARK(BM_ParseImport)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond)->MinTime(1.0);
BENCHMARK(BM_PackPreview)->Unit(benchmark::kMicrosecond)->MinTime(1.0);
BENCHMARK(BM_PackPromptExtraction)->Unit(benchmark::kMicrosecond)->MinTime(1.0);

BENCHMARK_MAIN();
