// The row of layout buttons at the end of the first section's heading: one symbol button per
// layout, the chosen one brighter on a light backing. A click hands the layout to onChange.
#pragma once

#include "AppLanguage.h"
#include "PromptPanelLayoutMode.h"

#include <QWidget>
#include <functional>

class VelmoraSymbolButton;

class PromptPanelLayoutPicker : public QWidget {
    Q_OBJECT

public:
    static constexpr int buttonSide = 34;
    static constexpr int spacing = 2;
    static constexpr int inset = 2;

    explicit PromptPanelLayoutPicker(QWidget* parent = nullptr);

    std::function<void(PromptPanelLayoutMode)> onChange;

    void setSelection(PromptPanelLayoutMode selection, AppLanguage language);
    PromptPanelLayoutMode selection() const { return m_selection; }
    VelmoraSymbolButton* button(PromptPanelLayoutMode mode) const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QList<VelmoraSymbolButton*> m_buttons; // in the order of the layouts
    PromptPanelLayoutMode m_selection = PromptPanelLayoutMode::grid;
};
