// Arbitrary bytes as a file on disk: the single-file read without limits, and the full load with
// the same bytes as the global file and as a workspace file. A read never fails for content that
// is UTF-8; a load gives each file either a workspace or exactly one issue, and never writes.

#include "PromptConfigLoader.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// A broken promise aborts with its line, so the crash report says which one it was.
void requireAt(bool condition, int line)
{
    if (!condition) {
        std::fprintf(stderr, "requirement failed at line %d\n", line);
        std::abort();
    }
}
#define require(condition) requireAt((condition), __LINE__)

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    require(file.write(bytes) == bytes.size());
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static QTemporaryDir home;
    require(home.isValid());
    const QString base = home.filePath(QStringLiteral(".velmora"));
    static const bool folders = QDir().mkpath(base + QStringLiteral("/workspaces"));
    require(folders);
    const QString globalPath = base + QStringLiteral("/global.yaml");
    const QString workspacePath = base + QStringLiteral("/workspaces/fuzz.yaml");

    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes); // decoding happens on conversion to a string
    const bool isUTF8 = !decoder.hasError();

    writeFile(workspacePath, bytes);
    PromptConfigLoader loader(home.path(), [] { return AppLanguage::english; });
    const std::optional<PromptWorkspace> parsed = loader.parse(workspacePath, QStringLiteral("fallback"));
    require(parsed.has_value() == isUTF8);
    if (parsed) {
        require(parsed->id == QStringLiteral("fuzz"));
        require(parsed->fileVersion->contentHash ==
                QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
    }

    writeFile(globalPath, bytes);
    const PromptLoadResult result = loader.loadAllConfigs();
    const bool valid = isUTF8 && PromptConfigLoader::hasValidConfigStructure(text);
    require(result.configIssues.size() == (valid ? 0 : 2));
    require(result.workspaces.size() == (valid ? 1 : 0));
    require(!result.showsTransientSamples);
    require(readFile(globalPath) == bytes && readFile(workspacePath) == bytes);
    return 0;
}
