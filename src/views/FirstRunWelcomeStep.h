// One numbered step card of the welcome guide: an accent icon tile with its number in a badge, the
// step's title over its detail.
#pragma once

#include <QWidget>

class FirstRunWelcomeStep : public QWidget {
    Q_OBJECT

public:
    static constexpr int padding = 14;
    static constexpr int spacing = 14;
    static constexpr double cornerRadius = 12.0;
    static constexpr int iconTile = 42;
    static constexpr int badge = 18;
    static constexpr int badgeOffset = 4;

    FirstRunWelcomeStep(int number, const QString& systemImage, const QString& title, const QString& detail,
                        QWidget* parent = nullptr);

    int number() const { return m_number; }
    const QString& systemImage() const { return m_systemImage; }
    const QString& title() const { return m_title; }
    const QString& detail() const { return m_detail; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_number;
    QString m_systemImage;
    QString m_title;
    QString m_detail;
};
