// The push buttons of Velmora's windows, white on dark, in the shared styles: each shrinks a little
// while pressed (at once under reduce motion) and reads its enabled state. Being a QPushButton, one
// of a dialog's buttons can be its default (Return) button.
#pragma once

#include "VelmoraButtonLabel.h"

#include <QFont>
#include <QPushButton>

class VelmoraPressScale;

enum class VelmoraButtonStyle {
    bottomToolbar,  // the panel's bottom toolbar
    panelAction,    // actions in empty states and banners
    toolbar,        // small toolbar buttons, 30 high
    primary,        // the default action of sheets and the welcome guide
    secondary,      // the other buttons of sheets, the checklist, shortcut recorders
    settingsAction, // buttons of the settings form
};

// How one state of a style is drawn.
struct VelmoraButtonLook {
    double pressedScale = 0.98;
    QColor foreground;
    QColor backgroundTop; // a vertical gradient when the two differ
    QColor backgroundBottom;
    QColor border; // transparent: none
    double borderWidth = 1.0;
    double cornerRadius = 8.0;
    int minimumHeight = 28;
    int sidePadding = 12;
    QFont::Weight weight = QFont::Normal;
    double opacity = 1.0; // of the whole button

    static VelmoraButtonLook resolve(VelmoraButtonStyle style, bool isPrimary, bool isDestructive,
                                     bool enabled, bool pressed);
};

class VelmoraButton : public QPushButton {
    Q_OBJECT

public:
    VelmoraButton(VelmoraButtonStyle style, const VelmoraButtonLabel& label, QWidget* parent = nullptr);

    void setLabel(const VelmoraButtonLabel& label);
    const VelmoraButtonLabel& label() const { return m_label; }
    void setPrimary(bool isPrimary);
    void setDestructive(bool isDestructive);
    void setReduceMotion(bool reduceMotion) { m_reduceMotion = reduceMotion; }
    VelmoraButtonStyle buttonStyle() const { return m_style; }
    VelmoraButtonLook look() const;
    double pressScale() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QFont titleFont() const;

    VelmoraButtonStyle m_style;
    VelmoraButtonLabel m_label;
    bool m_isPrimary = false;
    bool m_isDestructive = false;
    bool m_reduceMotion = false;
    VelmoraPressScale* m_scale = nullptr;
};
