// A library at the aggregate limit (100 workspace files, 10 MiB of prompts with block texts) loaded
// in full, against the floor of reading and hashing the same files, and against libyaml's event
// parser scanning the same bytes from memory. Two more split the load's own cost: the digest alone,
// and the decoding and parsing alone (the like-for-like match for libyaml's scan). Times are wall
// clock: the load reads its files on as many threads as there are cores; every other case uses one.

#include "ContentDigest.h"
#include "PromptConfigLoader.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <yaml.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr int workspaceCount = 100;
constexpr qint64 aggregateLimit = 10485760;
constexpr qint64 bytesPerFile = aggregateLimit / workspaceCount;

const char* const englishLines[] = {
    "Review the change set below and list the risks in order of severity, with file and line.",
    "Prefer small, reversible steps; say which tests prove each step and which are still missing.",
    "- Check error paths: every failure must leave the data as it was and tell the user why.",
    "- Look for races between the background load and the main thread: copies, not shared state.",
    "Explain the design in two paragraphs, then give the patch as a unified diff: no prose inside.",
    "Context: {{project}} on branch {{branch|main}}; the reviewer is {{reviewer}}.",
};
const char* const chineseLines[] = {
    "请审查当前改动，按严重程度列出风险，并注明文件和行号。",
    "优先覆盖失败路径、边界条件和回归风险；说明每一步由哪些测试证明。",
    "- 检查错误处理：任何失败都必须保持数据不变，并告诉用户原因。",
};
const char* const agents[] = {"codex", "claude-code", "cursor", "any", "vscode", "zed"};

// One prompt of about 2.5 KB: keys of every kind, a block text of some forty lines.
QByteArray promptEntry(int file, int index)
{
    QByteArray entry;
    entry += "  - id: w" + QByteArray::number(file) + "-p" + QByteArray::number(index) + "\n";
    entry += "    title: Review module " + QByteArray::number(index) + " of workspace " +
             QByteArray::number(file) + "\n";
    entry += "    group: " + QByteArray(index % 3 == 0 ? "Quality" : "Development") + "\n";
    entry += "    agent: " + QByteArray(agents[index % 6]) + "\n";
    if (index % 5 == 0)
        entry += "    pinned: true\n";
    entry += "    tags: review, module-" + QByteArray::number(index % 7) + "\n";
    entry += "    text: |\n";
    for (int line = 0; line < 36; ++line) {
        const bool chinese = (line + index) % 4 == 0;
        entry += "      ";
        entry += chinese ? chineseLines[line % 3] : englishLines[line % 6];
        entry += "\n";
        if (line % 9 == 8)
            entry += "\n";
    }
    return entry;
}

QByteArray workspaceFile(int file)
{
    QByteArray bytes = "workspace:\n  name: Workspace " + QByteArray::number(file) +
                       "\n  match_paths:\n    - /home/dev/src/project-" + QByteArray::number(file) +
                       "\nprompts:\n";
    // Whole prompts while they fit, then block lines up to the exact share of the aggregate limit.
    for (int index = 0;; ++index) {
        const QByteArray entry = promptEntry(file, index);
        if (bytes.size() + entry.size() > bytesPerFile)
            break;
        bytes += entry;
    }
    while (bytes.size() < bytesPerFile) {
        const qint64 room = bytesPerFile - bytes.size();
        if (room < 8) {
            bytes.insert(bytes.size() - 1, QByteArray(room, '.'));
            break;
        }
        bytes += "      " + QByteArray(std::min<qint64>(room, 80) - 7, 'x') + "\n";
    }
    return bytes;
}

struct Library {
    QTemporaryDir home;
    QStringList paths;
    QList<QByteArray> contents;

    Library()
    {
        const QString folder = home.filePath(u".velmora/workspaces"_s);
        QDir().mkpath(folder);
        for (int file = 0; file < workspaceCount; ++file) {
            const QString path = folder + u"/workspace-%1.yaml"_s.arg(file, 3, 10, QLatin1Char('0'));
            const QByteArray bytes = workspaceFile(file);
            QFile out(path);
            if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size())
                qFatal("cannot write the benchmark library");
            paths.append(path);
            contents.append(bytes);
        }
    }

    qint64 totalBytes() const
    {
        qint64 total = 0;
        for (const QByteArray& bytes : contents)
            total += bytes.size();
        return total;
    }
};

Library& library()
{
    static Library instance;
    return instance;
}

void BM_LoadAllConfigs(benchmark::State& state)
{
    Library& lib = library();
    qint64 prompts = 0;
    for (auto _ : state) {
        PromptConfigLoader loader(lib.home.path(), [] { return AppLanguage::english; });
        const PromptLoadResult result = loader.loadAllConfigs();
        if (result.workspaces.size() != workspaceCount || !result.configIssues.isEmpty()) {
            state.SkipWithError("the library did not load whole");
            return;
        }
        prompts = 0;
        for (const PromptWorkspace& workspace : result.workspaces)
            prompts += workspace.prompts.size();
        benchmark::DoNotOptimize(result);
    }
    state.SetBytesProcessed(state.iterations() * lib.totalBytes());
    state.counters["prompts"] = double(prompts);
    state.counters["files"] = workspaceCount;
}

void BM_ReadAndHash(benchmark::State& state)
{
    Library& lib = library();
    for (auto _ : state) {
        for (const QString& path : std::as_const(lib.paths)) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly)) {
                state.SkipWithError("cannot read the library");
                return;
            }
            const QByteArray bytes = file.readAll();
            QString hash = ContentDigest::sha256Hex(bytes);
            benchmark::DoNotOptimize(hash);
        }
    }
    state.SetBytesProcessed(state.iterations() * lib.totalBytes());
}

void BM_LibyamlScan(benchmark::State& state)
{
    Library& lib = library();
    qint64 events = 0;
    for (auto _ : state) {
        events = 0;
        for (const QByteArray& bytes : std::as_const(lib.contents)) {
            yaml_parser_t parser;
            yaml_parser_initialize(&parser);
            yaml_parser_set_input_string(&parser, reinterpret_cast<const unsigned char*>(bytes.constData()),
                                         size_t(bytes.size()));
            bool done = false;
            while (!done) {
                yaml_event_t event;
                if (!yaml_parser_parse(&parser, &event)) {
                    yaml_parser_delete(&parser);
                    state.SkipWithError("libyaml refused the library");
                    return;
                }
                done = event.type == YAML_STREAM_END_EVENT;
                ++events;
                yaml_event_delete(&event);
            }
            yaml_parser_delete(&parser);
        }
    }
    state.SetBytesProcessed(state.iterations() * lib.totalBytes());
    state.counters["events"] = double(events);
}

// The floor of the floor: the digest alone, from memory. Every load pays it, for the version check.
void BM_HashOnly(benchmark::State& state)
{
    Library& lib = library();
    for (auto _ : state) {
        for (const QByteArray& bytes : std::as_const(lib.contents)) {
            QString hash = ContentDigest::sha256Hex(bytes);
            benchmark::DoNotOptimize(hash);
        }
    }
    state.SetBytesProcessed(state.iterations() * lib.totalBytes());
}

// What the load does with each file's bytes apart from reading and hashing them: strict UTF-8
// decoding, the structural check and the extraction passes, from memory like libyaml's scan.
void BM_ParseFromMemory(benchmark::State& state)
{
    Library& lib = library();
    PromptConfigLoader loader(lib.home.path(), [] { return AppLanguage::english; });
    for (auto _ : state) {
        for (const QByteArray& bytes : std::as_const(lib.contents)) {
            QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
            const QString text = decoder.decode(bytes);
            if (decoder.hasError() || !PromptConfigLoader::hasValidConfigStructure(text)) {
                state.SkipWithError("the library is not valid");
                return;
            }
            QList<PromptItem> prompts = loader.parsePrompts(text);
            benchmark::DoNotOptimize(prompts);
        }
    }
    state.SetBytesProcessed(state.iterations() * lib.totalBytes());
}

} // namespace

BENCHMARK(BM_LoadAllConfigs)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();
BENCHMARK(BM_ReadAndHash)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();
BENCHMARK(BM_LibyamlScan)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();
BENCHMARK(BM_HashOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();
BENCHMARK(BM_ParseFromMemory)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

BENCHMARK_MAIN();
