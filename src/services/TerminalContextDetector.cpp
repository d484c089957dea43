#include "TerminalContextDetector.h"

#include "AgentType.h"
#include "CharacterClasses.h"
#include "ContextPaths.h"

#include <QDir>
#include <QRegularExpression>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> firstQuotedPath(const QString& title, const QString& pattern)
{
    const QRegularExpressionMatch match = QRegularExpression(pattern).match(title);
    if (!match.hasMatch())
        return std::nullopt;
    return match.captured(1);
}

bool isEdgeNoise(QChar character)
{
    return character == u' ' || character == u'"' || character == u'\'' || character == u'[' ||
           character == u']' || character == u'(' || character == u')';
}

QString trimmedOfEdgeNoise(const QString& part)
{
    qsizetype begin = 0;
    qsizetype end = part.size();
    while (begin < end && isEdgeNoise(part.at(begin)))
        ++begin;
    while (end > begin && isEdgeNoise(part.at(end - 1)))
        --end;
    return part.mid(begin, end - begin);
}

} // namespace

bool TerminalContextDetector::isTerminalApp(const QString& appName)
{
    return isTerminalApplicationName(appName);
}

std::optional<QString> TerminalContextDetector::workspacePath(const QString& windowTitle)
{
    // Quoted paths first: only they may hold blanks.
    for (const QString& pattern : {uR"re("(/[^"]+)")re"_s, uR"re('(/[^']+)')re"_s}) {
        if (const auto quoted = firstQuotedPath(windowTitle, pattern)) {
            if (const auto path = cleanedCandidate(*quoted))
                return path;
        }
    }

    QString title = windowTitle;
    title.replace(QChar(0x2014), u' ').replace(QChar(0x2013), u' ').replace(QChar(0x00B7), u' ');
    title.replace(u'\t', u' ');

    QStringList pieces;
    QString piece;
    for (QChar character : std::as_const(title)) {
        if (CharacterClasses::isWhitespaceOrNewlineUnit(character.unicode())) {
            pieces.append(piece);
            piece.clear();
        } else {
            piece.append(character);
        }
    }
    pieces.append(piece);

    // A colon splits "host:/path" and cuts off ":line" suffixes.
    for (const QString& each : std::as_const(pieces)) {
        for (const QString& part : each.split(u':')) {
            const QString candidate = trimmedOfEdgeNoise(part);
            if (candidate.isEmpty())
                continue;
            if (const auto path = cleanedCandidate(candidate))
                return path;
        }
    }
    return std::nullopt;
}

std::optional<QString> TerminalContextDetector::cleanedCandidate(QString candidate)
{
    if (!candidate.startsWith(u'/') && !candidate.startsWith(u'~'))
        return std::nullopt;
    while (candidate.endsWith(u',') || candidate.endsWith(u';'))
        candidate.chop(1);
    if (candidate.startsWith(u"~/"))
        candidate.replace(0, 1, QDir::homePath());
    // A lone "/" or "~" is no project.
    if (candidate.size() < 2)
        return std::nullopt;
    return ContextPaths::standardized(candidate);
}
