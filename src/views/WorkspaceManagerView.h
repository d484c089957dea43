// The content of the workspace manager window: every workspace of the library side by side, whatever
// its source, in a sidebar with the file and batch actions, and one workspace's information and
// prompts in a detail pane. All changes go through the store; the view keeps only the selection, the
// ticks, the filters and what its sheets and dialogs are about. A new view is made for each opening
// of the window. Main thread only.
#pragma once

#include "PromptModels.h"
#include "PromptPanelTextSize.h"
#include "WorkspaceManagerEmptyState.h"

#include <QDateTime>
#include <QLocale>
#include <QPointer>
#include <QSet>
#include <QWidget>
#include <functional>
#include <optional>

class AppLanguageStore;
class ConfigIssueBanner;
class ElidedLabel;
class FileChoosing;
class HotKeyService;
class PromptStore;
class QGridLayout;
class QLabel;
class QLineEdit;
class QStackedWidget;
class QVBoxLayout;
class VelmoraButton;
class VelmoraSheetHost;
class VelmoraSymbolButton;
class WorkspaceManagerEmptyStateView;
class WorkspaceManagerPromptList;
class WorkspaceManagerWorkspaceList;

class WorkspaceManagerView : public QWidget {
    Q_OBJECT

public:
    static constexpr int minimumContentWidth = 940;
    static constexpr int minimumContentHeight = 620;
    static constexpr int sidebarWidth = 390;
    static constexpr int panePadding = 16;
    static constexpr int promptFilterWidth = 240;

    // The stores and the file chooser must outlive the view; the rest may be absent.
    struct Dependencies {
        PromptStore* promptStore = nullptr;
        AppLanguageStore* languageStore = nullptr;
        FileChoosing* fileChooser = nullptr;
        PromptPanelTextSize interfaceTextSize = PromptPanelTextSize::system; // the stored preference
        HotKeyService* hotKeyService = nullptr; // let go while the prompt editor records a shortcut
        std::function<void(const QString& path)> showInFileManager = nullptr; // for the issue banners
    };

    WorkspaceManagerView(const Dependencies& dependencies, const std::optional<QString>& initialWorkspaceID,
                         QWidget* parent = nullptr);
    ~WorkspaceManagerView() override;

    static QString titleFor(AppLanguage language);
    // A medium date (abbreviated month, full year) and a short time in `locale`; `none` without a time.
    static QString formatModifiedTime(const std::optional<QDateTime>& date, const QLocale& locale,
                                      const QString& none);

    // --- The view's state. ---
    const std::optional<QString>& selectedWorkspaceID() const { return m_selectedWorkspaceID; }
    const QSet<QString>& selectedForDeletion() const { return m_selectedForDeletion; }
    const QString& workspaceSearch() const { return m_workspaceSearch; }
    const QString& promptSearch() const { return m_promptSearch; }
    bool showNewWorkspace() const { return m_showNewWorkspace; }
    const std::optional<PromptWorkspace>& editingWorkspace() const { return m_editingWorkspace; }
    const std::optional<PromptItem>& editingPrompt() const { return m_editingPrompt; }
    bool showPromptEditor() const { return m_showPromptEditor; }
    const std::optional<PromptItem>& pendingPromptDelete() const { return m_pendingPromptDelete; }
    bool pendingWorkspaceDelete() const { return m_pendingWorkspaceDelete; }
    const std::optional<QString>& resultMessage() const { return m_resultMessage; }
    PromptPanelTextSize interfaceTextSize() const { return m_interfaceTextSize; }

    // --- Derived from the store at each call. ---
    std::optional<PromptWorkspace> selectedWorkspace() const;
    // Ticked user workspaces that the library still has, in its order: the only ones ever deleted.
    QStringList deletableSelection() const;
    QList<PromptWorkspace> filteredWorkspaces() const { return filteredWorkspaces(m_workspaceSearch); }
    QList<PromptItem> filteredPrompts(const PromptWorkspace& workspace) const
    {
        return filteredPrompts(workspace, m_promptSearch);
    }
    // The same passes for another search text.
    QList<PromptWorkspace> filteredWorkspaces(const QString& search) const;
    QList<PromptItem> filteredPrompts(const PromptWorkspace& workspace, const QString& search) const;
    std::optional<WorkspaceManagerEmptyState> managerEmptyState() const;
    QString deleteWorkspaceMessage() const;
    QString modifiedTime(const PromptWorkspace& workspace) const;

    // --- What the controls do. ---
    void setSelectedWorkspaceID(const std::optional<QString>& id);
    void setWorkspaceSearch(const QString& text);
    void setPromptSearch(const QString& text);
    // A workspace that isn't a user workspace can't be ticked.
    void setTicked(const QString& id, bool ticked);
    void selectFiltered();
    void clearSelection();
    void reloadConfig();
    void presentNewWorkspace();
    void presentWorkspaceEdit(const PromptWorkspace& workspace);
    // Absent: a new prompt for the selected workspace.
    void presentPromptEditor(const std::optional<PromptItem>& prompt);
    void requestWorkspaceDelete();
    void deleteSelectedWorkspaces();
    void requestPromptDelete(const PromptItem& prompt);
    void confirmPromptDelete();
    void importPromptPack();
    void exportPromptPack(const PromptWorkspace& workspace);
    void copySampleToMyWorkspaces(const PromptWorkspace& workspace);
    void hideSamples();

    // --- The controls, for the window and its tests. Buttons carry their catalog keys as names. ---
    QLineEdit* workspaceFilter() const { return m_workspaceFilter; }
    QLineEdit* promptFilter() const { return m_promptFilter; }
    WorkspaceManagerWorkspaceList* workspaceList() const { return m_workspaceList; }
    WorkspaceManagerPromptList* promptList() const { return m_promptList; }
    WorkspaceManagerEmptyStateView* sidebarEmptyState() const { return m_sidebarEmpty; }
    WorkspaceManagerEmptyStateView* detailEmptyState() const { return m_detailEmpty; }
    WorkspaceManagerEmptyStateView* promptsEmptyState() const { return m_promptsEmpty; }
    QStackedWidget* sidebarStack() const { return m_sidebarStack; }
    QStackedWidget* detailStack() const { return m_detailStack; }
    QStackedWidget* promptStack() const { return m_promptStack; }
    QLabel* resultLabel() const { return m_resultLabel; }
    // The texts shown in the detail pane, by what they are: "name", "source", "readOnly", the four
    // info rows by their label keys, "noSelection", "noSearch", "noPrompts".
    QString shownText(const QString& part) const;
    VelmoraSheetHost* sheetHost() const;
    QList<ConfigIssueBanner*> banners() const { return m_banners; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    QString text(const char* key) const;
    AppLanguage language() const;
    void build();
    QWidget* buildSidebar();
    QWidget* buildDetail();
    QWidget* buildWorkspaceDetail();
    VelmoraButton* makeButton(const char* key, const QString& symbol, QWidget* parent);
    // The static texts, in the language of the moment.
    void applyTexts();
    void rebuildBanners();
    void refresh();
    void refreshSidebar(const QList<PromptWorkspace>& all);
    void refreshDetail(const QList<PromptWorkspace>& all);
    void refreshPrompts(const PromptWorkspace& workspace);
    QString abbreviatedPath(const std::optional<QString>& path) const;
    void presentSheet(QWidget* content, std::function<void()> onGone);
    QWidget* makeConfirmation(const QString& title, const QString& message, std::function<void()> onDelete);

    PromptStore& m_promptStore;
    AppLanguageStore& m_languageStore;
    FileChoosing& m_fileChooser;
    HotKeyService* m_hotKeyService;
    std::function<void(const QString&)> m_showInFileManager;

    std::optional<QString> m_selectedWorkspaceID;
    QSet<QString> m_selectedForDeletion;
    QString m_workspaceSearch;
    QString m_promptSearch;
    bool m_showNewWorkspace = false;
    std::optional<PromptWorkspace> m_editingWorkspace;
    std::optional<PromptItem> m_editingPrompt;
    bool m_showPromptEditor = false;
    std::optional<PromptItem> m_pendingPromptDelete;
    bool m_pendingWorkspaceDelete = false;
    std::optional<QString> m_resultMessage;
    PromptPanelTextSize m_interfaceTextSize;

    // The lower-cased search text of the shown workspace's prompts, by index, while that very list
    // is the one shown: the prompt filter folds each prompt once, not at every key.
    mutable QList<PromptItem> m_foldedPrompts;
    mutable QStringList m_foldedTexts;

    QVBoxLayout* m_bannerColumn = nullptr;
    QList<ConfigIssueBanner*> m_banners;
    QLabel* m_title = nullptr;
    VelmoraSymbolButton* m_reloadButton = nullptr;
    QLineEdit* m_workspaceFilter = nullptr;
    QList<std::pair<VelmoraButton*, const char*>> m_keyedButtons;
    VelmoraButton* m_createWorkspaceButton = nullptr;
    VelmoraButton* m_importButton = nullptr;
    VelmoraButton* m_selectFilteredButton = nullptr;
    VelmoraButton* m_clearSelectionButton = nullptr;
    VelmoraButton* m_deleteSelectedButton = nullptr;
    QLabel* m_resultLabel = nullptr;
    QStackedWidget* m_sidebarStack = nullptr;
    WorkspaceManagerWorkspaceList* m_workspaceList = nullptr;
    WorkspaceManagerEmptyStateView* m_sidebarEmpty = nullptr;

    QStackedWidget* m_detailStack = nullptr;
    WorkspaceManagerEmptyStateView* m_detailEmpty = nullptr;
    QLabel* m_noSelectionIcon = nullptr;
    QLabel* m_noSelectionLabel = nullptr;
    ElidedLabel* m_nameLabel = nullptr;
    QLabel* m_sourceLabel = nullptr;
    VelmoraButton* m_copySampleButton = nullptr;
    VelmoraButton* m_hideSamplesButton = nullptr;
    VelmoraButton* m_editWorkspaceButton = nullptr;
    VelmoraButton* m_exportWorkspaceButton = nullptr;
    QWidget* m_readOnlyRow = nullptr;
    QLabel* m_readOnlyLabel = nullptr;
    VelmoraButton* m_exportButton = nullptr;
    QList<std::pair<const char*, std::pair<QLabel*, QLabel*>>> m_infoRows;
    QLabel* m_promptsTitle = nullptr;
    QLineEdit* m_promptFilter = nullptr;
    VelmoraButton* m_createPromptButton = nullptr;
    QStackedWidget* m_promptStack = nullptr;
    WorkspaceManagerPromptList* m_promptList = nullptr;
    QLabel* m_noSearchLabel = nullptr;
    WorkspaceManagerEmptyStateView* m_promptsEmpty = nullptr;
    QLabel* m_noPromptsLabel = nullptr;

    QPointer<VelmoraSheetHost> m_sheetHost;
};
