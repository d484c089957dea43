// The frontmost application on X11: the EWMH _NET_ACTIVE_WINDOW of the root window, watched on a
// connection of Velmora's own (so Qt's event selection on the root window is never touched), its
// WM_CLASS and _NET_WM_PID, and the desktop entry that stands for it. Windows of Velmora's own process
// never count: opening the panel doesn't change what the user works in.
#pragma once

#include "DesktopEntryIndex.h"
#include "DesktopSession.h"
#include "FrontmostApplicationProviding.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QStringList>
#include <memory>
#include <optional>

struct xcb_connection_t;

struct X11FrontmostApplicationOptions {
    DesktopSessionType session = desktopSessionType();
    // Empty: $DISPLAY.
    QByteArray displayName;
    // Absent: the XDG applications folders of this process's environment.
    std::optional<QStringList> applicationDirectories;
    qint64 ownProcessIdentifier = QCoreApplication::applicationPid();
};

class X11FrontmostApplicationProvider : public FrontmostApplicationProviding {
    Q_OBJECT

public:
    using Options = X11FrontmostApplicationOptions;

    // Connects at once in an X11 session. In any other session, or when the display can't be
    // reached, there is no frontmost application and no activation is ever signalled.
    explicit X11FrontmostApplicationProvider(Options options = {}, QObject* parent = nullptr);
    ~X11FrontmostApplicationProvider() override;

    std::optional<FrontmostApplication> frontmostApplication() const override;

    bool isConnected() const;
    DesktopSessionType session() const;

    // For the window-title reader, which shares the connection: the window that made the current
    // frontmost application (0 for none), and the handling of events that its requests queued.
    xcb_connection_t* connection() const;
    quint32 activeWindow() const;
    void processQueuedEvents();

private:
    struct Private;
    std::unique_ptr<Private> d;
};
