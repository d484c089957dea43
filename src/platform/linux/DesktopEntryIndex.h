// The installed applications' desktop entries, and the entry that stands for a window, matched as
// desktop shells match them: by StartupWMClass, then by entry id, then by the window's executable.
#pragma once

#include <QHash>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

struct DesktopEntry {
    // The file's id without ".desktop": its path below the applications folder, "/" read as "-".
    QString id;
    // The untranslated Name: the classifier's tables are in English.
    QString name;
    QString startupWMClass;
    // The program of Exec (past an "env" prefix), or TryExec when Exec names none.
    QString program;

    bool operator==(const DesktopEntry&) const = default;
};

class DesktopEntryIndex {
public:
    // Folders in order of precedence: an earlier folder's entry hides a later one with the same id.
    explicit DesktopEntryIndex(QStringList applicationDirectories);

    // $XDG_DATA_HOME/applications, then each of $XDG_DATA_DIRS, with the XDG defaults.
    static QStringList applicationDirectories(const QProcessEnvironment& environment);

    // Reads the folders on first use and keeps what it read.
    const QList<DesktopEntry>& entries() const;

    // `executable` is asked only when neither WM_CLASS part names an entry; it gives the canonical
    // path of the window's program, or an empty string. An executable that several entries start
    // names none of them.
    std::optional<DesktopEntry> match(const QString& wmClassInstance, const QString& wmClass,
                                      const std::function<QString()>& executable) const;

    // Parses one file; absent when it is no application entry, or is hidden.
    static std::optional<DesktopEntry> parse(const QString& id, const QByteArray& contents);

private:
    void load() const;

    QStringList m_directories;
    mutable bool m_loaded = false;
    mutable QList<DesktopEntry> m_entries;
    mutable std::optional<QHash<QString, QList<qsizetype>>> m_entriesByProgram;
};
