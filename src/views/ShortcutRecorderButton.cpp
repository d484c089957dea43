#include "ShortcutRecorderButton.h"

#include "EditorSheetParts.h"
#include "HotKeyService.h"
#include "VelmoraButton.h"
#include "VelmoraColors.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QVBoxLayout>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 escapeKeyCode = 53;

} // namespace

// The local key monitor: an application-wide filter that takes the key presses and shortcut
// overrides addressed to the recorder's window. Text from an input method isn't a key press and
// passes untouched.
class ShortcutRecorderKeyMonitor : public QObject {
public:
    explicit ShortcutRecorderKeyMonitor(ShortcutRecorderButton* recorder) : QObject(recorder), m_recorder(recorder)
    {
        setObjectName(u"shortcutRecorderKeyMonitor"_s);
        qApp->installEventFilter(this);
    }
    ~ShortcutRecorderKeyMonitor() override { qApp->removeEventFilter(this); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() != QEvent::KeyPress && event->type() != QEvent::ShortcutOverride)
            return false;
        if (!addressedToRecorderWindow(watched))
            return false;
        event->accept();
        // An accepted override keeps the key from being a shortcut; the press that follows is handled.
        if (event->type() == QEvent::KeyPress)
            m_recorder->handleKeyPress(ShortcutKeyEvent::from(*static_cast<QKeyEvent*>(event)));
        return true;
    }

private:
    bool addressedToRecorderWindow(QObject* watched) const
    {
        const QWidget* window = m_recorder->window();
        if (const auto* widget = qobject_cast<QWidget*>(watched))
            return widget->window() == window;
        if (const auto* handle = qobject_cast<QWindow*>(watched))
            return handle == window->windowHandle();
        return false;
    }

    ShortcutRecorderButton* m_recorder;
};

ShortcutRecorderButton::ShortcutRecorderButton(Options options, QWidget* parent)
    : QWidget(parent), m_options(std::move(options))
{
    const AppLanguage language = m_options.language;
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(8);
    auto* row = new QHBoxLayout();
    row->setSpacing(8);
    m_button = new VelmoraButton(VelmoraButtonStyle::secondary, {}, this);
    m_button->setMinimumWidth(int(m_options.minWidth));
    m_button->setToolTip(L10n::text(u"help.shortcut.record"_s, language));
    // Return stays the sheet's default action, even with the focus here.
    m_button->setAutoDefault(false);
    connect(m_button, &QAbstractButton::clicked, this, &ShortcutRecorderButton::startRecording);
    row->addWidget(m_button);
    if (m_options.allowsClear) {
        m_clearButton = new VelmoraButton(VelmoraButtonStyle::secondary,
                                          {L10n::text(u"action.clear.shortcut"_s, language)}, this);
        m_clearButton->setAutoDefault(false);
        connect(m_clearButton, &QAbstractButton::clicked, this, [this] { change(std::any()); });
        row->addWidget(m_clearButton);
    }
    row->addStretch();
    column->addLayout(row);
    m_messageLabel = EditorSheetParts::secondaryCaption({}, this);
    m_messageLabel->hide();
    column->addWidget(m_messageLabel);
    refresh();
}

ShortcutRecorderButton::~ShortcutRecorderButton()
{
    stopRecording();
}

QString ShortcutRecorderButton::buttonTitle() const
{
    if (isRecording())
        return L10n::text(u"shortcut.recording"_s, m_options.language);
    if (m_options.shortcut.has_value())
        return m_options.displayString(m_options.shortcut);
    return m_options.title;
}

void ShortcutRecorderButton::startRecording()
{
    stopRecording();
    m_keyMonitor = new ShortcutRecorderKeyMonitor(this);
    if (m_hotKeyService) {
        m_hotKeyService->suspendForRecording();
        m_suspendedHotKey = true;
    }
    setRecorderMessage(m_options.recordHelp);
}

void ShortcutRecorderButton::stopRecording()
{
    if (m_keyMonitor) {
        delete m_keyMonitor;
        m_keyMonitor = nullptr;
    }
    if (m_suspendedHotKey) {
        m_suspendedHotKey = false;
        if (m_hotKeyService)
            m_hotKeyService->resumeAfterRecording();
    }
    setRecorderMessage({});
}

void ShortcutRecorderButton::hideEvent(QHideEvent* event)
{
    stopRecording();
    QWidget::hideEvent(event);
}

void ShortcutRecorderButton::handleKeyPress(const ShortcutKeyEvent& event)
{
    if (event.keyCode() == escapeKeyCode) {
        stopRecording();
        return;
    }
    const std::any value = m_options.shortcutFromEvent(event);
    if (!value.has_value()) {
        setRecorderMessage(m_options.invalidMessage);
        return;
    }
    change(value);
    stopRecording();
}

void ShortcutRecorderButton::change(const std::any& value)
{
    m_options.shortcut = value;
    refresh();
    m_options.onChange(value);
}

void ShortcutRecorderButton::setRecorderMessage(const QString& message)
{
    m_recorderMessage = message;
    refresh();
}

void ShortcutRecorderButton::refresh()
{
    m_button->setLabel({buttonTitle(), u"record.circle"_s});
    if (m_clearButton)
        m_clearButton->setEnabled(m_options.shortcut.has_value());
    m_messageLabel->setText(m_recorderMessage);
    m_messageLabel->setVisible(!m_recorderMessage.isEmpty());
}
