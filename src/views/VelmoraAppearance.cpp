#include "VelmoraAppearance.h"

#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QScrollBar>
#include <QStyleFactory>
#include <QWidget>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

const QPalette& VelmoraAppearance::dark()
{
    static const QPalette palette = [] {
        QPalette result;
        const QColor text = Brand::textPrimary();
        const QColor base = Brand::surface();
        const QColor disabled = Brand::steel();
        result.setColor(QPalette::Window, Brand::neutral());
        result.setColor(QPalette::WindowText, text);
        result.setColor(QPalette::Base, base);
        result.setColor(QPalette::AlternateBase, base.lighter(120));
        result.setColor(QPalette::Text, text);
        result.setColor(QPalette::Button, base.lighter(130));
        result.setColor(QPalette::ButtonText, text);
        result.setColor(QPalette::BrightText, Qt::white);
        result.setColor(QPalette::Highlight, Brand::accent());
        result.setColor(QPalette::HighlightedText, Brand::onAccent());
        result.setColor(QPalette::Link, Brand::accent());
        result.setColor(QPalette::ToolTipBase, base);
        result.setColor(QPalette::ToolTipText, text);
        result.setColor(QPalette::PlaceholderText, disabled);
        for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
            result.setColor(QPalette::Disabled, role, disabled);
        return result;
    }();
    return palette;
}

QStyle* VelmoraAppearance::style()
{
    static QStyle* const fusion = QStyleFactory::create(u"Fusion"_s);
    return fusion;
}

void VelmoraAppearance::apply(QWidget* widget)
{
    // A style reaches no child by itself; the palette does.
    if (QStyle* fusion = style()) {
        widget->setStyle(fusion);
        const auto children = widget->findChildren<QWidget*>();
        for (QWidget* child : children)
            child->setStyle(fusion);
    }
    widget->setPalette(dark());
    // Thin rounded scroll bars without arrows, quiet on the dark glass.
    static const QString slim =
        u"QScrollBar:vertical { background: transparent; width: 10px; margin: 2px 2px 2px 0; }"
        "QScrollBar::handle:vertical { background: %1; border-radius: 4px; min-height: 28px; }"
        "QScrollBar::handle:vertical:hover { background: %2; }"
        "QScrollBar::add-line, QScrollBar::sub-line { height: 0; width: 0; }"
        "QScrollBar::add-page, QScrollBar::sub-page { background: transparent; }"_s.arg(
            VelmoraColors::white(0.22).name(QColor::HexArgb), VelmoraColors::white(0.36).name(QColor::HexArgb));
    const auto bars = widget->findChildren<QScrollBar*>();
    for (QScrollBar* bar : bars)
        bar->setStyleSheet(slim);
}
