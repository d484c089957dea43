#include "SettingsView.h"

#include "AppLanguageStore.h"
#include "AppLinks.h"
#include "AppUpdateController.h"
#include "ContextDetector.h"
#include "FirstRunChecklistStore.h"
#include "HotKeyService.h"
#include "LaunchAtLoginController.h"
#include "PromptActionService.h"
#include "PromptCopySoundPlayer.h"
#include "PromptPackService.h"
#include "PromptPanelPreferences.h"
#include "PromptStore.h"
#include "PromptUsageStore.h"
#include "PromptVariableValueStore.h"
#include "ShortcutRecorderButton.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSheetHost.h"
#include "VelmoraSymbols.h"

#include <QButtonGroup>
#include <algorithm>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QScrollArea>
#include <QStackedWidget>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

// The X11 error of a grab that another client holds.
constexpr qint32 badAccess = 10;

void tint(QWidget* widget, const QColor& color)
{
    QPalette palette = widget->palette();
    palette.setColor(QPalette::WindowText, color);
    palette.setColor(QPalette::Text, color);
    widget->setPalette(palette);
}

QLabel* wrappingLabel(const QString& text, QWidget* parent = nullptr)
{
    auto* label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

// A label led by a symbol, as a form shows a state.
QWidget* symbolLabel(const QString& symbol, const QColor& color, const QString& text, const QString& name)
{
    auto* widget = new QWidget();
    widget->setObjectName(name);
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    auto* icon = new QLabel(widget);
    icon->setPixmap(QPixmap::fromImage(VelmoraSymbols::image(symbol, 14, color, widget->devicePixelRatioF())));
    row->addWidget(icon);
    row->addWidget(new QLabel(text, widget), 1);
    return widget;
}

QFrame* divider()
{
    auto* line = new QFrame();
    line->setFrameShape(QFrame::HLine);
    line->setFixedHeight(1);
    line->setStyleSheet(u"background: %1; border: none;"_s.arg(VelmoraColors::white(0.12).name(QColor::HexArgb)));
    return line;
}

} // namespace

SettingsView::SettingsView(const Dependencies& dependencies, QWidget* parent)
    : QWidget(parent), m_promptStore(*dependencies.promptStore), m_shortcutStore(*dependencies.shortcutStore),
      m_firstRunChecklistStore(*dependencies.firstRunChecklistStore),
      m_launchAtLoginController(*dependencies.launchAtLoginController),
      m_appUpdateController(*dependencies.appUpdateController), m_languageStore(*dependencies.languageStore),
      m_preferences(*dependencies.preferences), m_copySoundPlayer(*dependencies.copySoundPlayer),
      m_variableValueStore(*dependencies.variableValueStore),
      m_promptActionService(*dependencies.promptActionService), m_hotKeyService(*dependencies.hotKeyService),
      m_desktop(*dependencies.desktop), m_contextDetector(dependencies.contextDetector)
{
    setFixedSize(contentWidth, contentHeight);
    VelmoraAppearance::apply(this);
    setAutoFillBackground(true);

    auto* split = new QHBoxLayout(this);
    split->setContentsMargins(0, 0, 0, 0);
    split->setSpacing(0);
    m_sidebar = new QListWidget(this);
    m_sidebar->setObjectName(u"settingsSidebar"_s);
    m_sidebar->setFixedWidth(sidebarWidth);
    m_sidebar->setIconSize(QSize(16, 16));
    m_sidebar->setFrameShape(QFrame::NoFrame);
    m_sidebar->setStyleSheet(u"QListWidget { background: %1; padding: 10px 8px; outline: 0; }"
                             "QListWidget::item { padding: 6px 4px; border-radius: 6px; }"
                             "QListWidget::item:selected { background: %2; color: %3; }"_s.arg(
                                 VelmoraColors::white(0.04).name(QColor::HexArgb),
                                 VelmoraColors::white(0.12).name(QColor::HexArgb),
                                 Brand::textPrimary().name(QColor::HexArgb)));
    for (const SettingsCategory category : allSettingsCategories) {
        auto* item = new QListWidgetItem(m_sidebar);
        item->setIcon(QPixmap::fromImage(
            VelmoraSymbols::image(systemImage(category), 16, Brand::accent(), devicePixelRatioF())));
        item->setData(Qt::UserRole, toRawValue(category));
    }
    connect(m_sidebar, &QListWidget::currentRowChanged, this, [this](int row) {
        if (row >= 0 && row < int(std::size(allSettingsCategories)))
            setSelectedCategory(allSettingsCategories[row]);
    });
    split->addWidget(m_sidebar);
    m_stack = new QStackedWidget(this);
    split->addWidget(m_stack, 1);

    // Every store the form shows: a change anywhere shows here at once.
    const auto follow = [this](auto* sender, auto signal) { connect(sender, signal, this, &SettingsView::sync); };
    follow(&m_promptStore, &PromptStore::sortModeChanged);
    follow(&m_promptStore, &PromptStore::advancedAutomaticMatchingEnabledChanged);
    follow(&m_promptStore, &PromptStore::projectConfigsEnabledChanged);
    follow(&m_shortcutStore, &ShortcutSettingsStore::togglePanelShortcutChanged);
    follow(&m_shortcutStore, &ShortcutSettingsStore::promptTileShortcutChanged);
    follow(&m_shortcutStore, &ShortcutSettingsStore::hotKeyStatusChanged);
    follow(&m_shortcutStore, &ShortcutSettingsStore::hoverOpenEnabledChanged);
    follow(&m_shortcutStore, &ShortcutSettingsStore::copyHapticsEnabledChanged);
    follow(&m_shortcutStore, &ShortcutSettingsStore::copySoundNameChanged);
    follow(&m_firstRunChecklistStore, &FirstRunChecklistStore::isDismissedChanged);
    follow(&m_launchAtLoginController, &LaunchAtLoginController::statusChanged);
    follow(&m_launchAtLoginController, &LaunchAtLoginController::hasErrorChanged);
    follow(&m_appUpdateController, &AppUpdateController::automaticUpdatesEnabledChanged);
    follow(&m_appUpdateController, &AppUpdateController::canToggleAutomaticUpdatesChanged);
    follow(&m_appUpdateController, &AppUpdateController::announcedUpdateChanged);
    follow(&m_desktop, &DesktopSessionProbing::reportChanged);
    follow(&m_preferences, &PromptPanelPreferences::textSizeChanged);
    // Texts and fonts are fixed at building: a new language or text size builds the pages again,
    // after the control that asked for it has finished its signal.
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, &SettingsView::scheduleRebuild);
    connect(&m_preferences, &PromptPanelPreferences::textSizeChanged, this, &SettingsView::scheduleRebuild);
    rebuild();
}

SettingsView::~SettingsView()
{
    delete m_clearUsageSheet.data();
}

QString SettingsView::titleFor(AppLanguage language)
{
    return L10n::text(u"product.name"_s, language) + u' ' + L10n::text(u"action.settings"_s, language);
}

QString SettingsView::text(const QString& key) const
{
    return L10n::text(key, language());
}

AppLanguage SettingsView::language() const
{
    return m_languageStore.effectiveLanguage();
}

void SettingsView::setSelectedCategory(SettingsCategory category)
{
    m_selectedCategory = category;
    const int index = int(std::find(std::begin(allSettingsCategories), std::end(allSettingsCategories), category) -
                          std::begin(allSettingsCategories));
    if (m_sidebar->currentRow() != index)
        m_sidebar->setCurrentRow(index);
    m_stack->setCurrentIndex(index);
}

QWidget* SettingsView::page(SettingsCategory category) const
{
    const auto index = std::find(std::begin(allSettingsCategories), std::end(allSettingsCategories), category) -
                       std::begin(allSettingsCategories);
    return m_stack->widget(int(index));
}

void SettingsView::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_appUpdateController.refreshUpdateSettings();
    m_launchAtLoginController.refresh();
    m_desktop.refresh();
}

void SettingsView::scheduleRebuild()
{
    if (std::exchange(m_rebuildPending, true))
        return;
    QMetaObject::invokeMethod(this, [this] {
        m_rebuildPending = false;
        rebuild();
    }, Qt::QueuedConnection);
}

void SettingsView::rebuild()
{
    promptInterfaceTextSize(this, m_preferences.textSize());
    m_syncs.clear();
    m_panelRecorder = nullptr;
    m_tileRecorder = nullptr;
    while (QWidget* old = m_stack->widget(0)) {
        m_stack->removeWidget(old);
        delete old;
    }
    for (int row = 0; row < m_sidebar->count(); ++row)
        m_sidebar->item(row)->setText(text(titleKey(allSettingsCategories[row])));
    for (QWidget* content : {makeGettingStarted(), makeGeneral(), makePrompts(), makeShortcuts(), makeUpdates()}) {
        auto* scroll = new QScrollArea();
        scroll->setObjectName(content->objectName());
        scroll->setFrameShape(QFrame::NoFrame);
        scroll->setWidgetResizable(true);
        scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        scroll->setWidget(content);
        m_stack->addWidget(scroll);
    }
    VelmoraAppearance::apply(this);
    setSelectedCategory(m_selectedCategory);
    sync();
}

void SettingsView::sync()
{
    for (const Sync& apply : m_syncs)
        apply();
}

// --- Form pieces ---

QVBoxLayout* SettingsView::addSection(QVBoxLayout* page, const QString& titleKey)
{
    auto* title = new QLabel(text(titleKey));
    title->setObjectName(titleKey);
    title->setFont(textStyleFont(PromptTextStyle::headline, m_preferences.textSize()));
    tint(title, VelmoraColors::secondaryText());
    auto* box = new QFrame();
    box->setObjectName(u"settingsSectionBox"_s);
    box->setStyleSheet(u"#settingsSectionBox { background: %1; border: 1px solid %2; border-radius: 10px; }"_s.arg(
        VelmoraColors::white(0.05).name(QColor::HexArgb), VelmoraColors::white(0.08).name(QColor::HexArgb)));
    auto* rows = new QVBoxLayout(box);
    rows->setContentsMargins(14, 12, 14, 12);
    rows->setSpacing(10);
    page->addWidget(title);
    page->addWidget(box);
    return rows;
}

QLabel* SettingsView::addHelp(QBoxLayout* box, const QString& key, const QString& objectName)
{
    QLabel* help = wrappingLabel(text(key));
    help->setObjectName(objectName.isEmpty() ? key : objectName);
    help->setFont(textStyleFont(PromptTextStyle::subheadline, m_preferences.textSize()));
    tint(help, VelmoraColors::secondaryText());
    box->addWidget(help);
    return help;
}

QWidget* SettingsView::addSwitch(QVBoxLayout* box, const QString& key, std::function<bool()> read,
                                 std::function<void(bool)> write, std::function<bool()> enabled)
{
    auto* toggle = new QCheckBox(text(key));
    toggle->setObjectName(key);
    connect(toggle, &QCheckBox::clicked, this, [write = std::move(write)](bool on) { write(on); });
    m_syncs.push_back([toggle, read = std::move(read), enabled = std::move(enabled)] {
        const QSignalBlocker blocker(toggle);
        toggle->setChecked(read());
        if (enabled)
            toggle->setEnabled(enabled());
    });
    box->addWidget(toggle);
    return toggle;
}

QBoxLayout* SettingsView::addRow(QVBoxLayout* box, const QString& key)
{
    auto* row = new QHBoxLayout();
    row->setSpacing(10);
    auto* label = new QLabel(text(key));
    label->setObjectName(key + u".label"_s);
    row->addWidget(label);
    row->addStretch();
    box->addLayout(row);
    return row;
}

namespace {

QWidget* pageWidget(const QString& name, QVBoxLayout*& layout)
{
    auto* widget = new QWidget();
    widget->setObjectName(name);
    layout = new QVBoxLayout(widget);
    layout->setContentsMargins(22, 20, 22, 20);
    layout->setSpacing(8);
    return widget;
}

} // namespace

// --- Getting started ---

QWidget* SettingsView::makeGettingStarted()
{
    QVBoxLayout* page = nullptr;
    QWidget* widget = pageWidget(toRawValue(SettingsCategory::gettingStarted), page);
    QVBoxLayout* box = addSection(page, u"first.checklist.settings.section"_s);

    auto* guide = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"first.welcome.reopen"_s), u"sparkles"_s});
    guide->setObjectName(u"first.welcome.reopen"_s);
    connect(guide, &QAbstractButton::clicked, this, &SettingsView::openWelcomeGuideRequested);
    auto* reopen = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"first.checklist.reopen"_s)});
    reopen->setObjectName(u"first.checklist.reopen"_s);
    connect(reopen, &QAbstractButton::clicked, this, [this] { m_firstRunChecklistStore.setDismissed(false); });
    m_syncs.push_back([this, reopen] { reopen->setVisible(m_firstRunChecklistStore.isDismissed()); });
    auto* buttons = new QHBoxLayout();
    buttons->addWidget(guide);
    buttons->addWidget(reopen);
    buttons->addStretch();
    box->addLayout(buttons);
    addHelp(box, u"first.checklist.panel.help"_s);
    auto* open = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"first.welcome.open.panel"_s)});
    open->setObjectName(u"first.welcome.open.panel"_s);
    connect(open, &QAbstractButton::clicked, this, &SettingsView::openPanelRequested);
    box->addWidget(open, 0, Qt::AlignLeft);
    page->addStretch();
    return widget;
}

// --- General ---

QWidget* SettingsView::makeGeneral()
{
    QVBoxLayout* page = nullptr;
    QWidget* widget = pageWidget(toRawValue(SettingsCategory::general), page);
    QVBoxLayout* box = addSection(page, u"settings.display.feedback"_s);

    auto* languages = new QComboBox();
    languages->setObjectName(u"settings.language.title"_s);
    for (const AppLanguage option : allAppLanguages)
        languages->addItem(text(u"language."_s + toRawValue(option)), toRawValue(option));
    connect(languages, &QComboBox::activated, this, [this, languages](int index) {
        if (const auto choice = appLanguageFromRawValue(languages->itemData(index).toString()))
            m_languageStore.setSelection(*choice);
    });
    m_syncs.push_back([this, languages] {
        const QSignalBlocker blocker(languages);
        languages->setCurrentIndex(languages->findData(toRawValue(m_languageStore.selection())));
    });
    addRow(box, u"settings.language.title"_s)->addWidget(languages);

    auto* sizes = new QWidget();
    auto* segments = new QHBoxLayout(sizes);
    segments->setContentsMargins(0, 0, 0, 0);
    segments->setSpacing(0);
    auto* group = new QButtonGroup(sizes);
    for (const PromptPanelTextSize size : allPromptPanelTextSizes) {
        auto* segment = new QPushButton(text(localizedTitleKey(size)), sizes);
        segment->setObjectName(u"settings.text.size."_s + toRawValue(size));
        segment->setCheckable(true);
        group->addButton(segment);
        segments->addWidget(segment);
        connect(segment, &QAbstractButton::clicked, this, [this, size] { m_preferences.setTextSize(size); });
        m_syncs.push_back([this, segment, size] { segment->setChecked(m_preferences.textSize() == size); });
    }
    addRow(box, u"settings.text.size.title"_s)->addWidget(sizes);

    addSwitch(box, u"settings.hover.open"_s, [this] { return m_shortcutStore.hoverOpenEnabled(); },
              [this](bool on) { m_shortcutStore.setHoverOpenEnabled(on); });
    addHelp(box, u"settings.hover.open.help"_s);
    addSwitch(box, u"settings.copy.haptics"_s, [this] { return m_shortcutStore.copyHapticsEnabled(); },
              [this](bool on) { m_shortcutStore.setCopyHapticsEnabled(on); });
    // The preference stays for computers that have haptics; this one says it has none.
    QLabel* noHaptics = addHelp(box, u"linux.settings.haptics.unavailable"_s);
    m_syncs.push_back([this, noHaptics] { noHaptics->setVisible(!m_desktop.report().hasHaptics); });

    auto* sounds = new QComboBox();
    sounds->setObjectName(u"settings.copy.sound"_s);
    const auto options = ShortcutSettingsStore::copySoundOptions();
    for (const auto& option : options)
        sounds->addItem(option.title.startsWith(u"copy."_s) ? text(option.title) : option.title, option.value);
    connect(sounds, &QComboBox::activated, this, [this, sounds](int index) {
        const QString name = sounds->itemData(index).toString();
        m_shortcutStore.setCopySoundName(name);
        m_copySoundPlayer.selectSound(name);
    });
    m_syncs.push_back([this, sounds] {
        const QSignalBlocker blocker(sounds);
        sounds->setCurrentIndex(sounds->findData(m_shortcutStore.copySoundName()));
    });
    addRow(box, u"settings.copy.sound"_s)->addWidget(sounds);

    box = addSection(page, u"settings.startup.title"_s);
    addSwitch(
        box, u"settings.startup.launch.at.login"_s,
        [this] { return m_launchAtLoginController.status() == LaunchAtLoginStatus::enabled; },
        [this](bool on) { m_launchAtLoginController.setEnabled(on); },
        [this] { return m_launchAtLoginController.canToggle(); });
    QLabel* startupHelp = addHelp(box, u"settings.startup.help"_s, u"startupHelpText"_s);
    auto* approve = new VelmoraButton(VelmoraButtonStyle::settingsAction,
                                      {text(u"settings.startup.open.system.settings"_s), u"gearshape"_s});
    approve->setObjectName(u"settings.startup.open.system.settings"_s);
    connect(approve, &QAbstractButton::clicked, this,
            [this] { m_launchAtLoginController.openSystemSettingsLoginItems(); });
    box->addWidget(approve, 0, Qt::AlignLeft);
    m_syncs.push_back([this, startupHelp, approve] {
        const LaunchAtLoginStatus status = m_launchAtLoginController.status();
        startupHelp->setText(text(startupHelpKey(status, m_launchAtLoginController.hasError())));
        approve->setVisible(status == LaunchAtLoginStatus::requiresApproval);
    });

    // Reading window titles needs no permission on X11, so both switches are offered here.
    box = addSection(page, u"linux.settings.matching.title"_s);
    addSwitch(box, u"linux.settings.matching.advanced"_s,
              [this] { return m_promptStore.advancedAutomaticMatchingEnabled(); }, [this](bool on) {
                  m_promptStore.setAdvancedAutomaticMatchingEnabled(on);
                  if (m_contextDetector)
                      m_contextDetector->refresh(true);
              });
    addHelp(box, u"linux.settings.matching.advanced.help"_s);
    addSwitch(box, u"linux.settings.matching.project"_s, [this] { return m_promptStore.projectConfigsEnabled(); },
              [this](bool on) {
                  m_promptStore.setProjectConfigsEnabled(on);
                  if (m_contextDetector)
                      m_contextDetector->refresh(true);
              });
    addHelp(box, u"linux.settings.matching.project.help"_s);

    box = addSection(page, u"linux.desktop.title"_s);
    const QStringList names{u"linux.desktop.session"_s, u"linux.desktop.name"_s,  u"linux.desktop.hotkey"_s,
                            u"linux.desktop.tray"_s,    u"linux.desktop.sound"_s, u"linux.desktop.haptics"_s};
    QList<QLabel*> lines;
    for (const QString& name : names) {
        QLabel* line = wrappingLabel(QString());
        line->setObjectName(name);
        box->addWidget(line);
        lines.append(line);
    }
    m_syncs.push_back([this, lines] {
        const QStringList texts = desktopLines(m_desktop.report(), language());
        for (qsizetype index = 0; index < lines.size(); ++index)
            lines[index]->setText(texts.value(index));
    });
    page->addStretch();
    return widget;
}

// --- Prompts ---

QWidget* SettingsView::makePrompts()
{
    QVBoxLayout* page = nullptr;
    QWidget* widget = pageWidget(toRawValue(SettingsCategory::prompts), page);
    QVBoxLayout* box = addSection(page, u"settings.environment.binding"_s);
    auto* manage = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"action.manage.workspaces"_s)});
    manage->setObjectName(u"action.manage.workspaces"_s);
    connect(manage, &QAbstractButton::clicked, this, &SettingsView::openWorkspaceManagerRequested);
    box->addWidget(manage, 0, Qt::AlignLeft);

    box = addSection(page, u"settings.usage.title"_s);
    auto* sort = new QComboBox();
    sort->setObjectName(u"settings.usage.sort"_s);
    for (const PromptSortMode mode : {PromptSortMode::manual, PromptSortMode::recent, PromptSortMode::frequent})
        sort->addItem(text(u"settings.usage.sort."_s + toRawValue(mode)), toRawValue(mode));
    connect(sort, &QComboBox::activated, this, [this, sort](int index) {
        if (const auto mode = promptSortModeFromRawValue(sort->itemData(index).toString()))
            m_promptStore.setSortMode(*mode);
    });
    m_syncs.push_back([this, sort] {
        const QSignalBlocker blocker(sort);
        sort->setCurrentIndex(sort->findData(toRawValue(m_promptStore.sortMode())));
    });
    addRow(box, u"settings.usage.sort"_s)->addWidget(sort);
    auto* clearRow = new QHBoxLayout();
    auto* clear = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"settings.usage.clear"_s)});
    clear->setObjectName(u"settings.usage.clear"_s);
    clear->setDestructive(true);
    connect(clear, &QAbstractButton::clicked, this, &SettingsView::presentClearUsageConfirmation);
    auto* forget = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"settings.variable.recent.clear"_s)});
    forget->setObjectName(u"settings.variable.recent.clear"_s);
    forget->setDestructive(true);
    connect(forget, &QAbstractButton::clicked, this, [this] { m_variableValueStore.removeAll(); });
    clearRow->addWidget(clear);
    clearRow->addWidget(forget);
    clearRow->addStretch();
    box->addLayout(clearRow);

    box = addSection(page, u"settings.prompt.packs"_s);
    auto* install = new VelmoraButton(VelmoraButtonStyle::settingsAction,
                                      {text(u"action.install.builtin.pack"_s), u"shippingbox"_s});
    install->setObjectName(u"action.install.builtin.pack"_s);
    auto* menu = new QMenu(install);
    menu->setObjectName(u"builtInPacks"_s);
    // The packs of the language in effect when the menu opens.
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        menu->clear();
        const QList<PromptPack>& packs = PromptPackService::builtInPacks(language());
        for (const PromptPack& pack : packs) {
            connect(menu->addAction(pack.metadata.name), &QAction::triggered, this,
                    [this, pack] { m_promptStore.installPromptPack(pack, std::nullopt); });
        }
    });
    connect(install, &QAbstractButton::clicked, this,
            [install, menu] { menu->popup(install->mapToGlobal(QPoint(0, install->height()))); });
    box->addWidget(install, 0, Qt::AlignLeft);
    page->addStretch();
    return widget;
}

bool SettingsView::showsClearUsageConfirmation() const
{
    return m_clearUsageSheet != nullptr;
}

VelmoraSheetHost* SettingsView::clearUsageConfirmation() const
{
    return m_clearUsageSheet;
}

void SettingsView::presentClearUsageConfirmation()
{
    delete m_clearUsageSheet.data();
    auto* content = new QWidget();
    content->setFixedSize(380, 170);
    promptInterfaceTextSize(content, m_preferences.textSize());
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(20, 20, 20, 20);
    column->setSpacing(8);
    auto* title = new QLabel(text(u"settings.usage.clear.confirm.title"_s), content);
    title->setFont(textStyleFont(PromptTextStyle::headline, m_preferences.textSize()));
    column->addWidget(title);
    column->addWidget(wrappingLabel(text(u"settings.usage.clear.confirm.message"_s), content), 1);
    auto* buttons = new QHBoxLayout();
    buttons->addStretch();
    auto* cancel = new VelmoraButton(VelmoraButtonStyle::secondary, {text(u"action.cancel"_s)}, content);
    cancel->setObjectName(u"action.cancel"_s);
    auto* confirm = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"settings.usage.clear"_s)}, content);
    confirm->setObjectName(u"settings.usage.clear"_s);
    confirm->setDestructive(true);
    buttons->addWidget(cancel);
    buttons->addWidget(confirm);
    column->addLayout(buttons);
    m_clearUsageSheet = new VelmoraSheetHost(this, content);
    VelmoraSheetHost* sheet = m_clearUsageSheet;
    connect(cancel, &QAbstractButton::clicked, sheet, &QDialog::reject);
    connect(confirm, &QAbstractButton::clicked, sheet, [this, sheet] {
        clearUsage();
        sheet->accept();
    });
    connect(sheet, &QDialog::finished, this, [sheet] { sheet->deleteLater(); });
    cancel->setFocus();
    sheet->present();
}

void SettingsView::clearUsage()
{
    const std::shared_ptr<PromptUsageStore>& usage = m_promptStore.usageStore();
    // Nothing to write without records; the order is worked out again all the same.
    if (usage && !usage->records().isEmpty())
        usage->retain({});
    Q_EMIT m_promptStore.changed();
}

// --- Shortcuts ---

QWidget* SettingsView::makeShortcuts()
{
    QVBoxLayout* page = nullptr;
    QWidget* widget = pageWidget(toRawValue(SettingsCategory::shortcuts), page);
    QVBoxLayout* box = addSection(page, u"settings.shortcut"_s);
    addPanelShortcutGroup(box);
    box->addWidget(divider());
    addTileShortcutGroup(box);
    page->addStretch();
    return widget;
}

template <typename Value>
ShortcutRecorderButton* SettingsView::addRecorder(QVBoxLayout* box, const QString& key,
                                                 ShortcutRecorderOptions<Value> options, const QString& helpKey,
                                                 const QString& invalidKey)
{
    options.title = text(u"shortcut.record.none"_s);
    options.minWidth = recorderMinWidth;
    options.recordHelp = text(helpKey);
    options.invalidMessage = text(invalidKey);
    options.language = language();
    auto* recorder = new ShortcutRecorderButton(std::move(options));
    recorder->setObjectName(key);
    addRow(box, key)->addWidget(recorder);
    return recorder;
}

void SettingsView::addDefaultValue(QVBoxLayout* box, const QString& key, const QString& value)
{
    auto* label = new QLabel(value);
    label->setObjectName(key + u".value"_s);
    QFont semibold = font();
    semibold.setWeight(QFont::DemiBold);
    label->setFont(semibold);
    addRow(box, key)->addWidget(label);
}

// "Using default" while the value is the default, else the button that restores it; the caller shows
// one of the two. The record help closes the group.
std::pair<QWidget*, QWidget*> SettingsView::addDefaultState(QVBoxLayout* box, const QString& name,
                                                            std::function<void()> reset)
{
    QWidget* usingDefault = symbolLabel(u"checkmark.circle.fill"_s, VelmoraColors::green(),
                                        text(u"settings.shortcut.using.default"_s), name + u"UsingDefault"_s);
    auto* button = new VelmoraButton(VelmoraButtonStyle::settingsAction, {text(u"action.reset.shortcut"_s)});
    button->setObjectName(u"reset"_s + name.at(0).toUpper() + name.mid(1) + u"Shortcut"_s);
    connect(button, &QAbstractButton::clicked, this, std::move(reset));
    box->addWidget(usingDefault);
    box->addWidget(button, 0, Qt::AlignLeft);
    addHelp(box, u"settings.shortcut.record.help"_s, name + u"RecordHelp"_s);
    return {usingDefault, button};
}

void SettingsView::addPanelShortcutGroup(QVBoxLayout* box)
{
    ShortcutRecorderOptions<PromptKeyboardShortcut> options;
    options.shortcut = m_shortcutStore.togglePanelShortcut();
    options.displayString = &PromptKeyboardShortcut::displayString;
    options.shortcutFromEvent = &PromptKeyboardShortcut::fromEvent;
    options.onChange = [this](const std::optional<PromptKeyboardShortcut>& value) {
        if (value)
            m_shortcutStore.requestTogglePanelShortcut(*value);
    };
    m_panelRecorder = addRecorder(box, u"settings.current.shortcut"_s, options, u"shortcut.record.help"_s,
                                  u"shortcut.record.invalid"_s);
    m_panelRecorder->setHotKeyService(&m_hotKeyService);
    addDefaultValue(box, u"settings.default.shortcut"_s,
                    ShortcutSettingsStore::defaultTogglePanelShortcut.displayString());

    QLabel* status = wrappingLabel(QString());
    status->setObjectName(u"shortcutStatus"_s);
    box->addWidget(status);
    QLabel* facility = addHelp(box, u"linux.shortcut.facility.x11"_s, u"shortcutFacility"_s);
    QLabel* trigger = addHelp(box, u"linux.shortcut.trigger"_s, u"shortcutTrigger"_s);
    QWidget* unavailable = makeCommandHint();
    box->addWidget(unavailable);
    const auto [usingDefault, reset] = addDefaultState(box, u"panel"_s, [this] {
        m_shortcutStore.requestTogglePanelShortcut(ShortcutSettingsStore::defaultTogglePanelShortcut);
    });
    QWidget* recordHelp = box->itemAt(box->count() - 1)->widget();

    ShortcutRecorderButton* recorder = m_panelRecorder;
    m_syncs.push_back([=, this] {
        const DesktopSessionReport report = m_desktop.report();
        const bool offered = report.hotKeyFacility != DesktopSessionReport::HotKeyFacility::none;
        const HotKeyStatus& hotKey = m_shortcutStore.hotKeyStatus();
        const PromptKeyboardShortcut current = m_shortcutStore.togglePanelShortcut();
        recorder->setShortcut<PromptKeyboardShortcut>(current);
        recorder->setEnabled(offered);
        reset->setEnabled(offered);
        const QString message = shortcutStatusText(hotKey, report.hotKeyFacility, language());
        status->setText(message);
        status->setVisible(offered && !message.isEmpty());
        tint(status, shortcutStatusColor(hotKey.kind));
        unavailable->setVisible(!offered);
        recordHelp->setVisible(offered);
        if (report.hotKeyFacility == DesktopSessionReport::HotKeyFacility::portal)
            facility->setText(report.portalVersion
                                  ? text(u"linux.shortcut.facility.portal"_s).arg(*report.portalVersion)
                                  : text(u"linux.shortcut.facility.portal.checking"_s));
        else
            facility->setText(text(u"linux.shortcut.facility.x11"_s));
        facility->setVisible(offered);
        trigger->setText(text(u"linux.shortcut.trigger"_s).arg(report.triggerDescription));
        trigger->setVisible(offered && !report.triggerDescription.isEmpty());
        const bool isDefault = current == ShortcutSettingsStore::defaultTogglePanelShortcut;
        usingDefault->setVisible(isDefault);
        reset->setVisible(!isDefault);
    });
}

// Without a global shortcut facility the desktop's own keyboard settings take the command.
QWidget* SettingsView::makeCommandHint()
{
    auto* hint = new QWidget();
    hint->setObjectName(u"shortcutUnavailable"_s);
    auto* column = new QVBoxLayout(hint);
    column->setContentsMargins(0, 0, 0, 0);
    QLabel* help = wrappingLabel(text(u"linux.shortcut.none.help"_s), hint);
    help->setObjectName(u"linux.shortcut.none.help"_s);
    column->addWidget(help);
    auto* row = new QHBoxLayout();
    auto* command = new QLabel(QString::fromLatin1(toggleCommand), hint);
    command->setTextInteractionFlags(Qt::TextSelectableByMouse);
    command->setFont(QFont(u"monospace"_s));
    auto* copy = new VelmoraButton(VelmoraButtonStyle::settingsAction,
                                   {text(u"linux.shortcut.copy.command"_s), u"doc.on.doc"_s}, hint);
    copy->setObjectName(u"linux.shortcut.copy.command"_s);
    auto* copied = new QLabel(text(u"linux.shortcut.command.copied"_s), hint);
    copied->setObjectName(u"linux.shortcut.command.copied"_s);
    tint(copied, VelmoraColors::green());
    copied->hide();
    connect(copy, &QAbstractButton::clicked, this, [this, copied] {
        copied->setVisible(m_promptActionService.copyText(QString::fromLatin1(toggleCommand)) ==
                           PromptCopyResult::success);
    });
    row->addWidget(command);
    row->addWidget(copy);
    row->addWidget(copied);
    row->addStretch();
    column->addLayout(row);
    return hint;
}

void SettingsView::addTileShortcutGroup(QVBoxLayout* box)
{
    ShortcutRecorderOptions<PromptTileShortcut> options;
    options.shortcut = m_shortcutStore.promptTileShortcut();
    options.displayString = &SettingsView::tileDisplayString;
    options.shortcutFromEvent = &SettingsView::tileShortcutFromEvent;
    options.onChange = [this](const std::optional<PromptTileShortcut>& value) {
        if (value)
            m_shortcutStore.savePromptTileShortcut(*value);
    };
    m_tileRecorder = addRecorder(box, u"settings.prompt.tile.shortcut"_s, options, u"shortcut.tile.record.help"_s,
                                 u"shortcut.tile.record.invalid"_s);
    addDefaultValue(box, u"settings.default.tile.shortcut"_s,
                    tileDisplayString(ShortcutSettingsStore::defaultPromptTileShortcut));
    addHelp(box, u"settings.prompt.tile.shortcut.help"_s);
    const auto [usingDefault, reset] = addDefaultState(box, u"tile"_s, [this] {
        m_shortcutStore.savePromptTileShortcut(ShortcutSettingsStore::defaultPromptTileShortcut);
    });

    ShortcutRecorderButton* recorder = m_tileRecorder;
    m_syncs.push_back([this, recorder, usingDefault, reset] {
        const PromptTileShortcut current = m_shortcutStore.promptTileShortcut();
        recorder->setShortcut<PromptTileShortcut>(current);
        const bool isDefault = current.modifiersRawValue == ShortcutModifiers::command;
        usingDefault->setVisible(isDefault);
        reset->setVisible(!isDefault);
    });
}

// --- Updates ---

QWidget* SettingsView::makeUpdates()
{
    QVBoxLayout* page = nullptr;
    QWidget* widget = pageWidget(toRawValue(SettingsCategory::updates), page);
    QVBoxLayout* box = addSection(page, u"settings.updates.title"_s);
    addSwitch(
        box, u"settings.updates.auto.install"_s, [this] { return m_appUpdateController.automaticUpdatesEnabled(); },
        [this](bool on) { m_appUpdateController.setAutomaticUpdatesEnabled(on); },
        [this] { return m_appUpdateController.canToggleAutomaticUpdates(); });
    auto* check = new VelmoraButton(VelmoraButtonStyle::settingsAction,
                                    {text(u"action.check.updates"_s), u"arrow.triangle.2.circlepath"_s});
    check->setObjectName(u"action.check.updates"_s);
    connect(check, &QAbstractButton::clicked, this, [this] { m_appUpdateController.checkForUpdates(); });
    box->addWidget(check, 0, Qt::AlignLeft);
    QLabel* help = addHelp(box, u"settings.updates.placeholder"_s, u"updateHelpText"_s);
    QLabel* announced = wrappingLabel(QString());
    announced->setObjectName(u"announcedUpdate"_s);
    tint(announced, Brand::accent());
    box->addWidget(announced);
    m_syncs.push_back([this, help, announced] {
        help->setText(text(updateHelpKey(m_appUpdateController.isConfigured(),
                                         m_appUpdateController.automaticUpdatesEnabled())));
        const std::optional<UpdateAnnouncement>& update = m_appUpdateController.announcedUpdate();
        announced->setText(update ? text(u"linux.update.settings.available"_s).arg(update->displayVersion) : QString());
        announced->setVisible(update.has_value());
    });

    auto* links = new QLabel(u"<a href=\"%1\">%2</a> &nbsp;&nbsp; <a href=\"%3\">%4</a>"_s.arg(
        AppLinks::download().toString(QUrl::FullyEncoded), text(u"settings.download"_s).toHtmlEscaped(),
        AppLinks::support().toString(QUrl::FullyEncoded), text(u"settings.support"_s).toHtmlEscaped()));
    links->setObjectName(u"settingsLinks"_s);
    links->setTextFormat(Qt::RichText);
    links->setOpenExternalLinks(true);
    box->addWidget(links);
    page->addStretch();
    return widget;
}

// --- Rules ---

QString SettingsView::startupHelpKey(LaunchAtLoginStatus status, bool hasError)
{
    if (hasError || status == LaunchAtLoginStatus::unavailable)
        return u"settings.startup.error"_s;
    if (status == LaunchAtLoginStatus::requiresApproval)
        return u"settings.startup.requires.approval"_s;
    return u"settings.startup.help"_s;
}

QString SettingsView::updateHelpKey(bool isConfigured, bool automaticUpdatesEnabled)
{
    if (!isConfigured)
        return u"settings.updates.placeholder"_s;
    return automaticUpdatesEnabled ? u"settings.updates.auto.enabled.help"_s : u"settings.updates.auto.disabled.help"_s;
}

QColor SettingsView::shortcutStatusColor(HotKeyStatus::Kind kind)
{
    switch (kind) {
    case HotKeyStatus::Kind::failed:
    case HotKeyStatus::Kind::restoreFailed:
    case HotKeyStatus::Kind::invalid:
        return VelmoraColors::red();
    case HotKeyStatus::Kind::registered:
        return VelmoraColors::green();
    case HotKeyStatus::Kind::idle:
    case HotKeyStatus::Kind::registering:
        break;
    }
    return VelmoraColors::secondaryText();
}

QString SettingsView::shortcutStatusText(const HotKeyStatus& status, DesktopSessionReport::HotKeyFacility facility,
                                         AppLanguage language)
{
    if (status.kind == HotKeyStatus::Kind::failed && status.status == badAccess &&
        facility == DesktopSessionReport::HotKeyFacility::x11Grab)
        return L10n::text(u"linux.shortcut.x11.taken"_s, language).arg(status.shortcut.displayString());
    return status.message(language);
}

QStringList SettingsView::desktopLines(const DesktopSessionReport& report, AppLanguage language)
{
    const auto text = [language](const QString& key) { return L10n::text(key, language); };
    const QString checking = text(u"linux.desktop.checking"_s);
    const auto answer = [&](const std::optional<bool>& value, const QString& yes, const QString& no) {
        return value ? text(*value ? yes : no) : checking;
    };
    QString session;
    switch (report.session) {
    case DesktopSessionReport::Session::x11:
        session = text(u"linux.desktop.session.x11"_s);
        break;
    case DesktopSessionReport::Session::wayland:
        session = text(u"linux.desktop.session.wayland"_s);
        break;
    case DesktopSessionReport::Session::none:
        session = text(u"linux.desktop.session.none"_s);
        break;
    }
    QString hotKey;
    switch (report.hotKeyFacility) {
    case DesktopSessionReport::HotKeyFacility::x11Grab:
        hotKey = text(u"linux.desktop.hotkey.x11"_s);
        break;
    case DesktopSessionReport::HotKeyFacility::portal:
        hotKey = report.portalVersion ? text(u"linux.desktop.hotkey.portal"_s).arg(*report.portalVersion) : checking;
        break;
    case DesktopSessionReport::HotKeyFacility::none:
        hotKey = text(u"linux.desktop.hotkey.none"_s);
        break;
    }
    const QString desktop =
        report.currentDesktop.isEmpty() ? text(u"linux.desktop.name.unknown"_s) : report.currentDesktop;
    return {text(u"linux.desktop.session"_s).arg(session),
            text(u"linux.desktop.name"_s).arg(desktop),
            text(u"linux.desktop.hotkey"_s).arg(hotKey),
            text(u"linux.desktop.tray"_s)
                .arg(answer(report.hasTrayHost, u"linux.desktop.tray.available"_s, u"linux.desktop.tray.none"_s)),
            text(u"linux.desktop.sound"_s)
                .arg(answer(report.hasSoundServer, u"linux.desktop.sound.available"_s, u"linux.desktop.sound.none"_s)),
            text(u"linux.desktop.haptics"_s)};
}

std::optional<PromptTileShortcut> SettingsView::tileShortcutFromEvent(const ShortcutKeyEvent& event)
{
    if (!PromptTileShortcut::numberIndex(event))
        return std::nullopt;
    const quint64 modifiers = event.modifierFlags() & (ShortcutModifiers::shift | ShortcutModifiers::control |
                                                       ShortcutModifiers::option | ShortcutModifiers::command);
    if (!(modifiers & (ShortcutModifiers::control | ShortcutModifiers::option | ShortcutModifiers::command)))
        return std::nullopt;
    return PromptTileShortcut{modifiers};
}

QString SettingsView::tileDisplayString(const PromptTileShortcut& shortcut)
{
    return shortcut.modifierDisplay() + u"1..9"_s;
}
