// Reading, checking and installing prompt packs. The pack reader adds a header and two checks of its
// own to the extraction passes of the prompt file format; the structural check is not run on packs.

#include "PromptPackService.h"

#include "AppLog.h"
#include "CharacterClasses.h"
#include "Localization.h"
#include "PromptConfigLoader.h"
#include "PromptYAMLEncoder.h"
#include "UTF8ByteCount.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace CharacterClasses;

namespace {

// A byte order mark of three bytes is no part of the text, so a file may be three bytes longer than
// the limit; reading one byte beyond that proves the text too large without reading the rest.
constexpr qint64 readLimit = PromptPackService::maximumPackBytes + 4;

// A tab in a single-line value would fail the structural check of the file it is written to.
void replaceTabs(QString& value)
{
    value.replace(u'\t', u' ');
}

void replaceTabs(PromptWorkspace& workspace)
{
    replaceTabs(workspace.name);
    for (PromptItem& prompt : workspace.prompts) {
        replaceTabs(prompt.id);
        replaceTabs(prompt.title);
        replaceTabs(prompt.group);
        for (QString& tag : prompt.tags)
            replaceTabs(tag);
    }
}

bool isBlank(QStringView text)
{
    return trimmedWhitespaceAndNewlines(text).isEmpty();
}

} // namespace

AppError PromptPackError::invalidPack(const QString& message)
{
    return AppError{QString::fromLatin1(typeName), u"Velmora.PromptPackError"_s, 0, message};
}

PromptPackService::PromptPackService(PromptPersistenceService persistence, LanguageProvider languageProvider,
                                     PromptConfigLimits limits)
    : m_persistence(std::move(persistence)), m_languageProvider(std::move(languageProvider)), m_limits(limits)
{}

QString PromptPackService::text(const char* key) const
{
    return AppLocalizationCatalog::shared().string(QString::fromLatin1(key), m_languageProvider());
}

// --- The reader ---

namespace {

// The cleaned value of the first line that begins with `<key>:`; the lines are trimmed.
std::optional<QString> scalar(QStringView key, const QList<QStringView>& lines)
{
    for (QStringView line : lines) {
        if (line.size() > key.size() && line[key.size()] == u':' && line.startsWith(key))
            return PromptConfigLoader::cleanScalar(trimmedWhitespace(line.sliced(key.size() + 1)));
    }
    return std::nullopt;
}

// The `pack:` header, from the lines of its section, with a default for each absent value.
PromptPackMetadata parseMetadata(const QList<QStringView>& lines)
{
    PromptPackMetadata metadata;
    metadata.name = scalar(u"name", lines).value_or(u"Prompt Pack"_s);
    const std::optional<QString> id = scalar(u"id", lines);
    metadata.id = id ? *id : PromptConfigLoader::slug(metadata.name);
    metadata.description = scalar(u"description", lines).value_or(QString());
    metadata.version = scalar(u"version", lines).value_or(u"1.0.0"_s);
    metadata.author = scalar(u"author", lines).value_or(QString());
    return metadata;
}

// A value less its quotes, as cleanScalar gives it but without undoing `\"` and `\\`: that never
// makes a value empty or blank, and this needs no copy.
QStringView unquoted(QStringView value)
{
    value = trimmedWhitespaceAndNewlines(value);
    if (value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'') &&
        value.back() == value.front())
        return value.sliced(1, value.size() - 2);
    return value;
}

// One prompt item's required fields, read from its lines (trimmed) as they come: the first `title:`
// line must give a value that is not blank, and some `text:` line a value that is not empty (a
// `text: |` does).
class RequiredPromptFields {
public:
    void read(QStringView line)
    {
        // Most lines are prompt text: the first letter rules them out without a call.
        if (line.isEmpty() || line.front() != u't')
            return;
        if (!m_title && line.startsWith(u"title:"))
            m_title = !isBlank(unquoted(line.sliced(6)));
        if (!m_text && line.startsWith(u"text:"))
            m_text = !unquoted(line.sliced(5)).isEmpty();
    }
    bool present() const { return m_title.value_or(false) && m_text; }

private:
    std::optional<bool> m_title;
    bool m_text = false;
};

// What the pack reader takes from the text, in one pass over its lines.
struct PackLines {
    bool tooLarge = false;          // the rest is incomplete then
    QList<QStringView> packSection; // the lines under `pack:`, trimmed
    bool requiredFieldsPresent = true;
    qsizetype firstPromptsLine = -1; // where the first `prompts:` line begins
};

// The section `pack:`: after a line `pack:`, each line up to one that stands at the left margin and
// is not blank. The prompt blocks: after a line `prompts:`, each line beginning with `  - ` opens a
// block with the trimmed line less its `- `; the lines that follow, trimmed, belong to it.
PackLines readPackLines(QStringView text)
{
    PackLines result;
    bool inPack = false;
    bool inPrompts = false;
    RequiredPromptFields block;
    bool inBlock = false;
    const auto closeBlock = [&] {
        if (inBlock && !block.present())
            result.requiredFieldsPresent = false;
    };
    LineReader reader(text);
    QStringView raw;
    qint64 bytes = 0;
    while (reader.next(raw)) {
        // The size is counted line by line, while each line is at hand.
        bytes += utf8ByteCountWithNewline(raw, text);
        if (bytes > PromptPackService::maximumPackBytes) {
            result.tooLarge = true;
            return result;
        }
        const QStringView trimmed = trimmedWhitespace(raw);
        // The lengths first: most lines are neither `pack:` nor `prompts:`, and a length is no call.
        if (trimmed.size() == 5 && trimmed == u"pack:")
            inPack = true;
        else if (inPack && !raw.startsWith(u' ') && !trimmed.isEmpty())
            inPack = false;
        else if (inPack)
            result.packSection.append(trimmed);

        if (trimmed.size() == 8 && trimmed == u"prompts:") {
            if (!inPrompts)
                result.firstPromptsLine = raw.data() - text.data();
            inPrompts = true;
        } else if (inPrompts && raw.size() >= 4 && raw[2] == u'-' && raw.startsWith(u"  - ")) {
            closeBlock();
            block = RequiredPromptFields();
            inBlock = true;
            block.read(trimmed.sliced(2));
        } else if (inBlock) {
            block.read(trimmed);
        }
    }
    closeBlock();
    return result;
}

} // namespace

void PromptPackService::normalize(QList<PromptItem>& prompts)
{
    QSet<QString> seen;
    for (PromptItem& prompt : prompts) {
        const QString base = isBlank(prompt.id) ? PromptConfigLoader::slug(prompt.title) : prompt.id;
        QString candidate = base;
        for (int counter = 2; seen.contains(candidate); ++counter)
            candidate = base + u'-' + QString::number(counter);
        seen.insert(candidate);
        prompt.id = candidate;
    }
}

Expected<PromptPackImportPreview> PromptPackService::parseImportPreviewFrom(QStringView text) const
{
    const auto invalid = [this](const char* key) {
        return PromptPackError::invalidPack(this->text(key));
    };
    // At least one byte a unit: a text that is surely too large is not read.
    if (text.size() > maximumPackBytes)
        return invalid("error.pack.too.large");
    const PackLines lines = readPackLines(text);
    if (lines.tooLarge)
        return invalid("error.pack.too.large");
    PromptPack pack;
    pack.metadata = parseMetadata(lines.packSection);
    if (!lines.requiredFieldsPresent)
        return invalid("error.pack.prompt.required");
    // Without a `prompts:` line extraction finds no prompt, and so no bad agent either.
    if (lines.firstPromptsLine < 0)
        return invalid("error.pack.no.prompts");

    // The name pass gives the first name it finds. Above the first `prompts:` line no line can be
    // prompt text, so a name found there is the one the whole text gives, and the rest of a large
    // pack needs no second walk. The match paths are not read: a pack's are dropped.
    PromptWorkspace& workspace = pack.workspace;
    std::optional<QString> name = PromptConfigLoader::parseWorkspaceName(text.first(lines.firstPromptsLine));
    if (!name)
        name = PromptConfigLoader::parseWorkspaceName(text);
    workspace.name = name.value_or(pack.metadata.name);
    PromptConfigLoader loader(QString(), m_languageProvider);
    workspace.prompts = loader.parsePrompts(text);
    // An unknown agent drops its prompt with a warning: the pack is refused with that text.
    if (!loader.warnings().isEmpty())
        return PromptPackError::invalidPack(loader.warnings().first());
    if (workspace.prompts.isEmpty())
        return invalid("error.pack.no.prompts");
    if (workspace.prompts.size() > maximumPromptCount)
        return invalid("error.pack.too.many.prompts");

    // Before the identifiers are made unique, so that two which differ only there stay apart.
    replaceTabs(workspace);
    for (QString* value : {&pack.metadata.id, &pack.metadata.name, &pack.metadata.description,
                           &pack.metadata.version, &pack.metadata.author})
        replaceTabs(*value);
    normalize(workspace.prompts);
    for (const PromptItem& prompt : std::as_const(workspace.prompts)) {
        if (isBlank(prompt.title) || isBlank(prompt.text))
            return invalid("error.pack.prompt.required");
    }
    workspace.id = PromptConfigLoader::slug(workspace.name);
    workspace.source = PromptWorkspaceSource::userWorkspace;
    return PromptPackImportPreview{std::move(pack)};
}

// --- Files ---

AppError PromptPackService::unreadable(const QString& path, int errnoValue) const
{
    AppError error = AppError::posix(
        errnoValue,
        text("linux.error.with.file.name").arg(text("error.pack.unreadable"), QFileInfo(path).fileName()));
    error.subject = path;
    return error;
}

Expected<PromptPackImportPreview> PromptPackService::parseImportPreviewAt(const QString& path) const
{
    const auto read = [&]() -> Expected<PromptPackImportPreview> {
        const QByteArray native = QFile::encodeName(path);
        // Only a regular file is opened: opening a pipe or a device may block or act on the device.
        struct stat info = {};
        if (::stat(native.constData(), &info) != 0)
            return unreadable(path, errno);
        if (!S_ISREG(info.st_mode))
            return unreadable(path, S_ISDIR(info.st_mode) ? EISDIR : EINVAL);
        const int fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        if (fd < 0)
            return unreadable(path, errno);
        // The entry may have been replaced between the look and the open.
        if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
            ::close(fd);
            return unreadable(path, EINVAL);
        }
        QByteArray bytes;
        bytes.reserve(qsizetype(std::clamp<qint64>(qint64(info.st_size) + 1, 1, readLimit)));
        while (bytes.size() < readLimit) {
            const qsizetype filled = bytes.size();
            bytes.resize(std::min<qint64>(readLimit, filled + 65536));
            const ssize_t count = ::read(fd, bytes.data() + filled, size_t(bytes.size() - filled));
            bytes.resize(filled + std::max<ssize_t>(count, 0));
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0) {
                const int error = errno;
                ::close(fd);
                return unreadable(path, error);
            }
            if (count == 0)
                break;
        }
        ::close(fd);
        if (bytes.size() >= readLimit)
            return PromptPackError::invalidPack(text("error.pack.too.large"));
        // Strict, as the load decodes: no replacement characters. A leading byte order mark goes.
        QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString decoded = decoder.decode(bytes);
        if (decoder.hasError())
            return unreadable(path, EILSEQ);
        return parseImportPreviewFrom(decoded);
    };
    Expected<PromptPackImportPreview> result = read();
    if (!result) {
        AppLog::prompts(u"Preview prompt pack failed file=%1 error=%2"_s.arg(
            AppLog::fileContext(path), AppLog::errorSummary(result.error())));
    }
    return result;
}

// --- Install ---

Expected<void> PromptPackService::checkLibraryRoom(qint64 fileBytes) const
{
    if (fileBytes > m_limits.perFileBytes)
        return PromptPackError::invalidPack(text("error.pack.too.large"));
    // The load reads files up to a total size and skips the rest, so the new file counts with all
    // the files the load reads.
    qint64 total = fileBytes;
    const auto count = [&total](const QFileInfo& info) {
        if (!info.isSymLink() && info.isFile())
            total += info.size();
    };
    count(QFileInfo(QDir(m_persistence.baseDirectory())
                        .filePath(QString::fromLatin1(PromptConfigLoader::globalFileName))));
    const QFileInfoList entries =
        QDir(m_persistence.workspacesDirectory()).entryInfoList(QDir::Files, QDir::NoSort);
    for (const QFileInfo& entry : entries) {
        const QString extension = entry.suffix().toLower();
        if (extension == u"yaml" || extension == u"yml")
            count(entry);
    }
    if (total > m_limits.aggregateBytes)
        return PromptPackError::invalidPack(text("linux.error.pack.library.full"));
    return {};
}

Expected<PromptWorkspace> PromptPackService::install(const PromptPack& pack) const
{
    PromptWorkspace workspace;
    workspace.prompts = pack.workspace.prompts;
    workspace.name = trimmedWhitespaceAndNewlines(pack.workspace.name).toString();
    replaceTabs(workspace);
    normalize(workspace.prompts);
    if (auto base = m_persistence.ensureBaseDirectory(); !base)
        return base.error();
    if (workspace.name.isEmpty())
        workspace.name = u"my-workspace"_s;
    workspace.fileURL =
        m_persistence.uniqueFileURL(PromptPersistenceService::makeWorkspaceID(workspace.name));
    workspace.id = QFileInfo(*workspace.fileURL).completeBaseName();
    workspace.source = PromptWorkspaceSource::userWorkspace;
    if (auto room = checkLibraryRoom(PromptYAMLEncoder::encodeWorkspace(workspace, true).toUtf8().size());
        !room)
        return room.error();
    return m_persistence.saveWorkspace(workspace);
}
