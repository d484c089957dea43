// Reads an IDE's window title: which of the user's known project folders it is about, or else a name
// to show, cut from the title.
#pragma once

#include <QString>
#include <QStringList>
#include <optional>

class IDEWorkspaceDetector {
public:
    IDEWorkspaceDetector() = delete;

    static bool isIDEApp(const QString& appName);

    // knownWorkspacePaths as the store lists them: workspace after workspace, duplicates left in.
    static std::optional<QString> workspacePath(const QString& windowTitle,
                                                const QStringList& knownWorkspacePaths);

    static std::optional<QString> workspaceName(const QString& windowTitle);
};
