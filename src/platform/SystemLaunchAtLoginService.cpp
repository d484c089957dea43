#include "SystemLaunchAtLoginService.h"
#include "DesktopEntryFormat.h"

#include "AppLanguage.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace {

// A login entry is a few hundred bytes; anything this large is not ours to interpret.
constexpr qint64 maximumEntryBytes = 64 * 1024;

AppError serviceError(SystemLaunchAtLoginService::ErrorCode code)
{
    return AppError{.typeName = u"LaunchAtLoginError"_s,
                    .domain = u"app.velmora.autostart"_s,
                    .code = code,
                    .description = L10n::text(u"settings.startup.error"_s)};
}

bool isTrue(const QString& value)
{
    return value.compare(u"true"_s, Qt::CaseInsensitive) == 0;
}

bool isFalse(const QString& value)
{
    return value.compare(u"false"_s, Qt::CaseInsensitive) == 0;
}

// The keys of the [Desktop Entry] group; absent when the text is no desktop entry.
std::optional<QHash<QString, QString>> parseDesktopEntry(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;

    QHash<QString, QString> entry;
    bool sawGroup = false;
    bool inMainGroup = false;
    for (QString line : text.split(u'\n')) {
        if (line.endsWith(u'\r'))
            line.chop(1);
        const QString trimmed = line.trimmed();
        if (trimmed.isEmpty() || trimmed.startsWith(u'#'))
            continue;
        if (trimmed.startsWith(u'[')) {
            if (!trimmed.endsWith(u']'))
                return std::nullopt;
            const QString group = trimmed.mid(1, trimmed.size() - 2);
            // The main group must come first.
            if (!sawGroup && group != u"Desktop Entry"_s)
                return std::nullopt;
            sawGroup = true;
            inMainGroup = group == u"Desktop Entry"_s;
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (!sawGroup || equals <= 0)
            return std::nullopt;
        const QString key = line.left(equals).trimmed();
        if (key.isEmpty())
            return std::nullopt;
        if (inMainGroup && !entry.contains(key))
            entry.insert(key, line.mid(equals + 1).trimmed());
    }
    if (!sawGroup || entry.value(u"Type"_s) != u"Application"_s)
        return std::nullopt;
    return entry;
}

// The program of an Exec value (its first argument), with the Exec quoting undone.
std::optional<QString> execProgram(const QString& execValue)
{
    const QString exec = DesktopEntryFormat::unescapedValue(execValue);
    QString program;
    bool inQuotes = false;
    bool started = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec.at(i);
        if (inQuotes) {
            if (c == u'\\' && i + 1 < exec.size() && QStringView(u"\"`$\\").contains(exec.at(i + 1)))
                program.append(exec.at(++i));
            else if (c == u'"')
                inQuotes = false;
            else
                program.append(c);
        } else if (c == u' ' || c == u'\t') {
            if (started)
                break;
        } else if (c == u'"') {
            inQuotes = started = true;
        } else {
            program.append(c);
            started = true;
        }
    }
    if (inQuotes || program.isEmpty())
        return std::nullopt;
    return program.replace(u"%%"_s, u"%"_s);
}

bool programExists(const QString& program)
{
    if (program.startsWith(u'/')) {
        const QFileInfo info(program);
        return info.isFile() && info.isExecutable();
    }
    if (program.contains(u'/'))
        return false; // relative paths have no meaning in an Exec key
    return !QStandardPaths::findExecutable(program).isEmpty();
}

QString entryText(const QString& exec, bool hidden)
{
    QString text = u"[Desktop Entry]\n"
                   u"Type=Application\n"
                   u"Name=Velmora\n"
                   u"Icon=app.velmora.Velmora\n"
                   u"Exec="_s +
                   exec + u"\nTerminal=false\n"_s;
    text += hidden ? u"Hidden=true\n"_s : u"X-GNOME-Autostart-enabled=true\n"_s;
    return text;
}

} // namespace

SystemLaunchAtLoginService::Locations
SystemLaunchAtLoginService::standardLocations(const QProcessEnvironment& environment)
{
    Locations locations;
    const QString configHome = environment.value(u"XDG_CONFIG_HOME"_s);
    locations.configHome = QDir::isAbsolutePath(configHome)
                               ? configHome
                               : environment.value(u"HOME"_s, QDir::homePath()) + u"/.config"_s;
    for (const QString& folder : environment.value(u"XDG_CONFIG_DIRS"_s).split(u':', Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(folder))
            locations.configDirs.append(folder);
    }
    if (locations.configDirs.isEmpty())
        locations.configDirs = {u"/etc/xdg"_s};
    // An AppImage runs from a mount that is gone after logout; the image itself is what to start.
    const QString appImage = environment.value(u"APPIMAGE"_s);
    locations.executablePath =
        QDir::isAbsolutePath(appImage) ? appImage : QCoreApplication::applicationFilePath();
    return locations;
}

SystemLaunchAtLoginService::SystemLaunchAtLoginService(Locations locations, UrlOpener openUrl)
    : m_locations(std::move(locations)), m_openUrl(std::move(openUrl))
{}

QString SystemLaunchAtLoginService::autostartFolder() const
{
    return m_locations.configHome + u"/autostart"_s;
}

QString SystemLaunchAtLoginService::userEntryPath() const
{
    return autostartFolder() + u'/' + QLatin1String(entryFileName);
}

std::optional<QString> SystemLaunchAtLoginService::systemEntryPath() const
{
    for (const QString& folder : m_locations.configDirs) {
        const QString path = folder + u"/autostart/"_s + QLatin1String(entryFileName);
        if (QFileInfo::exists(path))
            return path;
    }
    return std::nullopt;
}

std::optional<QString> SystemLaunchAtLoginService::execValue(const QString& executablePath)
{
    if (!executablePath.startsWith(u'/'))
        return std::nullopt;
    for (const QChar c : executablePath) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return std::nullopt;
    }
    // Field codes first: a literal percent sign is written twice.
    QString argument = executablePath;
    argument.replace(u"%"_s, u"%%"_s);
    // An argument with a reserved character is quoted whole, with " ` $ \ escaped inside.
    static constexpr QStringView reserved = u" \t\n\"'\\><~|&;$*?#()`";
    bool needsQuotes = false;
    for (const QChar c : argument)
        needsQuotes = needsQuotes || reserved.contains(c);
    if (needsQuotes) {
        QString quoted = u"\""_s;
        for (const QChar c : argument) {
            if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
                quoted.append(u'\\');
            quoted.append(c);
        }
        argument = quoted + u'"';
    }
    // Last, the escapes of any string value: each backslash is doubled.
    return argument.replace(u"\\"_s, u"\\\\"_s);
}

Expected<void> SystemLaunchAtLoginService::writeUserEntry(bool hidden)
{
    std::optional<QString> exec = execValue(m_locations.executablePath);
    if (!exec) {
        if (!hidden)
            return serviceError(executableUnusable);
        exec = u"velmora"_s; // a hidden entry starts nothing, but must still be a valid entry
    }
    if (!QDir().mkpath(autostartFolder()))
        return serviceError(folderNotCreated);
    // Replaced in one step: a failed write leaves the previous entry as it was.
    QSaveFile file(userEntryPath());
    if (!file.open(QIODevice::WriteOnly))
        return serviceError(entryNotWritten);
    const QByteArray bytes = entryText(*exec, hidden).toUtf8();
    if (file.write(bytes) != bytes.size() || !file.commit())
        return serviceError(entryNotWritten);
    return {};
}

Expected<void> SystemLaunchAtLoginService::registerLoginItem()
{
    return writeUserEntry(false);
}

Expected<void> SystemLaunchAtLoginService::unregisterLoginItem()
{
    // An entry the system installed can't be removed by the user; a user entry hides it.
    if (systemEntryPath())
        return writeUserEntry(true);
    const QFileInfo info(userEntryPath());
    if (!info.exists() && !info.isSymLink())
        return {};
    if (info.isDir() || !QFile::remove(userEntryPath()))
        return serviceError(entryNotRemoved);
    return {};
}

int SystemLaunchAtLoginService::statusRawValue() const
{
    // A user entry of the same name overrides every system one.
    const QString userPath = userEntryPath();
    std::optional<QString> path;
    if (QFileInfo::exists(userPath))
        path = userPath;
    else
        path = systemEntryPath();
    if (!path)
        return notRegisteredRawValue;

    QFile file(*path);
    if (!file.open(QIODevice::ReadOnly))
        return unreadableRawValue;
    const QByteArray bytes = file.read(maximumEntryBytes + 1);
    if (bytes.size() > maximumEntryBytes || file.error() != QFileDevice::NoError)
        return unreadableRawValue;
    const std::optional<QHash<QString, QString>> entry = parseDesktopEntry(bytes);
    if (!entry)
        return unreadableRawValue;

    // Turned off by the desktop's own startup tool.
    if (isTrue(entry->value(u"Hidden"_s)) || isFalse(entry->value(u"X-GNOME-Autostart-enabled"_s)))
        return notRegisteredRawValue;

    if (entry->contains(u"TryExec"_s) &&
        !programExists(DesktopEntryFormat::unescapedValue(entry->value(u"TryExec"_s))))
        return notFoundRawValue;
    const std::optional<QString> program = execProgram(entry->value(u"Exec"_s));
    if (!program || !programExists(*program))
        return notFoundRawValue;
    return enabledRawValue;
}

void SystemLaunchAtLoginService::openSystemSettingsLoginItems()
{
    if (!m_openUrl)
        return;
    const QString folder = QFileInfo(autostartFolder()).isDir() ? autostartFolder() : m_locations.configHome;
    m_openUrl(QUrl::fromLocalFile(folder));
}
