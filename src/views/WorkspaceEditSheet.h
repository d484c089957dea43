// The sheet that renames a workspace and changes its agent bindings, and the one place where the
// user meets a file changed or removed behind Velmora's back: a refused save writes nothing, keeps
// what was typed, and offers two ways out, reading the disk's version or saving as a new workspace.
#pragma once

#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <optional>

class AgentToggleList;
class PromptStore;
class QLabel;
class QLineEdit;
class VelmoraButton;

class WorkspaceEditSheet : public QWidget {
    Q_OBJECT

public:
    static constexpr int sheetWidth = 520;
    static constexpr int sheetHeight = 460;

    WorkspaceEditSheet(PromptStore& promptStore, PromptWorkspace workspace,
                       PromptPanelTextSize interfaceTextSize = PromptPanelTextSize::system,
                       QWidget* parent = nullptr);

    // Each answers whether the sheet may go.
    bool save();
    bool saveAsNewWorkspace();
    // Reads the library again and shows what the disk holds; reloadFinished tells when it has.
    void reloadDiskVersion();

    // The record Save checks the file against: the one it opened with, or the last read or written.
    const PromptWorkspace& workspace() const { return m_workspace; }
    QString name() const;
    QSet<AgentType> selectedAgents() const;
    const std::optional<QString>& errorMessage() const { return m_errorMessage; }
    bool showsConflictActions() const { return m_showsConflictActions; }

    QLineEdit* nameField() const { return m_nameField; }
    AgentToggleList* agentToggles() const { return m_agentToggles; }
    QLineEdit* configFileField() const { return m_configFileField; }
    QLabel* messageLabel() const { return m_messageLabel; }
    VelmoraButton* reloadButton() const { return m_reloadButton; }
    VelmoraButton* saveAsNewButton() const { return m_saveAsNewButton; }
    VelmoraButton* saveButton() const { return m_saveButton; }
    VelmoraButton* cancelButton() const { return m_cancelButton; }

Q_SIGNALS:
    void reloadFinished();

private:
    void populate();
    QSet<AgentType> boundAgents() const;
    QString matchPathsText() const;
    QString filePathText() const;
    void setError(const std::optional<QString>& message, bool showsConflictActions);
    void setBusy(bool busy);

    PromptStore& m_promptStore;
    PromptWorkspace m_workspace;
    AppLanguage m_language;
    std::optional<QString> m_errorMessage;
    bool m_showsConflictActions = false;

    QLineEdit* m_nameField = nullptr;
    AgentToggleList* m_agentToggles = nullptr;
    QLineEdit* m_configFileField = nullptr;
    QLabel* m_messageLabel = nullptr;
    QWidget* m_conflictRow = nullptr;
    VelmoraButton* m_reloadButton = nullptr;
    VelmoraButton* m_saveAsNewButton = nullptr;
    VelmoraButton* m_saveButton = nullptr;
    VelmoraButton* m_cancelButton = nullptr;
};
