#include "VelmoraBrandFieldModifier.h"

#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QLineEdit>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {

QString css(const QColor& color)
{
    return u"rgba(%1, %2, %3, %4)"_s.arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alphaF());
}

} // namespace

void VelmoraBrandFieldModifier::apply(QLineEdit* field)
{
    // The focused border is one point wider; the padding shrinks by as much, so the text stays put.
    field->setStyleSheet(u"QLineEdit { background: %1; color: %2; border: 1px solid %3; border-radius: 8px;"
                         " padding: 0px 8px; selection-background-color: %4; selection-color: %5; }"
                         " QLineEdit:focus { border: 2px solid %4; padding: 0px 7px; }"_s
                             .arg(css(VelmoraColors::withOpacity(Brand::neutral(), 0.72)),
                                  css(Brand::textPrimary()), css(Brand::border()), css(Brand::accent()))
                             .arg(css(Brand::onAccent())));
    field->setMinimumHeight(minimumHeight);
    field->setFrame(true);
}
