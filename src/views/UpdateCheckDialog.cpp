#include "UpdateCheckDialog.h"

#include "Localization.h"
#include "UpdateCheckErrors.h"

#include <QDesktopServices>
#include <QHBoxLayout>
#include <QLabel>
#include <QPalette>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// The brand colours of Velmora's dark windows.
const QColor surface = QColor::fromRgbF(0.0784f, 0.0941f, 0.1569f);
const QColor neutral = QColor::fromRgbF(0.0431f, 0.0549f, 0.102f);
const QColor textPrimary = QColor::fromRgbF(0.949f, 0.949f, 0.9608f);
const QColor steel = QColor::fromRgbF(0.4784f, 0.5255f, 0.6f);
const QColor accent = QColor::fromRgbF(1.0f, 0.3019f, 0.4941f);
const QColor onAccent = QColor::fromRgbF(0.0431f, 0.0549f, 0.102f);

QPalette darkPalette()
{
    QPalette palette;
    const QColor raised = surface.lighter(150);
    palette.setColor(QPalette::Window, surface);
    palette.setColor(QPalette::WindowText, textPrimary);
    palette.setColor(QPalette::Base, neutral);
    palette.setColor(QPalette::AlternateBase, surface);
    palette.setColor(QPalette::Text, textPrimary);
    palette.setColor(QPalette::PlaceholderText, steel);
    palette.setColor(QPalette::Button, raised);
    palette.setColor(QPalette::ButtonText, textPrimary);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, onAccent);
    palette.setColor(QPalette::Light, raised.lighter(130));
    palette.setColor(QPalette::Midlight, raised);
    palette.setColor(QPalette::Mid, steel);
    palette.setColor(QPalette::Dark, neutral);
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, steel);
    palette.setColor(QPalette::Disabled, QPalette::Text, steel);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, steel);
    return palette;
}

QString buttonStyle()
{
    return u"QPushButton { background: %1; color: %2; border: 1px solid %3; border-radius: 6px;"
           u" padding: 6px 16px; min-width: 72px; }"
           u"QPushButton:hover { border-color: %2; }"
           u"QPushButton:focus { border-color: %2; }"
           u"QPushButton#download { background: %4; color: %5; border-color: %4; font-weight: bold; }"
           u"QPushButton#download:hover { background: %6; }"_s.arg(
               surface.lighter(150).name(), textPrimary.name(), steel.name(), accent.name(), onAccent.name(),
               accent.lighter(112).name());
}

} // namespace

UpdateCheckDialog::UpdateCheckDialog(LanguageProvider languageProvider, QWidget* parent)
    : QDialog(parent), m_languageProvider(std::move(languageProvider))
{
    setModal(false);
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    setAutoFillBackground(true);
    setPalette(darkPalette());

    m_titleLabel = new QLabel(this);
    QFont titleFont = m_titleLabel->font();
    titleFont.setPixelSize(16);
    titleFont.setBold(true);
    m_titleLabel->setFont(titleFont);
    m_titleLabel->setWordWrap(true);

    m_messageLabel = new QLabel(this);
    m_messageLabel->setWordWrap(true);
    m_messageLabel->setTextFormat(Qt::PlainText);
    QPalette secondary = m_messageLabel->palette();
    secondary.setColor(QPalette::WindowText, textPrimary.darker(125));
    m_messageLabel->setPalette(secondary);

    m_progress = new QProgressBar(this);
    m_progress->setRange(0, 0); // busy: the check has no measurable progress
    m_progress->setTextVisible(false);
    m_progress->setFixedHeight(6);
    m_progress->setStyleSheet(
        u"QProgressBar { background: %1; border: none; border-radius: 3px; }"
        u"QProgressBar::chunk { background: %2; border-radius: 3px; }"_s.arg(neutral.name(), accent.name()));

    m_downloadButton = new QPushButton(this);
    m_downloadButton->setObjectName(u"download"_s);
    m_closeButton = new QPushButton(this);
    // Only on the buttons: a style sheet on the dialog would take its palette from its labels.
    for (QPushButton* button : {m_downloadButton, m_closeButton})
        button->setStyleSheet(buttonStyle());

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_closeButton);
    buttons->addWidget(m_downloadButton);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 22, 24, 20);
    layout->setSpacing(10);
    layout->addWidget(m_titleLabel);
    layout->addWidget(m_messageLabel);
    layout->addWidget(m_progress);
    layout->addSpacing(8);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    m_titleLabel->setFixedWidth(380);
    m_messageLabel->setFixedWidth(380);

    connect(m_closeButton, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_downloadButton, &QPushButton::clicked, this, [this] {
        if (m_downloadLink.isValid())
            QDesktopServices::openUrl(m_downloadLink);
        accept();
    });

    showChecking();
}

QString UpdateCheckDialog::text(const QString& key) const
{
    const AppLanguage language = m_languageProvider ? m_languageProvider() : L10n::currentLanguage();
    return AppLocalizationCatalog::shared().string(key, language);
}

QString UpdateCheckDialog::titleText() const
{
    return m_titleLabel->text();
}

QString UpdateCheckDialog::messageText() const
{
    return m_messageLabel->text();
}

void UpdateCheckDialog::setState(State state, const QString& title, const QString& message)
{
    m_state = state;
    setWindowTitle(text(u"linux.update.window.title"_s));
    m_titleLabel->setText(title);
    m_messageLabel->setText(message);
    m_messageLabel->setVisible(!message.isEmpty());
    m_progress->setVisible(state == State::checking);
    m_downloadButton->setText(text(u"linux.update.download"_s));
    m_downloadButton->setVisible(state == State::updateAvailable);
    m_closeButton->setText(text(state == State::checking ? u"action.cancel"_s : u"linux.update.close"_s));
    QPushButton* preferred = state == State::updateAvailable ? m_downloadButton : m_closeButton;
    preferred->setDefault(true);
    preferred->setFocus();
    (preferred == m_downloadButton ? m_closeButton : m_downloadButton)->setDefault(false);
    // Lay out now, so that the window never shows a moment of the previous state's geometry.
    layout()->activate();
}

void UpdateCheckDialog::showChecking()
{
    m_downloadLink = QUrl();
    setState(State::checking, text(u"linux.update.checking"_s), QString());
}

void UpdateCheckDialog::showOutcome(const UpdateCheckOutcome& outcome)
{
    switch (outcome.kind) {
    case UpdateCheckOutcome::Kind::upToDate:
        m_downloadLink = QUrl();
        setState(State::upToDate, text(u"linux.update.up.to.date.title"_s),
                 text(u"linux.update.up.to.date.message"_s).arg(outcome.currentVersion));
        return;
    case UpdateCheckOutcome::Kind::updateAvailable: {
        const UpdateAnnouncement announcement = outcome.announcement.value_or(UpdateAnnouncement{});
        m_downloadLink = announcement.link;
        setState(State::updateAvailable, text(u"linux.update.available.title"_s),
                 text(u"linux.update.available.message"_s)
                     .arg(announcement.displayVersion, outcome.currentVersion));
        return;
    }
    case UpdateCheckOutcome::Kind::failed:
        m_downloadLink = QUrl();
        setState(State::failed, text(u"linux.update.failed.title"_s),
                 text(UpdateCheckErrors::textKey(outcome.failure.value_or(UpdateCheckFailure::feed))));
        return;
    }
}

UpdateCheckDialogPresenter::UpdateCheckDialogPresenter(UpdateCheckDialog::LanguageProvider languageProvider)
    : m_languageProvider(std::move(languageProvider))
{}

UpdateCheckDialogPresenter::~UpdateCheckDialogPresenter()
{
    delete m_dialog;
}

void UpdateCheckDialogPresenter::presentChecking()
{
    if (!m_dialog)
        m_dialog = new UpdateCheckDialog(m_languageProvider);
    m_dialog->showChecking();
    m_dialog->show();
    m_dialog->raise();
    m_dialog->activateWindow();
}

void UpdateCheckDialogPresenter::presentOutcome(const UpdateCheckOutcome& outcome)
{
    if (m_dialog && m_dialog->isVisible())
        m_dialog->showOutcome(outcome);
}
