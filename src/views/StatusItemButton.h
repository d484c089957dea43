// The status item's button: a small frameless window that floats above everything, never takes the
// focus, and sends its action when a mouse button it listens for is released over it. The capsule
// view lies on it and draws its face.
#pragma once

#include "StatusItemPresentation.h"

#include <QWidget>
#include <functional>

class StatusItemButton : public QWidget, public StatusItemButtonConfiguring {
    Q_OBJECT

public:
    // The release that sent the action: its event type (StatusItemEventType) and the server time.
    struct Event {
        int type = 0;
        quint32 timestamp = 0;
    };

    static constexpr QSize defaultSize{38, 24};

    explicit StatusItemButton(QWidget* parent = nullptr);

    std::function<void(const Event&)> action;

    void apply(const StatusItemButtonConfiguration& configuration) override;
    const StatusItemButtonConfiguration& configuration() const { return m_configuration; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    StatusItemButtonConfiguration m_configuration;
};
