#include "VelmoraSymbolButton.h"

#include "VelmoraSymbols.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::StringLiterals;

namespace {

class SymbolButtonAccessible : public QAccessibleWidget {
public:
    explicit SymbolButtonAccessible(QWidget* widget) : QAccessibleWidget(widget, QAccessible::Button) {}

    QString text(QAccessible::Text kind) const override
    {
        if (kind == QAccessible::Value)
            return static_cast<const VelmoraSymbolButton*>(widget())->accessibleValue();
        return QAccessibleWidget::text(kind);
    }

    QStringList actionNames() const override { return {pressAction()}; }

    void doAction(const QString& name) override
    {
        if (name == pressAction())
            static_cast<VelmoraSymbolButton*>(widget())->click();
    }
};

QAccessibleInterface* accessibleSymbolButton(const QString& className, QObject* object)
{
    if (className == "VelmoraSymbolButton"_L1 && object && object->isWidgetType())
        return new SymbolButtonAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

} // namespace

VelmoraSymbolButton::VelmoraSymbolButton(const QString& name, const QSize& size, QWidget* parent)
    : QAbstractButton(parent), m_size(size)
{
    static const bool factoryInstalled = [] {
        QAccessible::installFactory(accessibleSymbolButton);
        return true;
    }();
    Q_UNUSED(factoryInstalled);
    setFixedSize(size);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
    setName(name);
}

void VelmoraSymbolButton::setLook(const Look& look)
{
    if (look == m_look)
        return;
    m_look = look;
    update();
}

void VelmoraSymbolButton::setName(const QString& name)
{
    setToolTip(name);
    setAccessibleName(name);
}

void VelmoraSymbolButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF bounds(rect());
    if (m_look.background.alpha() > 0) {
        QPainterPath backing;
        if (m_look.backgroundRadius < 0.0)
            backing.addEllipse(bounds);
        else
            backing.addRoundedRect(bounds, m_look.backgroundRadius, m_look.backgroundRadius);
        painter.fillPath(backing, isDown() ? m_look.background.darker(120) : m_look.background);
    }
    VelmoraSymbols::paint(painter, m_look.symbol, bounds, m_look.symbolPixels, m_look.foreground);
}
