// The pure path and name matching between a context and the user's workspaces: by the folder the
// detector found (explicit path) or by what the window title and application name mention (inference).
#pragma once

#include "AgentContext.h"
#include "PromptModels.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <optional>

class WorkspaceMatcher {
public:
    explicit WorkspaceMatcher(QList<PromptWorkspace> workspaces);

    const QList<PromptWorkspace>& workspaces() const { return m_workspaces; }

    // The first workspace, in list order, with a match path at or above the context's folder. Order,
    // not path length, decides: an earlier workspace on a parent folder beats a later exact one.
    std::optional<PromptWorkspace> explicitPathWorkspace(const AgentContext& context) const;
    // The first workspace whose name, or the last component of one of its match paths, stands as a
    // whole word in the window title, application name or detected workspace name; for an IDE, the
    // folder its title names decides instead of the path components.
    std::optional<PromptWorkspace> inferredWorkspace(const AgentContext& context) const;

    // "~/" expanded to the home folder, standardised, symbolic links resolved where the path exists.
    // An empty path stays empty.
    static QString normalizePath(const QString& path);
    // Whole-word search, case-sensitive: the characters beside an occurrence must hold no Unicode
    // letter, mark or number, "-" or "_".
    static bool containsIdentifier(QStringView identifier, QStringView text);
    // The context's folder, normalised, if it is an existing directory.
    static std::optional<QString> validatedContextWorkspacePath(const AgentContext& context);

    // Whether `path` equals `folder` or lies below it; both already normalised and lower-cased.
    static bool isAtOrBelow(const QString& path, const QString& folder);

private:
    QList<PromptWorkspace> m_workspaces;
};
