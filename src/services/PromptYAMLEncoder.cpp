#include "PromptYAMLEncoder.h"

#include "CharacterClasses.h"

using namespace Qt::StringLiterals;

namespace PromptYAMLEncoder {

namespace {

void appendMatchPaths(QString& out, const QStringList& matchPaths, bool include)
{
    if (!include || matchPaths.isEmpty()) {
        out += u"  match_paths: []\n"_s;
        return;
    }
    out += u"  match_paths:\n"_s;
    for (const QString& path : matchPaths)
        out += u"    - "_s + quoted(path) + u'\n';
}

void appendPrompts(QString& out, const QList<PromptItem>& prompts)
{
    out += u"\nprompts:\n"_s;
    for (const PromptItem& prompt : prompts) {
        out += u"  - id: "_s + quoted(prompt.id) + u'\n';
        out += u"    title: "_s + quoted(prompt.title) + u'\n';
        out += u"    group: "_s + quoted(prompt.group) + u'\n';
        out += u"    agent: "_s + quoted(prompt.agent ? toRawValue(*prompt.agent) : u"any"_s) + u'\n';
        if (prompt.isPinned)
            out += u"    pinned: true\n"_s;
        if (prompt.shortcut)
            out += u"    shortcut: "_s + quoted(prompt.shortcut->storageString()) + u'\n';
        if (!prompt.tags.isEmpty()) {
            out += u"    tags:\n"_s;
            for (const QString& tag : prompt.tags)
                out += u"      - "_s + quoted(tag) + u'\n';
        }
        out += u"    text: |\n"_s;
        CharacterClasses::LineReader lines(prompt.text);
        QStringView line;
        while (lines.next(line)) {
            out += u"      "_s;
            out += line;
            out += u'\n';
        }
        out += u'\n';
    }
}

} // namespace

QString quoted(const QString& value)
{
    QString escaped = value;
    escaped.replace(u'\\', u"\\\\"_s);
    escaped.replace(u'"', u"\\\""_s);
    return u'"' + escaped + u'"';
}

QString encodeWorkspace(const PromptWorkspace& workspace, bool includeMatchPaths)
{
    QString out = u"workspace:\n  name: "_s + quoted(workspace.name) + u'\n';
    appendMatchPaths(out, workspace.matchPaths, includeMatchPaths);
    appendPrompts(out, workspace.prompts);
    return out;
}

QString encodePack(const PromptWorkspace& workspace, const PromptPackMetadata& metadata)
{
    QString out = u"pack:\n"_s;
    out += u"  id: "_s + quoted(metadata.id) + u'\n';
    out += u"  name: "_s + quoted(metadata.name) + u'\n';
    out += u"  description: "_s + quoted(metadata.description) + u'\n';
    out += u"  version: "_s + quoted(metadata.version) + u'\n';
    out += u"  author: "_s + quoted(metadata.author) + u'\n';
    out += u"workspace:\n  name: "_s + quoted(workspace.name) + u'\n';
    appendMatchPaths(out, {}, false);
    appendPrompts(out, workspace.prompts);
    return out;
}

} // namespace PromptYAMLEncoder
