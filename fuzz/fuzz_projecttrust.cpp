// Arbitrary bytes as trusted-project-configs.json. A corrupt file gives no trust and is left as it
// is; a readable one gives normalised paths with their hashes, and trusting a file on top of one that
// held trust keeps every entry and writes a file that reads back the same.

#include "FuzzHome.h"
#include "ProjectConfigTrustStore.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString home = fuzzHome();
    const QString project = home + QStringLiteral("/project/.velmora.yaml");
    static const bool ready = QDir().mkpath(home + QStringLiteral("/project"));
    require(ready);
    writeFuzzFile(project, QByteArrayLiteral("prompts:\n"));

    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    ProjectConfigTrustStore store(home);
    writeFuzzFile(store.fileURL(), bytes);
    store.reload();
    const QHash<QString, QString> loaded = store.trustedConfigHashesByPath();
    // A stored path holding a NUL can't be made absolute (no file can have it) and stays relative;
    // it never matches a file, and is left out of the round trip below.
    bool allAbsolute = true;
    for (auto entry = loaded.cbegin(); entry != loaded.cend(); ++entry) {
        allAbsolute = allAbsolute && QDir::isAbsolutePath(entry.key());
        if (QDir::isAbsolutePath(entry.key()))
            require(ProjectConfigTrustStore::normalizedPath(entry.key()) == entry.key());
    }
    require(readFuzzFile(store.fileURL()) == bytes);
    // Writing is slow (the writer syncs to disk), so only a file that held trust is written over.
    if (loaded.isEmpty() || !allAbsolute)
        return 0;

    require(store.trust(project).hasValue());
    require(store.isTrusted(project));
    const QHash<QString, QString> trusted = store.trustedConfigHashesByPath();
    for (auto entry = loaded.cbegin(); entry != loaded.cend(); ++entry)
        require(trusted.contains(entry.key()));
    ProjectConfigTrustStore again(home);
    again.reload();
    require(again.trustedConfigHashesByPath() == trusted);
    return 0;
}
