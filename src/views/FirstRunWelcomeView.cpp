#include "FirstRunWelcomeView.h"

#include "AppLanguageStore.h"
#include "FirstRunWelcomeStep.h"
#include "PromptPanelPreferences.h"
#include "ShortcutSettingsStore.h"
#include "VelmoraAppearance.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>

using namespace Qt::StringLiterals;

FirstRunWelcomeView::FirstRunWelcomeView(ShortcutSettingsStore& shortcutStore, AppLanguageStore& languageStore,
                                         PromptPanelPreferences& preferences, DesktopSessionProbing* desktop,
                                         Actions actions, QWidget* parent)
    : QWidget(parent), m_shortcutStore(shortcutStore), m_languageStore(languageStore), m_preferences(preferences),
      m_desktop(desktop), m_actions(std::move(actions))
{
    setFixedSize(contentWidth, contentHeight);
    setAutoFillBackground(true);
    auto* frame = new QVBoxLayout(this);
    frame->setContentsMargins(0, 0, 0, 0);
    // Texts are fixed at building: what they show is built again when it changes.
    const auto rebuildLater = [this] { QMetaObject::invokeMethod(this, &FirstRunWelcomeView::rebuild, Qt::QueuedConnection); };
    connect(&m_languageStore, &AppLanguageStore::selectionChanged, this, rebuildLater);
    connect(&m_shortcutStore, &ShortcutSettingsStore::togglePanelShortcutChanged, this, rebuildLater);
    connect(&m_preferences, &PromptPanelPreferences::textSizeChanged, this, rebuildLater);
    if (m_desktop)
        connect(m_desktop, &DesktopSessionProbing::reportChanged, this, rebuildLater);
    rebuild();
}

QList<FirstRunWelcomeStep*> FirstRunWelcomeView::steps() const
{
    return m_content ? m_content->findChildren<FirstRunWelcomeStep*>() : QList<FirstRunWelcomeStep*>();
}

void FirstRunWelcomeView::keyPressEvent(QKeyEvent* event)
{
    // Creating the first workspace is the default action.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && m_create->isEnabled()) {
        m_create->click();
        return;
    }
    QWidget::keyPressEvent(event);
}

void FirstRunWelcomeView::rebuild()
{
    const AppLanguage language = m_languageStore.effectiveLanguage();
    const auto text = [language](const char* key) { return L10n::text(QString::fromLatin1(key), language); };
    const PromptPanelTextSize size = m_preferences.textSize();
    promptInterfaceTextSize(this, size);
    delete m_content;
    m_content = new QWidget(this);
    layout()->addWidget(m_content);
    auto* column = new QVBoxLayout(m_content);
    column->setContentsMargins(28, 28, 28, 28);
    column->setSpacing(22);

    auto* heading = new QVBoxLayout();
    heading->setSpacing(6);
    auto* title = new QLabel(text("first.welcome.title"), m_content);
    title->setObjectName(u"first.welcome.title"_s);
    QFont large = textStyleFont(PromptTextStyle::title2, size);
    large.setPixelSize(large.pixelSize() * 3 / 2);
    large.setWeight(QFont::Bold);
    title->setFont(large);
    auto* subtitle = new QLabel(text("first.welcome.subtitle"), m_content);
    subtitle->setObjectName(u"first.welcome.subtitle"_s);
    subtitle->setWordWrap(true);
    QPalette secondary = subtitle->palette();
    secondary.setColor(QPalette::WindowText, VelmoraColors::secondaryText());
    subtitle->setPalette(secondary);
    heading->addWidget(title);
    heading->addWidget(subtitle);
    column->addLayout(heading);

    const bool hasHotKey = !m_desktop || m_desktop->report().hotKeyFacility !=
                                             DesktopSessionReport::HotKeyFacility::none;
    const QString openDetail = hasHotKey ? text("first.welcome.step.open.detail")
                                               .arg(m_shortcutStore.togglePanelShortcut().displayString())
                                         : text("linux.first.welcome.step.open.detail.none");
    auto* cards = new QVBoxLayout();
    cards->setSpacing(12);
    cards->addWidget(new FirstRunWelcomeStep(1, u"menubar.rectangle"_s, text("first.welcome.step.open.title"),
                                             openDetail, m_content));
    cards->addWidget(new FirstRunWelcomeStep(
        2, u"folder.badge.plus"_s, text("first.welcome.step.workspace.title"),
        text("first.welcome.step.workspace.detail") + u'\n' + text("linux.first.welcome.step.workspace.matching"),
        m_content));
    cards->addWidget(new FirstRunWelcomeStep(3, u"doc.on.doc"_s, text("first.welcome.step.copy.title"),
                                             text("first.welcome.step.copy.detail"), m_content));
    column->addLayout(cards);

    auto* privacy = new QHBoxLayout();
    privacy->setSpacing(8);
    auto* lock = new QLabel(m_content);
    lock->setPixmap(QPixmap::fromImage(
        VelmoraSymbols::image(u"lock.shield"_s, 16, VelmoraColors::secondaryText(), devicePixelRatioF())));
    auto* privacyText = new QLabel(text("first.welcome.privacy"), m_content);
    privacyText->setObjectName(u"first.welcome.privacy"_s);
    privacyText->setWordWrap(true);
    privacyText->setPalette(secondary);
    privacy->addWidget(lock, 0, Qt::AlignTop);
    privacy->addWidget(privacyText, 1);
    column->addLayout(privacy);
    column->addStretch();

    auto* buttons = new QHBoxLayout();
    buttons->setSpacing(10);
    buttons->addStretch();
    m_later = new VelmoraButton(VelmoraButtonStyle::secondary, {text("first.welcome.later")}, m_content);
    m_later->setObjectName(u"first.welcome.later"_s);
    m_openPanel = new VelmoraButton(VelmoraButtonStyle::secondary, {text("first.welcome.open.panel")}, m_content);
    m_openPanel->setObjectName(u"first.welcome.open.panel"_s);
    m_create = new VelmoraButton(VelmoraButtonStyle::primary,
                                 {text("action.create.first.workspace"), u"folder.badge.plus"_s}, m_content);
    m_create->setObjectName(u"action.create.first.workspace"_s);
    m_create->setPrimary(true);
    const auto run = [](const std::function<void()>& action) {
        return [action] {
            if (action)
                action();
        };
    };
    connect(m_later, &QAbstractButton::clicked, this, run(m_actions.onDismiss));
    connect(m_openPanel, &QAbstractButton::clicked, this, run(m_actions.onOpenPanel));
    connect(m_create, &QAbstractButton::clicked, this, run(m_actions.onCreateWorkspace));
    buttons->addWidget(m_later);
    buttons->addWidget(m_openPanel);
    buttons->addWidget(m_create);
    column->addLayout(buttons);
    VelmoraAppearance::apply(this);
    m_create->setFocus();
}
