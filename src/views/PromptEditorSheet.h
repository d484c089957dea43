// The sheet that creates one prompt or edits it: the workspace it goes to, its agent, title, group,
// own shortcut and text. A save the store refuses leaves the sheet open with what was typed; one
// refused because the file changed on disk reads the library again, after which a second Save writes
// this prompt into the file as it now stands.
#pragma once

#include "AgentContext.h"
#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <optional>

class HotKeyService;
class PromptStore;
class QComboBox;
class QLabel;
class QLineEdit;
class QMenu;
class QPlainTextEdit;
class ShortcutRecorderButton;
class VelmoraButton;
class VelmoraSymbolButton;

class PromptEditorSheet : public QWidget {
    Q_OBJECT

public:
    static constexpr int sheetWidth = 520;
    static constexpr int sheetHeight = 560;

    enum class FocusedField { title, group, body };

    struct Configuration {
        AgentContext context = AgentContext::unknown();
        QString targetWorkspaceID;                          // empty: none proposed
        std::optional<PromptItem> editingPrompt = std::nullopt; // absent: a new prompt
        PromptPanelTextSize interfaceTextSize = PromptPanelTextSize::system;
        HotKeyService* hotKeyService = nullptr; // its grab is let go while the shortcut is recorded
    };

    PromptEditorSheet(PromptStore& promptStore, Configuration configuration, QWidget* parent = nullptr);

    // Whether any workspace can take a new prompt.
    static bool canCreatePrompt(const QList<PromptWorkspace>& workspaces);

    // The target workspace's groups, trimmed, without empty ones and repeats, in file order.
    QStringList availableGroups() const;
    bool canSave() const;
    // Saves through the store; true when it did.
    bool save();

    const QString& selectedTargetWorkspaceID() const { return m_selectedTargetWorkspaceID; }
    AgentType selectedAgent() const;
    QString title() const;
    QString group() const;
    QString text() const;
    const std::optional<PromptKeyboardShortcut>& shortcut() const { return m_shortcut; }
    std::optional<FocusedField> focusedField() const;
    // Between a refusal by the version check and the publication of the library read again.
    bool isRereading() const { return m_isRereading; }

    QComboBox* targetPopUp() const { return m_targetPopUp; }
    QComboBox* agentPopUp() const { return m_agentPopUp; }
    QLineEdit* titleField() const { return m_titleField; }
    QLineEdit* groupField() const { return m_groupField; }
    VelmoraSymbolButton* groupMenuButton() const { return m_groupMenuButton; }
    QMenu* groupMenu() const { return m_groupMenu; }
    ShortcutRecorderButton* recorder() const { return m_recorder; }
    QPlainTextEdit* bodyEditor() const { return m_bodyEditor; }
    QLabel* messageLabel() const { return m_messageLabel; }
    VelmoraButton* saveButton() const { return m_saveButton; }
    VelmoraButton* cancelButton() const { return m_cancelButton; }

Q_SIGNALS:
    void saved();

private:
    void addRow(class QVBoxLayout* rows, const char* headerKey, const char* helpKey, QWidget* control);
    void populate();
    void refreshTargets();
    void refreshGroups();
    void refreshSaveEnabled();
    std::optional<PromptWorkspace> targetWorkspace() const;
    void rereadAfterConflict();

    PromptStore& m_promptStore;
    Configuration m_configuration;
    AppLanguage m_language;
    QString m_selectedTargetWorkspaceID;
    std::optional<PromptKeyboardShortcut> m_shortcut;
    bool m_isRereading = false;

    QComboBox* m_targetPopUp = nullptr;
    QComboBox* m_agentPopUp = nullptr;
    QLineEdit* m_titleField = nullptr;
    QLineEdit* m_groupField = nullptr;
    VelmoraSymbolButton* m_groupMenuButton = nullptr;
    QMenu* m_groupMenu = nullptr;
    ShortcutRecorderButton* m_recorder = nullptr;
    QPlainTextEdit* m_bodyEditor = nullptr;
    QLabel* m_messageLabel = nullptr;
    VelmoraButton* m_saveButton = nullptr;
    VelmoraButton* m_cancelButton = nullptr;
};
