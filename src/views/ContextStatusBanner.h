// A one-line status under the header (the agent isn't bound yet): a dot and the text on a faint
// rounded backing.
#pragma once

#include <QWidget>

class QLabel;

class ContextStatusBanner : public QWidget {
    Q_OBJECT

public:
    explicit ContextStatusBanner(QWidget* parent = nullptr);

    void setText(const QString& text);
    QString text() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_label = nullptr;
};
