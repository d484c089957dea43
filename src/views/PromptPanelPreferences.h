// The tile layout and the interface text size, one object over the preferences that every open view
// shares, so a change made anywhere shows everywhere at once. Main thread only.
#pragma once

#include "PromptPanelLayoutMode.h"
#include "PromptPanelTextSize.h"

#include <QObject>

class QSettings;

class PromptPanelPreferences : public QObject {
    Q_OBJECT

public:
    static constexpr auto layoutModeKey = "Velmora.panelLayoutMode.v1";
    static constexpr auto textSizeKey = "Velmora.panelTextSize.v1";

    // Reads both at once; absent or unknown values give grid and system.
    explicit PromptPanelPreferences(QSettings* defaults, QObject* parent = nullptr);

    PromptPanelLayoutMode layoutMode() const { return m_layoutMode; }
    PromptPanelTextSize textSize() const { return m_textSize; }

    // Each writes its key and notifies, only on a real change.
    void setLayoutMode(PromptPanelLayoutMode mode);
    void setTextSize(PromptPanelTextSize size);

Q_SIGNALS:
    void layoutModeChanged(PromptPanelLayoutMode mode);
    void textSizeChanged(PromptPanelTextSize size);

private:
    QSettings* m_defaults;
    PromptPanelLayoutMode m_layoutMode = PromptPanelLayoutMode::grid;
    PromptPanelTextSize m_textSize = PromptPanelTextSize::system;
};
