// What the status item says and offers, as plain values built from a prompt count and a language: its
// accessibility texts, the mouse releases it acts on, and its menu. The capsule and the tray icon
// take these; nothing here needs a window system.
#pragma once

#include "AppLanguage.h"

#include <QList>
#include <QString>
#include <optional>

// The mouse events a status button tells apart, numbered as the event types of the status item.
namespace StatusItemEventType {
inline constexpr int leftMouseUp = 2;
inline constexpr int rightMouseUp = 4;
} // namespace StatusItemEventType

// Bits of the events a status button sends its action on: bit n stands for event type n.
namespace StatusItemEventMask {
inline constexpr quint64 leftMouseUp = 1u << 2;
inline constexpr quint64 rightMouseUp = 1u << 4;
} // namespace StatusItemEventMask

struct StatusItemButtonConfiguration {
    QString attributedTitle;
    QString accessibilityLabel;
    QString accessibilityHelp;
    quint64 eventMask = StatusItemEventMask::leftMouseUp | StatusItemEventMask::rightMouseUp;

    bool operator==(const StatusItemButtonConfiguration&) const = default;
};

enum class StatusItemMenuCommand { open, manageWorkspaces, settings, welcomeGuide, reload, quit };

struct StatusItemMenuPresentation {
    StatusItemMenuCommand command = StatusItemMenuCommand::open;
    QString title;
    QString keyEquivalent; // one character, taken with the platform's command modifier; or empty
    bool beginsSection = false;

    bool operator==(const StatusItemMenuPresentation&) const = default;
};

struct StatusItemPresentation {
    QString attributedTitle; // always empty: the item shows the capsule alone
    QString accessibilityLabel;
    QString accessibilityHelp;
    StatusItemButtonConfiguration buttonConfiguration;
    QList<StatusItemMenuPresentation> menuItems;

    bool operator==(const StatusItemPresentation&) const = default;

    // `title` has no part in the record; an absent language is the current one. A negative count
    // stands for "not known" and gives the product name as the label.
    StatusItemPresentation(const QString& title, qint64 count,
                           std::optional<AppLanguage> language = std::nullopt);
};

// Whatever takes a button configuration: the capsule window here.
class StatusItemButtonConfiguring {
public:
    virtual ~StatusItemButtonConfiguring() = default;
    virtual void apply(const StatusItemButtonConfiguration& configuration) = 0;
};
