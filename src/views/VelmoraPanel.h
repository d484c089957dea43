// The one floating panel: a frameless, translucent window above all others that can take the keyboard
// focus for its search field without becoming a main window. While it ignores mouse events the
// pointer passes through it, as through an empty input shape.
#pragma once

#include <QWidget>

class VelmoraPanel : public QWidget {
    Q_OBJECT

public:
    explicit VelmoraPanel(QWidget* parent = nullptr);

    bool canBecomeKey() const { return true; }
    bool canBecomeMain() const { return false; }

    void setIgnoresMouseEvents(bool ignores);
    bool ignoresMouseEvents() const { return m_ignoresMouseEvents; }

private:
    bool m_ignoresMouseEvents = false;
};
