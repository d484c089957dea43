#include "IDEWorkspaceDetector.h"

#include "CharacterClasses.h"
#include "ContextPaths.h"
#include "TerminalContextDetector.h"

#include <QHash>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace {

bool equalsAnyOf(QStringView value, std::initializer_list<QStringView> names)
{
    return std::find(names.begin(), names.end(), value) != names.end();
}

bool containsAnyOf(QStringView value, std::initializer_list<QStringView> names)
{
    return std::any_of(names.begin(), names.end(),
                       [value](QStringView name) { return value.contains(name); });
}

// Characters as the user sees them: a base letter with its combining marks counts once.
qsizetype characterCount(const QString& text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QStringList longestFirst(const QStringList& knownWorkspacePaths)
{
    QList<std::pair<qsizetype, QString>> measured;
    for (const QString& path : knownWorkspacePaths) {
        if (path.isEmpty())
            continue;
        const QString standardized = ContextPaths::standardized(path);
        measured.append({characterCount(standardized), standardized});
    }
    // Stable: among paths of equal length the store's order stands, and a nested project beats its parent.
    std::stable_sort(measured.begin(), measured.end(),
                     [](const auto& left, const auto& right) { return left.first > right.first; });
    QStringList candidates;
    for (const auto& [length, path] : std::as_const(measured))
        candidates.append(path);
    return candidates;
}

} // namespace

bool IDEWorkspaceDetector::isIDEApp(const QString& appName)
{
    const QString name = appName.toLower();
    return name == u"antigravity ide" || containsAnyOf(name, {u"cursor", u"visual studio code"}) ||
           name == u"code" || containsAnyOf(name, {u"vscode", u"windsurf", u"devin", u"trae"}) ||
           name == u"zed" ||
           containsAnyOf(name, {u"jetbrains", u"intellij", u"pycharm", u"webstorm", u"goland", u"clion",
                                u"phpstorm", u"rubymine", u"datagrip", u"rider"}) ||
           equalsAnyOf(name, {u"kiro", u"opencode", u"opencode beta", u"opencode dev", u"zcode"}) ||
           // Linux builds of the same editors.
           equalsAnyOf(name, {u"code - oss", u"code-oss"}) || name.contains(u"codium");
}

std::optional<QString> IDEWorkspaceDetector::workspacePath(const QString& windowTitle,
                                                           const QStringList& knownWorkspacePaths)
{
    QString title = windowTitle;
    title.replace(QChar(0x2014), u' ').replace(QChar(0x2013), u' ').replace(u'|', u' ');
    title = title.toLower();
    const QStringList candidates = longestFirst(knownWorkspacePaths);

    for (const QString& candidate : candidates) {
        if (title.contains(candidate.toLower()))
            return candidate;
    }

    if (const auto path = TerminalContextDetector::workspacePath(title)) {
        for (const QString& candidate : candidates) {
            if (path->startsWith(candidate) || candidate.startsWith(*path))
                return path;
        }
    }

    // Two known folders of the same name never match by name: the title can't tell them apart.
    QHash<QString, int> folderNameCounts;
    for (const QString& candidate : candidates)
        ++folderNameCounts[ContextPaths::lastPathComponent(candidate).toLower()];
    for (const QString& candidate : candidates) {
        const QString folderName = ContextPaths::lastPathComponent(candidate).toLower();
        if (folderNameCounts.value(folderName) == 1 && !folderName.isEmpty() && title.contains(folderName))
            return candidate;
    }
    return std::nullopt;
}

std::optional<QString> IDEWorkspaceDetector::workspaceName(const QString& windowTitle)
{
    for (const QString& separator : {u" \u2014 "_s, u" - "_s, u" \u2013 "_s, u" | "_s}) {
        const qsizetype index = windowTitle.indexOf(separator);
        if (index < 0)
            continue;
        const QString name =
            CharacterClasses::trimmedWhitespaceAndNewlines(windowTitle.left(index)).toString();
        if (!name.isEmpty())
            return name;
    }
    const QString whole = CharacterClasses::trimmedWhitespaceAndNewlines(windowTitle).toString();
    if (!whole.isEmpty())
        return whole;
    return std::nullopt;
}
