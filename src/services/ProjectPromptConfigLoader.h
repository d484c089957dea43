// Finds a project's own prompt file (.velmora.yaml or .velmora.yml) at or above a working folder and
// reads it as a read-only project workspace. It never decides on trust: callers ask the trust store
// before they load.
#pragma once

#include "PromptConfigLoader.h"
#include "PromptModels.h"

#include <QString>
#include <QStringList>
#include <optional>

class ProjectPromptConfigLoader {
public:
    static constexpr auto yamlFileName = ".velmora.yaml";
    static constexpr auto ymlFileName = ".velmora.yml";
    static constexpr auto idPrefix = "project:";

    // Looks at the starting folder and at most `maximumParentLevels` folders above it.
    explicit ProjectPromptConfigLoader(qint64 maximumParentLevels);

    qint64 maximumParentLevels() const { return m_maximumParentLevels; }

    // The standardised path of the nearest project file, `.velmora.yaml` before `.velmora.yml` in each
    // folder. A starting path that is a file starts in its folder; one that doesn't exist counts as a
    // folder.
    std::optional<QString> configURL(const QString& startingAt) const;

    // Reads the file by extraction alone (no size limits, no structural check). Unreadable or
    // non-UTF-8 content gives nothing, with a warning in the parser's list only.
    std::optional<PromptWorkspace> loadWorkspace(const QString& at, const QString& startingAt);

    // The parser's warnings; shown nowhere, kept for diagnosis and tests.
    const QStringList& warnings() const { return m_parser.warnings(); }

    // A project's match paths against its root folder: "." is the root as it stands, "/..." is
    // absolute, anything else (`~/x` included) is relative to the root. An empty list means ".".
    static QStringList normalizedMatchPaths(const QStringList& matchPaths, const QString& projectRoot);

private:
    qint64 m_maximumParentLevels;
    PromptConfigLoader m_parser;
};
