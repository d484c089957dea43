// A small button that is only a symbol, optionally on a backing (a circle, or a rounded square):
// a tile's retry and menu buttons, the layout picker's buttons. Its tooltip and accessible name say
// what it does.
#pragma once

#include <QAbstractButton>
#include <QColor>

class VelmoraSymbolButton : public QAbstractButton {
    Q_OBJECT

public:
    struct Look {
        QString symbol;
        double symbolPixels = 12.0;
        QColor foreground = Qt::white;
        QColor background = Qt::transparent;
        double backgroundRadius = -1.0; // negative: a circle

        bool operator==(const Look&) const = default;
    };

    VelmoraSymbolButton(const QString& name, const QSize& size, QWidget* parent = nullptr);

    void setLook(const Look& look);
    const Look& look() const { return m_look; }
    // The tooltip and the accessible name.
    void setName(const QString& name);
    // What a screen reader reads as the button's value (a selection's state).
    void setAccessibleValue(const QString& value) { m_accessibleValue = value; }
    const QString& accessibleValue() const { return m_accessibleValue; }

    QSize sizeHint() const override { return m_size; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QSize m_size;
    Look m_look;
    QString m_accessibleValue;
};
