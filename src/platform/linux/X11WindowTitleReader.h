// The title of the frontmost application's window on X11: _NET_WM_NAME (UTF-8), else WM_NAME. X11
// asks no permission, so needsAutomationPermission is never set. Without an X11 connection (a Wayland
// session, no display) every read reports that as its error.
#pragma once

#include "WindowTitleReading.h"

#include <QByteArray>
#include <QString>

class X11FrontmostApplicationProvider;

class X11WindowTitleReader : public WindowTitleReading {
public:
    // Reads the window the provider reports, on the provider's connection; the provider must outlive it.
    explicit X11WindowTitleReader(X11FrontmostApplicationProvider& provider);

    WindowTitleReadResult readFrontWindowTitle() override;

    // COMPOUND_TEXT as clients such as xterm write WM_NAME: Latin-1, with UTF-8 in the extended
    // segments between ESC % G and ESC % @. Other charset designations are skipped, their bytes read
    // as Latin-1.
    static QString decodeCompoundText(const QByteArray& bytes);

private:
    X11FrontmostApplicationProvider& m_provider;
    bool m_loggedUnavailable = false;
    quint32 m_utf8String = 0;
    quint32 m_netWMName = 0;
    quint32 m_compoundText = 0;
};
