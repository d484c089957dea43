// The control that captures a shortcut, for a prompt and in the settings, over either shortcut value:
// a press starts recording, and the next key press in the window becomes the value, or is refused
// with a message, or (Escape) ends the recording with the value as it was. While recording it takes
// every key press and shortcut of its window before any control, so no shortcut of Velmora's fires,
// and the panel shortcut's global grab is let go, so that its combination can be recorded too.
#pragma once

#include "AppLanguage.h"
#include "KeyboardShortcutModels.h"

#include <QWidget>
#include <any>
#include <functional>
#include <optional>

class HotKeyService;
class QLabel;
class VelmoraButton;

template <typename Value> struct ShortcutRecorderOptions {
    QString title;                          // shown while there is no value
    std::optional<Value> shortcut;          // the current value
    double minWidth = 0;
    bool allowsClear = false;
    QString recordHelp;                     // the message while waiting for a key
    QString invalidMessage;                 // the message after a key that makes no shortcut
    std::function<QString(const Value&)> displayString = nullptr;
    std::function<std::optional<Value>(const ShortcutKeyEvent&)> shortcutFromEvent = nullptr;
    std::function<void(const std::optional<Value>&)> onChange = nullptr;
    AppLanguage language = AppLanguage::english;
};

class ShortcutRecorderButton : public QWidget {
    Q_OBJECT

public:
    template <typename Value>
    explicit ShortcutRecorderButton(ShortcutRecorderOptions<Value> options, QWidget* parent = nullptr)
        : ShortcutRecorderButton(erased(std::move(options)), parent)
    {}
    ~ShortcutRecorderButton() override;

    // The value as its owner now holds it (a store may have refused the recorded one).
    template <typename Value> void setShortcut(const std::optional<Value>& shortcut)
    {
        m_options.shortcut = shortcut ? std::any(*shortcut) : std::any();
        refresh();
    }
    template <typename Value> std::optional<Value> shortcut() const
    {
        if (const Value* value = std::any_cast<Value>(&m_options.shortcut))
            return *value;
        return std::nullopt;
    }

    // The service whose grab recording suspends (it outlives the button); none: nothing is suspended.
    void setHotKeyService(HotKeyService* service) { m_hotKeyService = service; }

    QString buttonTitle() const;
    bool isRecording() const { return m_keyMonitor != nullptr; }
    const QString& recorderMessage() const { return m_recorderMessage; }
    VelmoraButton* button() const { return m_button; }
    VelmoraButton* clearButton() const { return m_clearButton; }
    QLabel* messageLabel() const { return m_messageLabel; }

    void startRecording();
    void stopRecording();

protected:
    void hideEvent(QHideEvent* event) override;

private:
    struct Options {
        QString title;
        std::any shortcut; // empty: none
        double minWidth = 0;
        bool allowsClear = false;
        QString recordHelp;
        QString invalidMessage;
        std::function<QString(const std::any&)> displayString;
        std::function<std::any(const ShortcutKeyEvent&)> shortcutFromEvent;
        std::function<void(const std::any&)> onChange;
        AppLanguage language = AppLanguage::english;
    };
    template <typename Value> static Options erased(ShortcutRecorderOptions<Value> options)
    {
        const auto typed = [](const std::any& value) {
            return value.has_value() ? std::optional<Value>(std::any_cast<Value>(value)) : std::nullopt;
        };
        return {options.title,
                options.shortcut ? std::any(*options.shortcut) : std::any(),
                options.minWidth,
                options.allowsClear,
                options.recordHelp,
                options.invalidMessage,
                [display = options.displayString](const std::any& value) {
                    return display(std::any_cast<Value>(value));
                },
                [fromEvent = options.shortcutFromEvent](const ShortcutKeyEvent& event) {
                    const std::optional<Value> value = fromEvent(event);
                    return value ? std::any(*value) : std::any();
                },
                [onChange = options.onChange, typed](const std::any& value) {
                    if (onChange)
                        onChange(typed(value));
                },
                options.language};
    }

    ShortcutRecorderButton(Options options, QWidget* parent);
    // The monitor's handler: every key press addressed to this window while recording.
    void handleKeyPress(const ShortcutKeyEvent& event);
    void change(const std::any& value);
    void setRecorderMessage(const QString& message);
    void refresh();

    friend class ShortcutRecorderKeyMonitor;
    Options m_options;
    QString m_recorderMessage;
    QObject* m_keyMonitor = nullptr;
    HotKeyService* m_hotKeyService = nullptr;
    bool m_suspendedHotKey = false;
    VelmoraButton* m_button = nullptr;
    VelmoraButton* m_clearButton = nullptr;
    QLabel* m_messageLabel = nullptr;
};
