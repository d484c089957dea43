// The reader of the prompt file format: the structural check, the extraction passes, agent names,
// slugs and unique identifiers. The two layers are deliberately different grammars: the check knows
// comments, indentation and quoting; extraction works with prefix tests and knows none of these.

#include "PromptConfigLoader.h"

#include "CharacterClasses.h"
#include "KeyboardShortcutModels.h"
#include "Localization.h"

#include <QChar>
#include <QHash>
#include <QSet>
#include <QUuid>

#include <array>

using namespace Qt::StringLiterals;
using namespace CharacterClasses;

namespace {

qsizetype leadingSpaces(QStringView line)
{
    qsizetype count = 0;
    while (count < line.size() && line[count] == u' ')
        ++count;
    return count;
}

bool startsWithSpaces(QStringView line, qsizetype count)
{
    if (line.size() < count)
        return false;
    for (qsizetype i = 0; i < count; ++i) {
        if (line[i] != u' ')
            return false;
    }
    return true;
}

// The eight keys that may open a prompt item on its `- ` line.
bool isPromptItemKey(QStringView key)
{
    return key == u"id" || key == u"title" || key == u"group" || key == u"agent" || key == u"pinned" ||
           key == u"shortcut" || key == u"text" || key == u"tags";
}

enum class Section { none, workspace, prompts };
enum class Pending { none, matchPaths, tags, blockText };

Pending pendingAfterPromptField(QStringView key, QStringView value)
{
    if (key == u"tags" && value.isEmpty())
        return Pending::tags;
    if (key == u"text" && (value == u"|" || value == u">"))
        return Pending::blockText;
    return Pending::none;
}

// --- Extraction ---

enum PromptKey { idKey, titleKey, groupKey, agentKey, pinnedKey, shortcutKey, textKey, promptKeyCount };

// The prefixes of step 7, in the order they are tested. `tags:` and `text: |` have their own rules.
enum class LineKind { value, tags, blockText };
struct PrefixRule {
    QStringView prefix;
    LineKind kind;
    PromptKey key;
};
constexpr std::array<PrefixRule, 9> prefixRules = {{
    {u"id:", LineKind::value, idKey},
    {u"title:", LineKind::value, titleKey},
    {u"group:", LineKind::value, groupKey},
    {u"agent:", LineKind::value, agentKey},
    {u"pinned:", LineKind::value, pinnedKey},
    {u"shortcut:", LineKind::value, shortcutKey},
    {u"tags:", LineKind::tags, textKey},
    {u"text: |", LineKind::blockText, textKey},
    {u"text:", LineKind::value, textKey},
}};

struct ExtractedParts {
    std::optional<QString> name;
    QStringList matchPaths;
    QList<PromptItem> prompts;
};

// The three extraction passes run side by side over one walk of the lines: the workspace name and
// match path passes must know which lines belong to an open block of prompt text, and that is
// decided by the prompt pass's own rules. Each pass keeps its own state, so the result is the same
// as three separate walks.
class ExtractionPass {
public:
    // Without `buildsPrompts` the prompt pass only follows its state (to know the blocks) and
    // neither builds prompts nor writes warnings.
    ExtractionPass(bool buildsPrompts, AppLanguage language, QStringList* warnings)
        : m_buildsPrompts(buildsPrompts), m_language(language), m_warnings(warnings)
    {}

    ExtractedParts run(QStringView text)
    {
        LineReader reader(text);
        QStringView raw;
        while (reader.next(raw)) {
            // Most lines of a file are block text: take them before anything else. Such a line
            // begins with spaces, which keeps the flags of the other two passes as they are.
            if (m_inBlockText && startsWithSpaces(raw, 6)) {
                appendBlockLine(raw.sliced(6));
                continue;
            }
            const QStringView trimmed = trimmedWhitespace(raw);
            const bool blockContent = readPromptLine(raw, trimmed);
            readNameLine(raw, trimmed, blockContent);
            readMatchPathLine(raw, trimmed, blockContent);
        }
        finishCurrent();
        return std::move(m_parts);
    }

private:
    // Returns whether the line is content of an open block of prompt text.
    bool readPromptLine(QStringView raw, QStringView trimmed)
    {
        if (trimmed == u"prompts:") {
            m_inPrompts = true;
            return m_inBlockText;
        }
        if (!m_inPrompts)
            return false;
        if (m_collectingTags) {
            if (trimmed.startsWith(u'-') && !raw.startsWith(u"  -")) {
                m_tags.append(PromptConfigLoader::cleanScalar(trimmedWhitespace(trimmed.sliced(1))));
                return false;
            }
            m_collectingTags = false;
        }
        if (m_inBlockText) {
            // Only a dash line at indentation 2 closes a block; everything else is its text.
            if (!(trimmed.startsWith(u'-') && raw.startsWith(u"  -"))) {
                appendBlockLine(raw);
                return true;
            }
            finishCurrent();
        }

        QStringView line = trimmed;
        if (line.startsWith(u"- ") && line.contains(u':')) {
            finishCurrent();
            line = trimmedWhitespace(line.sliced(2));
        }
        // Every prefix begins with one of these letters: most lines need no test at all.
        if (line.isEmpty() || !QStringView(u"itgaps").contains(line.front()))
            return false;
        for (const PrefixRule& rule : prefixRules) {
            if (!line.startsWith(rule.prefix))
                continue;
            switch (rule.kind) {
            case LineKind::value:
                m_current[rule.key] =
                    PromptConfigLoader::cleanScalar(trimmedWhitespace(line.sliced(rule.prefix.size())));
                m_present |= 1u << rule.key;
                break;
            case LineKind::tags:
                readTags(PromptConfigLoader::cleanScalar(trimmedWhitespace(line.sliced(rule.prefix.size()))));
                break;
            case LineKind::blockText:
                // Whatever stands behind the bar is discarded.
                m_inBlockText = true;
                m_blockText.resize(0);
                break;
            }
            break;
        }
        return false;
    }

    // Each line is followed by a line feed; the trim at the end of the block takes off the last.
    void appendBlockLine(QStringView line)
    {
        m_blockText.append(line);
        m_blockText.append(u'\n');
    }

    void readTags(const QString& value)
    {
        m_tags.clear();
        if (value.isEmpty()) {
            m_collectingTags = true;
            return;
        }
        if (value == u"[]")
            return;
        // Empty pieces go before trimming: "a, ,b" keeps an empty tag in the middle.
        const QList<QStringView> pieces = QStringView(value).split(u',', Qt::SkipEmptyParts);
        m_tags.reserve(pieces.size());
        for (QStringView piece : pieces)
            m_tags.append(trimmedWhitespace(piece).toString());
    }

    void finishCurrent()
    {
        if (m_inBlockText) {
            // The lines joined with line feeds, less the empty lines at both ends.
            m_current[textKey] = trimmedNewlines(m_blockText).toString();
            m_present |= 1u << textKey;
            m_inBlockText = false;
            m_blockText.resize(0);
        }
        if (m_present == 0)
            return;

        std::optional<AgentType> agent;
        if (has(agentKey)) {
            const QString lowered = trimmedWhitespaceAndNewlines(m_current[agentKey]).toString().toLower();
            const bool anyAgent =
                lowered.isEmpty() || lowered == u"any" || lowered == u"all" || lowered == u"*";
            if (!anyAgent) {
                agent = PromptConfigLoader::parseAgent(m_current[agentKey]);
                if (!agent) {
                    if (m_buildsPrompts && m_warnings) {
                        m_warnings->append(AppLocalizationCatalog::shared()
                                               .string(u"error.invalid.agent"_s, m_language)
                                               .arg(m_current[agentKey]));
                    }
                    clearCurrent();
                    return;
                }
            }
        }

        if (m_buildsPrompts)
            m_parts.prompts.append(makePrompt(agent));
        clearCurrent();
        m_collectingTags = false;
    }

    PromptItem makePrompt(std::optional<AgentType> agent)
    {
        PromptItem prompt;
        prompt.id =
            has(idKey) ? m_current[idKey] : QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        prompt.title = has(titleKey) ? m_current[titleKey] : defaultText(m_untitled, "prompt.untitled");
        prompt.group =
            has(groupKey) ? m_current[groupKey] : defaultText(m_commonGroup, "prompt.default.common.group");
        prompt.agent = agent;
        prompt.text = has(textKey) ? m_current[textKey] : prompt.title;
        prompt.tags = m_tags;
        if (has(pinnedKey)) {
            const QString pinned = m_current[pinnedKey].toLower();
            prompt.isPinned = pinned == u"true" || pinned == u"yes" || pinned == u"1";
        }
        if (has(shortcutKey))
            prompt.shortcut = PromptKeyboardShortcut::fromStorageString(m_current[shortcutKey]);
        return prompt;
    }

    const QString& defaultText(std::optional<QString>& cache, const char* key)
    {
        if (!cache)
            cache = AppLocalizationCatalog::shared().string(QString::fromLatin1(key), m_language);
        return *cache;
    }

    bool has(PromptKey key) const { return (m_present & (1u << key)) != 0; }

    void clearCurrent()
    {
        for (QString& value : m_current)
            value.clear();
        m_present = 0;
        m_tags.clear();
    }

    void readNameLine(QStringView raw, QStringView trimmed, bool blockContent)
    {
        if (m_parts.name)
            return;
        const bool keepsFlag = raw.startsWith(u' ') || trimmed.isEmpty();
        if (blockContent) {
            // Text of a prompt is never a key, though it may end the mapping like any other line.
            m_insideWorkspace = m_insideWorkspace && keepsFlag;
            return;
        }
        if (trimmed == u"workspace:") {
            m_insideWorkspace = true;
            return;
        }
        if (!m_insideWorkspace)
            return;
        if (!keepsFlag) {
            m_insideWorkspace = false;
            return;
        }
        if (trimmed.startsWith(u"name:"))
            m_parts.name = PromptConfigLoader::cleanScalar(trimmedWhitespace(trimmed.sliced(5)));
    }

    void readMatchPathLine(QStringView raw, QStringView trimmed, bool blockContent)
    {
        const bool keepsFlag = trimmed.isEmpty() || raw.startsWith(u"  ");
        if (blockContent) {
            m_insideMatchPaths = m_insideMatchPaths && keepsFlag;
            return;
        }
        if (trimmed == u"match_paths:") {
            m_insideMatchPaths = true;
            return;
        }
        if (!m_insideMatchPaths)
            return;
        if (trimmed.startsWith(u'-'))
            m_parts.matchPaths.append(PromptConfigLoader::cleanScalar(trimmedWhitespace(trimmed.sliced(1))));
        else if (!keepsFlag)
            m_insideMatchPaths = false;
    }

    const bool m_buildsPrompts;
    const AppLanguage m_language;
    QStringList* const m_warnings;
    ExtractedParts m_parts;

    bool m_inPrompts = false;
    std::array<QString, promptKeyCount> m_current;
    unsigned m_present = 0;
    QStringList m_tags;
    bool m_collectingTags = false;
    bool m_inBlockText = false;
    QString m_blockText; // keeps its capacity from block to block
    std::optional<QString> m_untitled;
    std::optional<QString> m_commonGroup;

    bool m_insideWorkspace = false;
    bool m_insideMatchPaths = false;
};

} // namespace

// --- The structural check ---

QStringView PromptConfigLoader::structuralContent(QStringView line)
{
    const qsizetype begin = leadingSpaces(line);
    qsizetype end = line.size();
    char16_t openQuote = 0;
    for (qsizetype i = begin; i < line.size(); ++i) {
        const char16_t unit = line[i].unicode();
        if (openQuote != 0) {
            if (openQuote == u'"' && unit == u'\\')
                ++i; // protects the next character, a quote included
            else if (unit == openQuote)
                openQuote = 0;
        } else if (unit == u'"' || unit == u'\'') {
            openQuote = unit;
        } else if (unit == u'#') {
            end = i;
            break;
        }
    }
    return trimmedWhitespace(line.sliced(begin, end - begin));
}

std::optional<PromptConfigLoader::StructuralField> PromptConfigLoader::structuralField(QStringView text)
{
    const qsizetype colon = text.indexOf(u':');
    if (colon < 0)
        return std::nullopt;
    const QStringView key = trimmedWhitespace(text.first(colon));
    if (key.isEmpty())
        return std::nullopt;
    return StructuralField{key, trimmedWhitespace(text.sliced(colon + 1))};
}

bool PromptConfigLoader::isStructuralScalar(QStringView value)
{
    value = trimmedWhitespaceAndNewlines(value);
    if (value.isEmpty())
        return false;
    const QChar first = value.front();
    if (first == u'"') {
        if (value.size() < 2 || value.back() != u'"')
            return false;
        const QStringView inside = value.sliced(1, value.size() - 2);
        for (qsizetype i = 0; i < inside.size(); ++i) {
            if (inside[i] == u'\\') {
                if (i + 1 == inside.size())
                    return false; // would protect the closing quote
                ++i;
            } else if (inside[i] == u'"') {
                return false;
            }
        }
        return true;
    }
    if (first == u'\'') {
        if (value.size() < 2 || value.back() != u'\'')
            return false;
        const QStringView inside = value.sliced(1, value.size() - 2);
        for (qsizetype i = 0; i < inside.size(); ++i) {
            if (inside[i] == u'\'') {
                if (i + 1 == inside.size() || inside[i + 1] != u'\'')
                    return false;
                ++i;
            }
        }
        return true;
    }
    // Plain: YAML would read these as null or as a flow collection.
    if (value == u"~" || (value.size() == 4 && value.compare(u"null", Qt::CaseInsensitive) == 0))
        return false;
    for (QChar character : value) {
        if (character == u'[' || character == u']' || character == u'{' || character == u'}')
            return false;
    }
    return true;
}

bool PromptConfigLoader::isValidPromptField(QStringView key, QStringView value)
{
    if (key == u"text")
        return value == u"|" || isStructuralScalar(value);
    if (key == u"tags")
        return value.isEmpty() || value == u"[]" || isStructuralScalar(value);
    if (key == u"id" || key == u"title" || key == u"group" || key == u"agent" || key == u"pinned" ||
        key == u"shortcut")
        return isStructuralScalar(value);
    return true;
}

bool PromptConfigLoader::hasValidConfigStructure(QStringView text)
{
    return !firstStructuralFailure(text);
}

std::optional<PromptConfigLoader::StructuralFailure>
PromptConfigLoader::firstStructuralFailure(QStringView text)
{
    Section section = Section::none;
    Pending pending = Pending::none;
    bool insideItem = false;
    bool sawSection = false;
    qsizetype lineNumber = 0;

    LineReader reader(text);
    QStringView line;
    while (reader.next(line)) {
        ++lineNumber;
        const StructuralFailure failure{lineNumber, line};
        const qsizetype indent = leadingSpaces(line);
        // Block content comes first, so it may hold tabs, colons, quotes and anything else.
        if (section == Section::prompts && pending == Pending::blockText && indent >= 6)
            continue;
        if (line.contains(u'\t'))
            return failure;
        const QStringView content = structuralContent(line);
        if (content.isEmpty())
            continue;

        if (indent == 0) {
            const auto field = structuralField(content);
            if (!field)
                return failure;
            if (field->key == u"workspace" || field->key == u"prompts") {
                const bool isWorkspace = field->key == u"workspace";
                const QStringView emptyForm = isWorkspace ? QStringView(u"{}") : QStringView(u"[]");
                if (field->value.isEmpty())
                    section = isWorkspace ? Section::workspace : Section::prompts;
                else if (field->value == emptyForm)
                    section = Section::none;
                else
                    return failure;
                sawSection = true;
            } else {
                section = Section::none;
            }
            pending = Pending::none;
            insideItem = false;
            continue;
        }

        switch (section) {
        case Section::none:
            continue;
        case Section::workspace:
            if (pending == Pending::matchPaths && indent >= 4) {
                if (!content.startsWith(u"- ") || !isStructuralScalar(content.sliced(2)))
                    return failure;
                continue;
            }
            if (indent != 2)
                return failure;
            if (const auto field = structuralField(content)) {
                if (field->key == u"name") {
                    if (!isStructuralScalar(field->value))
                        return failure;
                    pending = Pending::none;
                } else if (field->key == u"match_paths") {
                    if (field->value.isEmpty())
                        pending = Pending::matchPaths;
                    else if (field->value == u"[]")
                        pending = Pending::none;
                    else
                        return failure;
                } else {
                    pending = Pending::none;
                }
                continue;
            }
            return failure;
        case Section::prompts:
            if (indent == 2) {
                if (!content.startsWith(u"- "))
                    return failure;
                const auto field = structuralField(trimmedWhitespace(content.sliced(2)));
                if (!field || !isPromptItemKey(field->key) || !isValidPromptField(field->key, field->value))
                    return failure;
                insideItem = true;
                pending = pendingAfterPromptField(field->key, field->value);
                continue;
            }
            if (!insideItem)
                return failure;
            if (indent >= 6) {
                if (pending != Pending::tags || !content.startsWith(u"- ") ||
                    !isStructuralScalar(content.sliced(2)))
                    return failure;
                continue;
            }
            if (indent != 4)
                return failure;
            if (const auto field = structuralField(content)) {
                if (!isValidPromptField(field->key, field->value))
                    return failure;
                pending = pendingAfterPromptField(field->key, field->value);
                continue;
            }
            return failure;
        }
    }
    // An empty file and a file of comments only are no prompt file, though no line is at fault.
    if (!sawSection)
        return StructuralFailure{};
    return std::nullopt;
}

// --- Extraction ---

QString PromptConfigLoader::cleanScalar(QStringView value)
{
    value = trimmedWhitespaceAndNewlines(value);
    if (value.size() >= 2 && value.front() == u'"' && value.back() == u'"') {
        QString inner = value.sliced(1, value.size() - 2).toString();
        // Most values hold no backslash: the replacements, each building a matcher, cost more than the copy.
        if (!inner.contains(u'\\'))
            return inner;
        // Only these two escapes exist, undone in this order: `\n` stays a backslash and an n.
        inner.replace(u"\\\""_s, u"\""_s);
        inner.replace(u"\\\\"_s, u"\\"_s);
        return inner;
    }
    if (value.size() >= 2 && value.front() == u'\'' && value.back() == u'\'')
        return value.sliced(1, value.size() - 2).toString(); // a doubled '' stays doubled
    return value.toString();
}

std::optional<QString> PromptConfigLoader::parseWorkspaceName(QStringView text)
{
    return ExtractionPass(false, AppLanguage::english, nullptr).run(text).name;
}

QStringList PromptConfigLoader::parseMatchPaths(QStringView text)
{
    return ExtractionPass(false, AppLanguage::english, nullptr).run(text).matchPaths;
}

QList<PromptItem> PromptConfigLoader::parsePrompts(QStringView text)
{
    return ExtractionPass(true, m_languageProvider(), &m_warnings).run(text).prompts;
}

PromptWorkspace PromptConfigLoader::buildWorkspace(QStringView text, const QByteArray& bytes,
                                                   const QString& path, const QString& fallbackName,
                                                   AppLanguage language, QStringList* warnings)
{
    ExtractedParts parts = ExtractionPass(true, language, warnings).run(text);
    PromptWorkspace workspace;
    workspace.fileVersion = fileVersion(bytes, path);
    workspace.name = parts.name.value_or(fallbackName);
    workspace.matchPaths = std::move(parts.matchPaths);
    workspace.prompts = std::move(parts.prompts);
    workspace.fileURL = path;
    workspace.source = PromptWorkspaceSource::userWorkspace;
    return workspace;
}

std::optional<AgentType> PromptConfigLoader::parseAgent(QStringView value)
{
    static const QHash<QString, AgentType> agentsBySpelling = [] {
        struct Spelling {
            AgentType agent;
            const char* text;
        };
        static constexpr Spelling table[] = {
            {AgentType::antigravity, "antigravity"},
            {AgentType::antigravityIDE, "antigravity-ide"},
            {AgentType::antigravityIDE, "antigravity ide"},
            {AgentType::codex, "codex"},
            {AgentType::claudeDesktop, "claude"},
            {AgentType::claudeDesktop, "claude-desktop"},
            {AgentType::claudeDesktop, "claude desktop"},
            {AgentType::claudeCode, "claude-code"},
            {AgentType::claudeCode, "claude code"},
            {AgentType::cursor, "cursor"},
            {AgentType::vscode, "vscode"},
            {AgentType::vscode, "vs code"},
            {AgentType::vscode, "vs-code"},
            {AgentType::vscode, "code"},
            {AgentType::vscode, "visual-studio-code"},
            {AgentType::vscode, "visual studio code"},
            {AgentType::ghostty, "ghostty"},
            {AgentType::terminal, "terminal"},
            {AgentType::terminal, "term"},
            {AgentType::terminal, "shell"},
            {AgentType::hermes, "hermes"},
            {AgentType::hermes, "hermes-desktop"},
            {AgentType::hermes, "hermes desktop"},
            {AgentType::windsurf, "windsurf"},
            {AgentType::windsurf, "devin"},
            {AgentType::windsurf, "devin-desktop"},
            {AgentType::windsurf, "devin desktop"},
            {AgentType::trae, "trae"},
            {AgentType::trae, "trae-ide"},
            {AgentType::trae, "trae ide"},
            {AgentType::zed, "zed"},
            {AgentType::jetbrains, "jetbrains"},
            {AgentType::jetbrains, "intellij"},
            {AgentType::jetbrains, "intellij idea"},
            {AgentType::jetbrains, "intellij-idea"},
            {AgentType::jetbrains, "pycharm"},
            {AgentType::jetbrains, "webstorm"},
            {AgentType::jetbrains, "goland"},
            {AgentType::jetbrains, "clion"},
            {AgentType::jetbrains, "phpstorm"},
            {AgentType::jetbrains, "rubymine"},
            {AgentType::jetbrains, "datagrip"},
            {AgentType::jetbrains, "rider"},
            {AgentType::kiro, "kiro"},
            {AgentType::kimi, "kimi"},
            {AgentType::kimi, "kimi-desktop"},
            {AgentType::kimi, "kimi desktop"},
            {AgentType::openCode, "opencode"},
            {AgentType::openCode, "open-code"},
            {AgentType::openCode, "open code"},
            {AgentType::openCode, "opencode-desktop"},
            {AgentType::openCode, "opencode desktop"},
            {AgentType::zcode, "zcode"},
            {AgentType::zcode, "z code"},
            {AgentType::zcode, "z-code"},
            {AgentType::chrome, "chrome"},
            {AgentType::chrome, "google-chrome"},
            {AgentType::chrome, "google chrome"},
            {AgentType::arc, "arc"},
            {AgentType::safari, "safari"},
            {AgentType::edge, "edge"},
            {AgentType::edge, "microsoft-edge"},
            {AgentType::edge, "microsoft edge"},
            {AgentType::firefox, "firefox"},
            {AgentType::brave, "brave"},
            {AgentType::brave, "brave-browser"},
            {AgentType::brave, "brave browser"},
        };
        QHash<QString, AgentType> result;
        for (const Spelling& spelling : table)
            result.insert(QString::fromLatin1(spelling.text), spelling.agent);
        return result;
    }();
    QString normalized = trimmedWhitespaceAndNewlines(value).toString().toLower();
    normalized.replace(u'_', u'-');
    const auto found = agentsBySpelling.constFind(normalized);
    if (found == agentsBySpelling.constEnd())
        return std::nullopt;
    return *found;
}

QString PromptConfigLoader::slug(QStringView text)
{
    const QString lowered = text.toString().toLower();
    QString result;
    result.reserve(lowered.size());
    const QStringView view(lowered);
    for (qsizetype i = 0; i < view.size();) {
        char32_t scalar = view[i].unicode();
        qsizetype width = 1;
        if (QChar::isHighSurrogate(scalar) && i + 1 < view.size() && view[i + 1].isLowSurrogate()) {
            scalar = QChar::surrogateToUcs4(view[i], view[i + 1]);
            width = 2;
        }
        if (QChar::isLetterOrNumber(scalar) || QChar::isMark(scalar) || scalar == U'-' || scalar == U'_')
            result.append(view.sliced(i, width));
        else if (hasWhiteSpaceProperty(scalar))
            result.append(u'-');
        i += width;
    }
    qsizetype begin = 0;
    qsizetype end = result.size();
    while (begin < end && result[begin] == u'-')
        ++begin;
    while (end > begin && result[end - 1] == u'-')
        --end;
    if (begin == end)
        return u"workspace"_s;
    return result.sliced(begin, end - begin);
}

void PromptConfigLoader::makePromptIDsGloballyUnique(QList<PromptItem>& globalPrompts,
                                                     QList<PromptWorkspace>& workspaces)
{
    QSet<QString> seen;
    // The next counter worth trying for a base: every lower one is taken already, and the set only
    // grows, so many copies of one identifier cost no quadratic search.
    QHash<QString, int> nextCounter;
    std::optional<QString> warningFormat;
    const auto makeUnique = [&](PromptItem& prompt) {
        const QString base =
            trimmedWhitespaceAndNewlines(prompt.id).isEmpty() ? slug(prompt.title) : prompt.id;
        QString candidate = base;
        if (seen.contains(candidate)) {
            int& counter = nextCounter[base];
            if (counter < 2)
                counter = 2;
            do {
                candidate = base + u'-' + QString::number(counter++);
            } while (seen.contains(candidate));
        }
        if (candidate != prompt.id) {
            if (!warningFormat)
                warningFormat = text("warning.duplicate.prompt.id");
            m_warnings.append(warningFormat->arg(prompt.id, candidate));
        }
        seen.insert(candidate);
        prompt.id = candidate;
    };
    for (PromptItem& prompt : globalPrompts)
        makeUnique(prompt);
    for (PromptWorkspace& workspace : workspaces) {
        for (PromptItem& prompt : workspace.prompts)
            makeUnique(prompt);
    }
}
