#include "PromptImportParser.h"

#include "CharacterClasses.h"
#include "Localization.h"
#include "PromptConfigLoader.h"
#include "UTF8ByteCount.h"

#include <QTextBoundaryFinder>
#include <QUuid>

#include <optional>

using namespace Qt::StringLiterals;
using namespace CharacterClasses;

namespace {

struct Section {
    std::optional<QString> title;
    QString text;
};

// A line as it stands and trimmed of whitespace (it holds no newline), trimmed once.
struct Line {
    QStringView raw;
    QStringView trimmed;
};
using Lines = QList<Line>;

// Lines [from, to) joined with line feeds, each line trimmed or, without `trimEachLine`, only the
// text's two ends. The caller has dropped blank lines at both ends.
QString joinLines(const Lines& lines, qsizetype from, qsizetype to, bool trimEachLine)
{
    qsizetype size = to - from;
    for (qsizetype i = from; i < to; ++i)
        size += lines[i].raw.size();
    QString text;
    text.reserve(size);
    for (qsizetype i = from; i < to; ++i) {
        const QStringView trimmed = lines[i].trimmed;
        QStringView line = trimEachLine ? trimmed : lines[i].raw;
        if (i == from)
            line = line.sliced(trimmed.data() - line.data());
        else
            text += u'\n';
        if (i == to - 1)
            line = line.first(trimmed.data() + trimmed.size() - line.data());
        text += line;
    }
    return text;
}

// `---`, or `## ` and a title. Most lines begin with neither: the first character rules them out.
bool isMarker(QStringView trimmed)
{
    if (trimmed.size() < 3 || (trimmed.front() != u'-' && trimmed.front() != u'#'))
        return false;
    return trimmed == u"---" || trimmed.startsWith(u"## ");
}

// `---` closes a section, `## ` closes one and titles the next; every other line is body, as it is.
// The body of a section is thus the run of lines between two markers.
QList<Section> parseExplicitSections(const Lines& lines)
{
    QList<Section> sections;
    std::optional<QString> title;
    const auto close = [&](qsizetype from, qsizetype to) {
        // Joined and trimmed of whitespace-and-newline: blank lines at the ends go first.
        while (from < to && lines[from].trimmed.isEmpty())
            ++from;
        while (to > from && lines[to - 1].trimmed.isEmpty())
            --to;
        QString text = from < to ? joinLines(lines, from, to, false) : QString();
        if (title || !text.isEmpty())
            sections.append(Section{std::move(title), std::move(text)});
        title.reset();
    };
    qsizetype bodyStart = 0;
    for (qsizetype i = 0; i < lines.size() && sections.size() < PromptImportParser::maximumSections; ++i) {
        const QStringView trimmed = lines[i].trimmed;
        if (!isMarker(trimmed))
            continue;
        const bool separator = trimmed == u"---";
        close(bodyStart, i);
        bodyStart = i + 1;
        if (!separator)
            title = trimmedWhitespaceAndNewlines(trimmed.sliced(3)).toString();
    }
    if (sections.size() < PromptImportParser::maximumSections)
        close(bodyStart, lines.size());
    return sections;
}

qsizetype characterCountUpTo(QStringView text, qsizetype limit)
{
    if (text.size() <= limit)
        return text.size(); // a character takes at least one unit: no more than that many
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype count = 0;
    while (count <= limit && finder.toNextBoundary() >= 0)
        ++count;
    return count;
}

// Lines [from, to), none blank, each taken trimmed. A block of several lines is titled by its
// first line when that is short and no sentence.
Section blockSection(const Lines& lines, qsizetype from, qsizetype to)
{
    const QStringView first = lines[from].trimmed;
    if (to - from == 1)
        return Section{std::nullopt, first.toString()};
    if (!first.endsWith(u'.') && !first.endsWith(u'\u3002') &&
        characterCountUpTo(first, PromptImportParser::maximumTitleLength) <=
            PromptImportParser::maximumTitleLength)
        return Section{first.toString(), joinLines(lines, from + 1, to, true)};
    return Section{std::nullopt, joinLines(lines, from, to, true)};
}

// Blocks between blank lines.
QList<Section> parseBlankSeparatedSections(const Lines& lines)
{
    QList<Section> sections;
    qsizetype blockStart = -1;
    for (qsizetype i = 0; i < lines.size() && sections.size() < PromptImportParser::maximumSections; ++i) {
        if (!lines[i].trimmed.isEmpty()) {
            if (blockStart < 0)
                blockStart = i;
        } else if (blockStart >= 0) {
            sections.append(blockSection(lines, blockStart, i));
            blockStart = -1;
        }
    }
    if (blockStart >= 0 && sections.size() < PromptImportParser::maximumSections)
        sections.append(blockSection(lines, blockStart, lines.size()));
    return sections;
}

bool hasSlugCharacter(const QString& lowered)
{
    for (qsizetype i = 0; i < lowered.size(); ++i) {
        char32_t scalar = lowered[i].unicode();
        if (lowered[i].isHighSurrogate() && i + 1 < lowered.size() && lowered[i + 1].isLowSurrogate()) {
            scalar = QChar::surrogateToUcs4(lowered[i], lowered[i + 1]);
            ++i;
        }
        if (QChar::isLetterOrNumber(scalar) || QChar::isMark(scalar) || scalar == U'_')
            return true;
    }
    return false;
}

} // namespace

namespace PromptImportParser {

QString slug(QStringView text)
{
    QString result = PromptConfigLoader::slug(text);
    // "workspace" is also what the shared rule gives for nothing at all.
    if (result == u"workspace" && !hasSlugCharacter(text.toString().toLower()))
        return QUuid::createUuid().toString(QUuid::WithoutBraces);
    return result;
}

QList<PromptImportPreview> parse(QStringView text, AppLanguage language)
{
    text = trimmedWhitespaceAndNewlines(text);
    if (text.isEmpty() || text.size() > maximumTextBytes)
        return {};

    // The size is counted line by line as the text is split.
    Lines lines;
    lines.reserve(text.size() / 32); // a guess that spares most of the regrowth
    bool explicitSections = false;
    qint64 bytes = 0;
    LineReader reader(text);
    QStringView line;
    while (reader.next(line)) {
        bytes += utf8ByteCountWithNewline(line, text);
        if (bytes > maximumTextBytes)
            return {};
        const QStringView trimmed = trimmedWhitespace(line);
        lines.append(Line{line, trimmed});
        explicitSections = explicitSections || isMarker(trimmed);
    }
    const QList<Section> sections =
        explicitSections ? parseExplicitSections(lines) : parseBlankSeparatedSections(lines);

    QList<PromptImportPreview> previews;
    std::optional<QString> defaultTitle;
    for (qsizetype index = 0; index < std::min(sections.size(), maximumSections); ++index) {
        const Section& section = sections[index];
        const QStringView trimmedBody = trimmedWhitespaceAndNewlines(section.text);
        if (trimmedBody.isEmpty())
            continue;
        // The sections come trimmed already: no copy then.
        const QString body =
            trimmedBody.size() == section.text.size() ? section.text : trimmedBody.toString();
        QString title = section.title ? trimmedWhitespaceAndNewlines(*section.title).toString() : QString();
        if (title.isEmpty()) {
            if (!defaultTitle)
                defaultTitle =
                    AppLocalizationCatalog::shared().string(u"prompt.import.default.title"_s, language);
            title = defaultTitle->arg(QString::number(index + 1));
        }
        previews.append(
            PromptImportPreview{u"preview-"_s + QString::number(index) + u'-' + slug(title), title, body});
    }
    return previews;
}

QList<PromptItem> makePrompts(const QList<PromptImportPreview>& previews, const QSet<QString>& existingIDs,
                              AppLanguage language)
{
    const QString group = AppLocalizationCatalog::shared().string(u"prompt.import.default.group"_s, language);
    QSet<QString> used = existingIDs;
    QList<PromptItem> prompts;
    prompts.reserve(previews.size());
    for (const PromptImportPreview& preview : previews) {
        const QString base = u"imported-"_s + slug(preview.title);
        QString candidate = base;
        for (int counter = 2; used.contains(candidate); ++counter)
            candidate = base + u'-' + QString::number(counter);
        used.insert(candidate);

        PromptItem prompt;
        prompt.id = candidate;
        // A tab in a single-line value would fail the structural check of the file it is written to.
        prompt.title = QString(preview.title).replace(u'\t', u' ');
        prompt.group = group;
        prompt.text = preview.text;
        prompt.tags = {u"import"_s};
        prompts.append(prompt);
    }
    return prompts;
}

} // namespace PromptImportParser
