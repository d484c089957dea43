#include "PromptImportSheet.h"

#include "AppLanguageStore.h"
#include "CharacterClasses.h"
#include "FileChoosing.h"
#include "PromptImportPreviewList.h"
#include "PromptImportTextEditor.h"
#include "PromptPackService.h"
#include "PromptPanelPreferences.h"
#include "PromptPanelTextSize.h"
#include "PromptStore.h"
#include "UTF8ByteCount.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSheetHost.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QTextDocument>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

constexpr int sheetPadding = 20;

// The dark appearance's system orange, for the note that a target is still missing.
QColor orange()
{
    return QColor::fromRgbF(1.0f, 0.624f, 0.039f);
}

QLabel* label(const QFont& font, const QColor& color, QWidget* parent, const QString& text = {})
{
    auto* result = new QLabel(text, parent);
    result->setFont(font);
    result->setTextFormat(Qt::PlainText);
    result->setWordWrap(true);
    QPalette palette = result->palette();
    palette.setColor(QPalette::WindowText, color);
    result->setPalette(palette);
    return result;
}

QFont semibold(QFont font)
{
    font.setWeight(QFont::DemiBold);
    return font;
}

// The rounded, faintly filled box behind the pack summary and each preview.
class RoundedBox : public QWidget {
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath path;
        path.addRoundedRect(QRectF(rect()), 8, 8);
        painter.fillPath(path, PromptImportPreviewList::boxColor());
    }
};

} // namespace

PromptImportSheet::PromptImportSheet(Dependencies dependencies, std::function<void()> dismiss, QWidget* parent)
    : QWidget(parent), m_dependencies(std::move(dependencies)), m_dismiss(std::move(dismiss))
{
    const PromptPanelTextSize textSize = m_dependencies.preferences->textSize();
    promptInterfaceTextSize(this, textSize);
    setFixedSize(sheetWidth, sheetHeight);
    m_viewModel = new PromptImportViewModel([this] { return language(); }, m_dependencies.sleeper, {}, {}, this);

    const QFont caption = textStyleFont(PromptTextStyle::caption, textSize);
    const QFont subheadline = textStyleFont(PromptTextStyle::subheadline, textSize);
    const QColor secondary = VelmoraColors::secondaryText();

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(sheetPadding, sheetPadding, sheetPadding, sheetPadding);
    column->setSpacing(14);
    column->addWidget(label(textStyleFont(PromptTextStyle::headline, textSize), Brand::textPrimary(), this,
                            text("title.import.prompt")));

    // The pack: the chooser, and what was read from the file or why it couldn't be.
    auto* packColumn = new QVBoxLayout();
    packColumn->setSpacing(8);
    auto* packRow = new QHBoxLayout();
    m_choosePackButton =
        new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.select.pack.file"), u"folder"_s}, this);
    m_choosePackButton->setAutoDefault(false);
    m_installButton = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.install.as.workspace")}, this);
    m_installButton->setAutoDefault(false);
    packRow->addWidget(m_choosePackButton);
    packRow->addStretch();
    packRow->addWidget(m_installButton);
    packColumn->addLayout(packRow);
    m_packSummary = new RoundedBox(this);
    auto* summary = new QVBoxLayout(m_packSummary);
    summary->setContentsMargins(8, 8, 8, 8);
    summary->setSpacing(4);
    m_packName = label(semibold(subheadline), Brand::textPrimary(), m_packSummary);
    m_packDescription = label(caption, secondary, m_packSummary);
    m_packCounts = label(caption, secondary, m_packSummary);
    m_packTitles = label(caption, secondary, m_packSummary);
    m_packTitles->setWordWrap(false);
    for (QLabel* each : {m_packName, m_packDescription, m_packCounts, m_packTitles})
        summary->addWidget(each);
    packColumn->addWidget(m_packSummary);
    m_packErrorLabel = label(caption, VelmoraColors::red(), this);
    packColumn->addWidget(m_packErrorLabel);
    column->addLayout(packColumn);

    // The target of imported text.
    m_needsWorkspaceLabel = label(caption, secondary, this, text("import.needs.workspace"));
    column->addWidget(m_needsWorkspaceLabel);
    m_targetRow = new QWidget(this);
    auto* targetColumn = new QVBoxLayout(m_targetRow);
    targetColumn->setContentsMargins(0, 0, 0, 0);
    targetColumn->setSpacing(6);
    m_targetRequiredLabel = label(caption, orange(), m_targetRow, text("import.target.required"));
    targetColumn->addWidget(m_targetRequiredLabel);
    auto* pickerRow = new QHBoxLayout();
    auto* pickerLabel = label(font(), Brand::textPrimary(), m_targetRow, text("import.to.workspace"));
    pickerLabel->setWordWrap(false);
    m_targetPicker = new QComboBox(m_targetRow);
    m_targetPicker->setAccessibleName(text("import.to.workspace"));
    m_targetPicker->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_targetPicker->setMinimumWidth(200);
    pickerLabel->setBuddy(m_targetPicker);
    pickerRow->addWidget(pickerLabel);
    pickerRow->addWidget(m_targetPicker, 1);
    targetColumn->addLayout(pickerRow);
    column->addWidget(m_targetRow);

    column->addWidget(label(caption, secondary, this, text("import.drop.help")));
    m_editor = new PromptImportTextEditor(language(), this);
    m_editor->setMinimumHeight(180);
    m_editor->setAccessibleName(text("title.import.prompt"));
    column->addWidget(m_editor, 1);
    m_fileNoticeLabel = label(caption, VelmoraColors::red(), this);
    m_fileNoticeLabel->hide();
    column->addWidget(m_fileNoticeLabel);

    // The previews of the text.
    auto* previewColumn = new QVBoxLayout();
    previewColumn->setSpacing(8);
    m_previewCountLabel = label(semibold(subheadline), Brand::textPrimary(), this);
    previewColumn->addWidget(m_previewCountLabel);
    m_noPreviewLabel = label(caption, secondary, this);
    m_noPreviewLabel->setContentsMargins(8, 8, 8, 8);
    m_noPreviewLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_noPreviewLabel->setFixedHeight(140);
    previewColumn->addWidget(m_noPreviewLabel);
    m_previewList = new PromptImportPreviewList(this);
    m_previewList->setFixedHeight(140);
    previewColumn->addWidget(m_previewList);
    column->addLayout(previewColumn);

    auto* buttons = new QHBoxLayout();
    m_cancelButton = new VelmoraButton(VelmoraButtonStyle::secondary, {text("action.cancel")}, this);
    m_cancelButton->setAutoDefault(false);
    m_importButton = new VelmoraButton(VelmoraButtonStyle::primary, {text("action.import")}, this);
    m_importButton->setDefault(true);
    buttons->addWidget(m_cancelButton);
    buttons->addStretch();
    buttons->addWidget(m_importButton);
    column->addLayout(buttons);

    connect(m_choosePackButton, &QAbstractButton::clicked, this, &PromptImportSheet::choosePromptPack);
    connect(m_installButton, &QAbstractButton::clicked, this, &PromptImportSheet::importAndDismiss);
    connect(m_importButton, &QAbstractButton::clicked, this, &PromptImportSheet::importAndDismiss);
    connect(m_cancelButton, &QAbstractButton::clicked, this, [this] { m_dismiss(); });
    connect(m_editor, &PromptImportTextEditor::importRequested, this, [this] {
        if (canImport())
            importAndDismiss();
    });
    connect(m_editor, &PromptImportTextEditor::packFileDropped, this, &PromptImportSheet::loadPromptPack);
    connect(m_editor, &PromptImportTextEditor::fileRefused, this, [this](const QString& message) {
        m_fileNoticeLabel->setText(message);
        m_fileNoticeLabel->show();
    });
    connect(m_editor, &QPlainTextEdit::textChanged, this, &PromptImportSheet::rawTextChanged);
    // Only a real change of the text retires the notice: a refused drop also reports a change.
    connect(m_editor->document(), &QTextDocument::contentsChange, this, [this](int, int removed, int added) {
        if (removed > 0 || added > 0)
            m_fileNoticeLabel->hide();
    });
    connect(m_targetPicker, &QComboBox::activated, this,
            [this](int index) { setTargetWorkspaceID(m_targetPicker->itemData(index).toString()); });
    connect(m_viewModel, &PromptImportViewModel::previewsChanged, this, &PromptImportSheet::syncPreviews);
    connect(m_viewModel, &PromptImportViewModel::hasCurrentImportPreviewChanged, this,
            &PromptImportSheet::syncImportButton);
    connect(m_dependencies.promptStore, &PromptStore::workspacesChanged, this, &PromptImportSheet::syncTargetPicker);

    syncTargetPicker();
    syncPack();
    syncPreviews();
}

PromptImportSheet::~PromptImportSheet()
{
    m_viewModel->cancelPendingParse();
}

VelmoraSheetHost* PromptImportSheet::present(QWidget* presenter, Dependencies dependencies)
{
    auto host = std::make_shared<QPointer<VelmoraSheetHost>>();
    auto* sheet = new PromptImportSheet(std::move(dependencies), [host] {
        if (*host)
            (*host)->accept();
    });
    *host = new VelmoraSheetHost(presenter, sheet);
    (*host)->present();
    return *host;
}

AppLanguage PromptImportSheet::language() const
{
    return m_dependencies.languageStore->effectiveLanguage();
}

QString PromptImportSheet::text(const char* key) const
{
    return L10n::text(QString::fromLatin1(key), language());
}

QString PromptImportSheet::rawText() const
{
    return m_editor->toPlainText();
}

void PromptImportSheet::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (m_appeared)
        return;
    m_appeared = true;
    populateTargetWorkspace();
    m_editor->setFocus(Qt::OtherFocusReason);
}

void PromptImportSheet::hideEvent(QHideEvent* event)
{
    // Leaving the sheet in any way: no preview is published afterwards.
    m_viewModel->cancelPendingParse();
    QWidget::hideEvent(event);
}

void PromptImportSheet::populateTargetWorkspace()
{
    if (!m_targetWorkspaceID.isEmpty() || !m_dependencies.initialWorkspaceID)
        return;
    // Only a user workspace is proposed; there is no fallback to the first one.
    const QList<PromptWorkspace>& workspaces = m_dependencies.promptStore->workspaces();
    for (const PromptWorkspace& workspace : workspaces) {
        if (workspace.id == *m_dependencies.initialWorkspaceID &&
            workspace.source == PromptWorkspaceSource::userWorkspace) {
            setTargetWorkspaceID(workspace.id);
            return;
        }
    }
}

void PromptImportSheet::setTargetWorkspaceID(const QString& id)
{
    m_targetWorkspaceID = id;
    syncTargetPicker();
}

void PromptImportSheet::syncTargetPicker()
{
    const QList<PromptWorkspace>& workspaces = m_dependencies.promptStore->workspaces();
    m_needsWorkspaceLabel->setVisible(workspaces.isEmpty());
    m_targetRow->setVisible(!workspaces.isEmpty());
    m_targetRequiredLabel->setVisible(m_targetWorkspaceID.isEmpty());
    m_targetPicker->clear();
    m_targetPicker->addItem(text("common.select.placeholder"), QString());
    for (const PromptWorkspace& workspace : workspaces)
        m_targetPicker->addItem(workspace.name, workspace.id);
    // A target that has gone since it was picked stays chosen; the import then answers false.
    m_targetPicker->setCurrentIndex(std::max(0, m_targetPicker->findData(m_targetWorkspaceID)));
    syncImportButton();
}

void PromptImportSheet::syncPack()
{
    m_installButton->setVisible(m_packPreview.has_value());
    m_packSummary->setVisible(m_packPreview.has_value());
    m_packErrorLabel->setVisible(m_packError.has_value());
    m_packErrorLabel->setText(m_packError.value_or(QString()));
    if (m_packPreview) {
        const PromptPackImportPreview& preview = *m_packPreview;
        const QString separator = text("list.separator");
        m_packName->setText(preview.pack.metadata.name);
        m_packDescription->setText(preview.pack.metadata.description);
        m_packDescription->setVisible(!preview.pack.metadata.description.isEmpty());
        m_packCounts->setText(text("pack.preview.summary")
                                  .arg(QString::number(preview.pack.workspace.prompts.size()),
                                       preview.groups().join(separator)));
        const int width = sheetWidth - 2 * sheetPadding - 16;
        m_packTitles->setText(
            PromptImportPreviewList::wrappedLines(preview.sampleTitles().join(separator), m_packTitles->font(), width, 2)
                .join(u'\n'));
    }
    syncImportButton();
}

void PromptImportSheet::syncPreviews()
{
    const QList<PromptImportPreview>& previews = m_viewModel->previews();
    m_previewCountLabel->setText(text("import.preview.count").arg(QString::number(previews.size())));
    m_previewList->setPreviews(previews);
    m_previewList->setVisible(!previews.isEmpty());
    m_noPreviewLabel->setVisible(previews.isEmpty());
    // Text above the parser's limit gives no previews, and without this the user wouldn't know why.
    m_noPreviewLabel->setText(text(m_textTooLarge ? "linux.import.text.too.large" : "import.no.preview"));
    syncImportButton();
}

void PromptImportSheet::syncImportButton()
{
    m_importButton->setEnabled(canImport());
}

bool PromptImportSheet::canImport() const
{
    if (m_packPreview)
        return true;
    return !m_targetWorkspaceID.isEmpty() && m_viewModel->hasCurrentImportPreview() &&
           !m_viewModel->previews().isEmpty();
}

void PromptImportSheet::rawTextChanged()
{
    const QString raw = rawText();
    m_textTooLarge = utf8ByteCount(CharacterClasses::trimmedWhitespaceAndNewlines(raw)) >
                     PromptImportParser::maximumTextBytes;
    m_viewModel->updateRawText(raw);
    syncPreviews();
}

void PromptImportSheet::setPackPreview(std::optional<PromptPackImportPreview> preview,
                                       std::optional<QString> error)
{
    m_packPreview = std::move(preview);
    m_packError = std::move(error);
    syncPack();
}

void PromptImportSheet::choosePromptPack()
{
    const std::optional<QString> path = m_dependencies.fileChooser->chooseFileToOpen(
        this, text("action.select.pack.file"), text("action.import"), {u"yaml"_s, u"yml"_s});
    // A cancelled panel leaves an earlier pack, or its error, as it was.
    if (path)
        loadPromptPack(*path);
}

void PromptImportSheet::loadPromptPack(const QString& path)
{
    const PromptPackService service(*m_dependencies.promptStore->persistence(), [this] { return language(); });
    Expected<PromptPackImportPreview> preview = service.parseImportPreviewAt(path);
    if (preview)
        setPackPreview(std::move(*preview), std::nullopt);
    else
        setPackPreview(std::nullopt, preview.error().description);
}

bool PromptImportSheet::importContent()
{
    if (m_packPreview)
        return m_dependencies.promptStore->installPromptPack(m_packPreview->pack, m_dependencies.bindingContext);
    return importPrompts();
}

bool PromptImportSheet::importPrompts()
{
    PromptStore& store = *m_dependencies.promptStore;
    if (!m_viewModel->hasCurrentImportPreview())
        return false;
    const QList<PromptWorkspace>& workspaces = store.workspaces();
    const auto target = std::find_if(workspaces.cbegin(), workspaces.cend(),
                                     [&](const PromptWorkspace& each) { return each.id == m_targetWorkspaceID; });
    if (target == workspaces.cend())
        return false;
    QSet<QString> existingIDs;
    for (const PromptItem& prompt : target->prompts)
        existingIDs.insert(prompt.id);
    const QList<PromptItem> prompts =
        PromptImportParser::makePrompts(m_viewModel->previews(), existingIDs, language());
    if (prompts.isEmpty())
        return false;
    if (store.importPrompts(prompts, m_targetWorkspaceID))
        return true;
    // Refused by the version check: the library is read again, keeping the report, so that the next
    // Import appends to the file as it now stands, with ids unique against it.
    if (store.lastWorkspaceSaveIssue())
        store.reload(store.statusMessage());
    return false;
}

void PromptImportSheet::importAndDismiss()
{
    if (importContent())
        m_dismiss();
}
