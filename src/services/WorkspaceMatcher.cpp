#include "WorkspaceMatcher.h"

#include "ContextPaths.h"
#include "IDEWorkspaceDetector.h"

#include <QDir>
#include <QFileInfo>
#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace {

// Identifier characters: Unicode letters, marks and numbers, "-" and "_".
bool isIdentifierScalar(char32_t scalar)
{
    if (scalar < 0x80)
        return (scalar >= u'a' && scalar <= u'z') || (scalar >= u'A' && scalar <= u'Z') ||
               (scalar >= u'0' && scalar <= u'9') || scalar == u'-' || scalar == u'_';
    return QChar::isLetterOrNumber(scalar) || QChar::isMark(scalar);
}

bool holdsIdentifierScalar(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t scalar = text[i].unicode();
        if (QChar::isHighSurrogate(scalar) && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            scalar = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        if (isIdentifierScalar(scalar))
            return true;
    }
    return false;
}

bool isAscii(QChar unit)
{
    return unit.unicode() < 0x80;
}

// The user-perceived character that ends at `position`. Two ASCII units never join into one
// character (CR LF aside, which holds no identifier character), so the common case needs no
// boundary analysis.
QStringView characterBefore(QStringView text, qsizetype position)
{
    if (isAscii(text[position - 1]) && (position < 2 || isAscii(text[position - 2])))
        return text.sliced(position - 1, 1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    finder.setPosition(position);
    const qsizetype start = finder.toPreviousBoundary();
    return text.sliced(start < 0 ? 0 : start, position - (start < 0 ? 0 : start));
}

// The user-perceived character that begins at `position`.
QStringView characterAfter(QStringView text, qsizetype position)
{
    if (isAscii(text[position]) && (position + 1 == text.size() || isAscii(text[position + 1])))
        return text.sliced(position, 1);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    finder.setPosition(position);
    const qsizetype end = finder.toNextBoundary();
    return text.sliced(position, (end < 0 ? text.size() : end) - position);
}

} // namespace

WorkspaceMatcher::WorkspaceMatcher(QList<PromptWorkspace> workspaces) : m_workspaces(std::move(workspaces)) {}

QString WorkspaceMatcher::normalizePath(const QString& path)
{
    if (path.isEmpty())
        return {};
    QString expanded = path;
    if (expanded.startsWith(u"~/"))
        expanded.replace(0, 1, QDir::homePath());
    const QString standardized = ContextPaths::standardized(expanded);
    // Only links are looked up; a path that doesn't exist keeps its standardised form.
    const QString resolved = QFileInfo(standardized).canonicalFilePath();
    return resolved.isEmpty() ? standardized : resolved;
}

bool WorkspaceMatcher::containsIdentifier(QStringView identifier, QStringView text)
{
    if (identifier.isEmpty())
        return false;
    qsizetype from = 0;
    while (true) {
        const qsizetype start = text.indexOf(identifier, from);
        if (start < 0)
            return false;
        const qsizetype end = start + identifier.size();
        const bool startPasses = start == 0 || !holdsIdentifierScalar(characterBefore(text, start));
        const bool endPasses = end == text.size() || !holdsIdentifierScalar(characterAfter(text, end));
        if (startPasses && endPasses)
            return true;
        from = end;
    }
}

std::optional<QString> WorkspaceMatcher::validatedContextWorkspacePath(const AgentContext& context)
{
    if (!context.workspacePath || context.workspacePath->isEmpty())
        return std::nullopt;
    const QString path = normalizePath(*context.workspacePath);
    if (!QFileInfo(path).isDir())
        return std::nullopt;
    return path;
}

bool WorkspaceMatcher::isAtOrBelow(const QString& path, const QString& folder)
{
    if (path == folder)
        return true;
    if (folder.endsWith(u'/'))
        return path.startsWith(folder);
    return path.size() > folder.size() && path.startsWith(folder) && path.at(folder.size()) == u'/';
}

std::optional<PromptWorkspace> WorkspaceMatcher::explicitPathWorkspace(const AgentContext& context) const
{
    const std::optional<QString> validated = validatedContextWorkspacePath(context);
    if (!validated)
        return std::nullopt;
    const QString contextPath = validated->toLower();
    for (const PromptWorkspace& workspace : m_workspaces) {
        for (const QString& matchPath : workspace.matchPaths) {
            const QString candidate = normalizePath(matchPath).toLower();
            if (!candidate.isEmpty() && isAtOrBelow(contextPath, candidate))
                return workspace;
        }
    }
    return std::nullopt;
}

std::optional<PromptWorkspace> WorkspaceMatcher::inferredWorkspace(const AgentContext& context) const
{
    const QString workspaceName =
        context.workspaceName == unidentifiedWorkspaceName ? QString() : context.workspaceName.toLower();
    const QString haystack =
        context.frontWindowTitle.toLower() + u' ' + context.frontmostAppName.toLower() + u' ' + workspaceName;
    const bool isIDE = IDEWorkspaceDetector::isIDEApp(context.frontmostAppName);

    for (const PromptWorkspace& workspace : m_workspaces) {
        if (containsIdentifier(workspace.name.toLower(), haystack))
            return workspace;

        if (isIDE) {
            if (const auto titlePath =
                    IDEWorkspaceDetector::workspacePath(context.frontWindowTitle, workspace.matchPaths)) {
                // The IDE named a folder: it alone decides for this workspace.
                const QString named = normalizePath(*titlePath).toLower();
                for (const QString& matchPath : workspace.matchPaths) {
                    const QString candidate = normalizePath(matchPath).toLower();
                    if (!candidate.isEmpty() && isAtOrBelow(named, candidate))
                        return workspace;
                }
                continue;
            }
        }

        for (const QString& matchPath : workspace.matchPaths) {
            const QString component = ContextPaths::lastPathComponent(matchPath).toLower();
            if (!component.isEmpty() && containsIdentifier(component, haystack))
                return workspace;
        }
    }
    return std::nullopt;
}
