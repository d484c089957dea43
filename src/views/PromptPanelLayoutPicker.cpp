#include "PromptPanelLayoutPicker.h"

#include "PromptPanelLayout.h"
#include "VelmoraColors.h"
#include "VelmoraSymbolButton.h"

#include <QHBoxLayout>
#include <QPainter>

using namespace Qt::StringLiterals;

PromptPanelLayoutPicker::PromptPanelLayoutPicker(QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(inset, inset, inset, inset);
    row->setSpacing(spacing);
    for (const PromptPanelLayoutMode mode : PromptPanelLayout::allModes) {
        auto* button = new VelmoraSymbolButton(QString(), QSize(buttonSide, buttonSide), this);
        connect(button, &QAbstractButton::clicked, this, [this, mode] {
            if (onChange)
                onChange(mode);
        });
        row->addWidget(button);
        m_buttons.append(button);
    }
    setSelection(PromptPanelLayoutMode::grid, L10n::currentLanguage());
}

VelmoraSymbolButton* PromptPanelLayoutPicker::button(PromptPanelLayoutMode mode) const
{
    return m_buttons.at(mode == PromptPanelLayout::allModes[0] ? 0 : 1);
}

void PromptPanelLayoutPicker::setSelection(PromptPanelLayoutMode selection, AppLanguage language)
{
    m_selection = selection;
    for (const PromptPanelLayoutMode mode : PromptPanelLayout::allModes) {
        const bool chosen = mode == selection;
        VelmoraSymbolButton* each = button(mode);
        each->setName(L10n::text(PromptPanelLayout::accessibilityTitleKey(mode), language));
        each->setAccessibleValue(chosen ? L10n::text(u"prompt.selected"_s, language) : QString());
        each->setLook({PromptPanelLayout::pickerIcon(mode), 11.0, VelmoraColors::white(chosen ? 0.94 : 0.64),
                       chosen ? VelmoraColors::white(0.13) : QColor(Qt::transparent), 8.0});
    }
}

QSize PromptPanelLayoutPicker::sizeHint() const
{
    const int count = int(m_buttons.size());
    return {2 * inset + count * buttonSide + (count - 1) * spacing, 2 * inset + buttonSide};
}

void PromptPanelLayoutPicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(VelmoraColors::white(0.075));
    painter.drawRoundedRect(QRectF(rect()), 10.0, 10.0);
}
