// The sheet that brings prompts in by hand: text typed, pasted or dropped into an editor, cut into
// previews as the user types and added to a chosen workspace; or a pack file, which takes precedence
// over the text while it is chosen and is installed as a workspace of its own. Main thread only.
#pragma once

#include "AgentContext.h"
#include "PromptImportViewModel.h"
#include "PromptModels.h"

#include <QWidget>
#include <functional>
#include <optional>

class AppLanguageStore;
class FileChoosing;
class PromptImportPreviewList;
class PromptImportTextEditor;
class PromptPanelPreferences;
class PromptStore;
class QComboBox;
class QLabel;
class VelmoraButton;
class VelmoraSheetHost;

class PromptImportSheet : public QWidget {
    Q_OBJECT

public:
    static constexpr int sheetWidth = 560;
    static constexpr int sheetHeight = 700;

    // The stores and the chooser must outlive the sheet.
    struct Dependencies {
        PromptStore* promptStore = nullptr;
        AppLanguageStore* languageStore = nullptr;
        PromptPanelPreferences* preferences = nullptr; // the interface text size
        FileChoosing* fileChooser = nullptr;
        std::optional<QString> initialWorkspaceID = std::nullopt;
        std::optional<AgentContext> bindingContext = std::nullopt;
        // The debounce's wait; absent, a timer.
        PromptImportViewModel::Sleeper sleeper = {};
    };

    // `dismiss` takes the sheet down; it is called after a successful import and by Cancel.
    PromptImportSheet(Dependencies dependencies, std::function<void()> dismiss, QWidget* parent = nullptr);
    ~PromptImportSheet() override;

    // The sheet in a sheet host over the presenter's window, shown at once; the host deletes itself,
    // and the sheet with it, when it goes.
    static VelmoraSheetHost* present(QWidget* presenter, Dependencies dependencies);

    const QString& targetWorkspaceID() const { return m_targetWorkspaceID; }
    void setTargetWorkspaceID(const QString& id);
    const std::optional<PromptPackImportPreview>& packPreview() const { return m_packPreview; }
    const std::optional<QString>& packError() const { return m_packError; }
    QString rawText() const;
    bool canImport() const;
    PromptImportViewModel* viewModel() const { return m_viewModel; }

    // The actions of the buttons. importContent answers whether the import took place; the sheet is
    // dismissed only then.
    void choosePromptPack();
    // A pack file read as if chosen in the file panel.
    void loadPromptPack(const QString& path);
    bool importContent();

    PromptImportTextEditor* editor() const { return m_editor; }
    QComboBox* targetPicker() const { return m_targetPicker; }
    VelmoraButton* importButton() const { return m_importButton; }
    VelmoraButton* cancelButton() const { return m_cancelButton; }
    VelmoraButton* choosePackButton() const { return m_choosePackButton; }
    VelmoraButton* installButton() const { return m_installButton; }
    QLabel* packErrorLabel() const { return m_packErrorLabel; }
    QLabel* targetRequiredLabel() const { return m_targetRequiredLabel; }
    QLabel* needsWorkspaceLabel() const { return m_needsWorkspaceLabel; }
    QLabel* previewCountLabel() const { return m_previewCountLabel; }
    QLabel* noPreviewLabel() const { return m_noPreviewLabel; }
    QLabel* fileNoticeLabel() const { return m_fileNoticeLabel; }
    QWidget* packSummary() const { return m_packSummary; }
    PromptImportPreviewList* previewList() const { return m_previewList; }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    AppLanguage language() const;
    QString text(const char* key) const;
    void populateTargetWorkspace();
    void syncTargetPicker();
    void syncPack();
    void syncPreviews();
    void syncImportButton();
    void setPackPreview(std::optional<PromptPackImportPreview> preview, std::optional<QString> error);
    void rawTextChanged();
    bool importPrompts();
    void importAndDismiss();

    Dependencies m_dependencies;
    std::function<void()> m_dismiss;
    PromptImportViewModel* m_viewModel = nullptr;

    QString m_targetWorkspaceID;
    std::optional<PromptPackImportPreview> m_packPreview;
    std::optional<QString> m_packError;
    bool m_appeared = false;
    bool m_textTooLarge = false;

    PromptImportTextEditor* m_editor = nullptr;
    QComboBox* m_targetPicker = nullptr;
    QWidget* m_targetRow = nullptr;
    VelmoraButton* m_importButton = nullptr;
    VelmoraButton* m_cancelButton = nullptr;
    VelmoraButton* m_choosePackButton = nullptr;
    VelmoraButton* m_installButton = nullptr;
    QWidget* m_packSummary = nullptr;
    QLabel* m_packName = nullptr;
    QLabel* m_packDescription = nullptr;
    QLabel* m_packCounts = nullptr;
    QLabel* m_packTitles = nullptr;
    QLabel* m_packErrorLabel = nullptr;
    QLabel* m_targetRequiredLabel = nullptr;
    QLabel* m_needsWorkspaceLabel = nullptr;
    QLabel* m_previewCountLabel = nullptr;
    QLabel* m_noPreviewLabel = nullptr;
    QLabel* m_fileNoticeLabel = nullptr;
    PromptImportPreviewList* m_previewList = nullptr;
};
