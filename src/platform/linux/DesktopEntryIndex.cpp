#include "DesktopEntryIndex.h"
#include "DesktopEntryFormat.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

// Splits an Exec value into arguments: blanks separate, double quotes group, and inside quotes a
// backslash protects the next character.
QStringList execArguments(const QString& exec)
{
    QStringList arguments;
    QString current;
    bool inQuotes = false;
    bool hasArgument = false;
    for (qsizetype index = 0; index < exec.size(); ++index) {
        const QChar character = exec.at(index);
        if (inQuotes) {
            if (character == u'\\' && index + 1 < exec.size())
                current.append(exec.at(++index));
            else if (character == u'"')
                inQuotes = false;
            else
                current.append(character);
        } else if (character == u'"') {
            inQuotes = true;
            hasArgument = true;
        } else if (character == u' ' || character == u'\t') {
            if (hasArgument)
                arguments.append(current);
            current.clear();
            hasArgument = false;
        } else {
            current.append(character);
            hasArgument = true;
        }
    }
    if (hasArgument)
        arguments.append(current);
    return arguments;
}

// The program an Exec line starts; "env NAME=value program" starts the program.
QString programOfExec(const QString& exec)
{
    const QStringList arguments = execArguments(exec);
    qsizetype index = 0;
    if (!arguments.isEmpty() && QFileInfo(arguments.first()).fileName() == u"env") {
        index = 1;
        while (index < arguments.size() &&
               (arguments.at(index).contains(u'=') || arguments.at(index).startsWith(u'-')))
            ++index;
    }
    return index < arguments.size() ? arguments.at(index) : QString();
}

QString canonicalProgramPath(const QString& program)
{
    if (program.isEmpty())
        return {};
    const QString path = program.startsWith(u'/') ? program : QStandardPaths::findExecutable(program);
    return path.isEmpty() ? QString() : QFileInfo(path).canonicalFilePath();
}

} // namespace

DesktopEntryIndex::DesktopEntryIndex(QStringList applicationDirectories)
    : m_directories(std::move(applicationDirectories))
{}

QStringList DesktopEntryIndex::applicationDirectories(const QProcessEnvironment& environment)
{
    QString dataHome = environment.value(u"XDG_DATA_HOME"_s);
    if (dataHome.isEmpty() || !QDir::isAbsolutePath(dataHome))
        dataHome = environment.value(u"HOME"_s, QDir::homePath()) + u"/.local/share"_s;
    QStringList dataDirectories;
    for (const QString& directory : environment.value(u"XDG_DATA_DIRS"_s).split(u':', Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(directory))
            dataDirectories.append(directory);
    }
    if (dataDirectories.isEmpty())
        dataDirectories = {u"/usr/local/share"_s, u"/usr/share"_s};

    QStringList result{QDir::cleanPath(dataHome + u"/applications"_s)};
    for (const QString& directory : std::as_const(dataDirectories)) {
        const QString applications = QDir::cleanPath(directory + u"/applications"_s);
        if (!result.contains(applications))
            result.append(applications);
    }
    return result;
}

std::optional<DesktopEntry> DesktopEntryIndex::parse(const QString& id, const QByteArray& contents)
{
    QHash<QString, QString> values;
    bool inMainGroup = false;
    for (const QByteArray& rawLine : contents.split('\n')) {
        const QString line = QString::fromUtf8(rawLine).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inMainGroup = line == u"[Desktop Entry]";
            continue;
        }
        if (!inMainGroup)
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals <= 0)
            continue;
        const QString key = line.left(equals).trimmed();
        // Translated keys ("Name[de]") are skipped: the plain Name is what the classifier knows.
        if (!values.contains(key))
            values.insert(key, DesktopEntryFormat::unescapedValue(line.mid(equals + 1).trimmed()));
    }
    if (values.value(u"Type"_s) != u"Application" || values.value(u"Hidden"_s) == u"true")
        return std::nullopt;

    DesktopEntry entry;
    entry.id = id;
    entry.name = values.value(u"Name"_s);
    entry.startupWMClass = values.value(u"StartupWMClass"_s);
    entry.program = programOfExec(values.value(u"Exec"_s));
    if (entry.program.isEmpty())
        entry.program = values.value(u"TryExec"_s);
    return entry;
}

void DesktopEntryIndex::load() const
{
    m_loaded = true;
    QSet<QString> seenIDs;
    for (const QString& directory : m_directories) {
        QDirIterator files(directory, {u"*.desktop"_s}, QDir::Files, QDirIterator::Subdirectories);
        QStringList paths;
        while (files.hasNext())
            paths.append(files.next());
        // Directory order is the file system's; sort so that the same tree always gives the same index.
        paths.sort();
        const QDir root(directory);
        for (const QString& path : std::as_const(paths)) {
            QString id = root.relativeFilePath(path);
            id.chop(QStringView(u".desktop").size());
            id.replace(u'/', u'-');
            // A hidden or broken entry still hides a later one of the same id, as the XDG rules say.
            if (seenIDs.contains(id))
                continue;
            seenIDs.insert(id);
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly))
                continue;
            if (auto entry = parse(id, file.readAll()))
                m_entries.append(std::move(*entry));
        }
    }
}

const QList<DesktopEntry>& DesktopEntryIndex::entries() const
{
    if (!m_loaded)
        load();
    return m_entries;
}

std::optional<DesktopEntry> DesktopEntryIndex::match(const QString& wmClassInstance, const QString& wmClass,
                                                     const std::function<QString()>& executable) const
{
    const QList<DesktopEntry>& all = entries();
    // The instance first: it is the more specific part (a browser's web applications share a class).
    const QStringList parts = QStringList{wmClassInstance, wmClass};
    for (const QString& part : parts) {
        if (part.isEmpty())
            continue;
        for (const DesktopEntry& entry : all) {
            if (entry.startupWMClass == part)
                return entry;
        }
    }
    for (const QString& part : parts) {
        if (part.isEmpty())
            continue;
        for (const DesktopEntry& entry : all) {
            if (entry.id.compare(part, Qt::CaseInsensitive) == 0)
                return entry;
        }
    }

    const QString program = executable ? executable() : QString();
    if (program.isEmpty())
        return std::nullopt;
    if (!m_entriesByProgram) {
        QHash<QString, QList<qsizetype>> byProgram;
        for (qsizetype index = 0; index < all.size(); ++index) {
            const QString path = canonicalProgramPath(all.at(index).program);
            if (!path.isEmpty())
                byProgram[path].append(index);
        }
        m_entriesByProgram = std::move(byProgram);
    }
    const QList<qsizetype> candidates = m_entriesByProgram->value(program);
    if (candidates.size() != 1)
        return std::nullopt;
    return all.at(candidates.first());
}
