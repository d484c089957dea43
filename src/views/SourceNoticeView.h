// Says where the shown prompts come from when that is a project's own file: caption text in orange
// on a faint orange capsule.
#pragma once

#include "PromptPanelTextSize.h"

#include <QWidget>

class QLabel;

class SourceNoticeView : public QWidget {
    Q_OBJECT

public:
    explicit SourceNoticeView(QWidget* parent = nullptr);

    void setText(const QString& text, PromptPanelTextSize textSize);
    QString text() const;

    // The system's orange, which the project-file views share.
    static QColor orange(double opacity = 1.0);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_label = nullptr;
};
