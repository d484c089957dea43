// The desktop's answer to "which application is the user in": the application that owns the active
// window, and a signal each time another one becomes active. Velmora's own windows never count.
#pragma once

#include <QObject>
#include <QString>
#include <optional>

struct FrontmostApplication {
    QString name;
    // The platform's identity of the application (on Linux the desktop-entry id, else the WM_CLASS class).
    std::optional<QString> bundleIdentifier;
    qint64 processIdentifier = 0; // 0 when the window doesn't say

    bool operator==(const FrontmostApplication&) const = default;
};

class FrontmostApplicationProviding : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;
    ~FrontmostApplicationProviding() override;

    // None when the desktop can't tell (no X11, no active window yet).
    virtual std::optional<FrontmostApplication> frontmostApplication() const = 0;

Q_SIGNALS:
    // Another window became active. Emitted on the thread the provider lives on.
    void applicationActivated();
};
