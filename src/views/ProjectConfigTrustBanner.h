// Asks the user to trust a project's own prompt file before its prompts are used: what was found,
// why trust is asked, the file's name (never its full path) and the Trust button.
#pragma once

#include "AppLanguage.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <functional>

class ElidedLabel;
class QLabel;
class QPushButton;

class ProjectConfigTrustBanner : public QWidget {
    Q_OBJECT

public:
    explicit ProjectConfigTrustBanner(QWidget* parent = nullptr);

    void setConfigPath(const QString& configPath, AppLanguage language, PromptPanelTextSize textSize);
    const QString& configPath() const { return m_configPath; }
    std::function<void()> onTrust;

    ElidedLabel* fileNameLabel() const { return m_fileName; }
    QPushButton* trustButton() const { return m_trust; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_configPath;
    QLabel* m_title = nullptr;
    QLabel* m_help = nullptr;
    ElidedLabel* m_fileName = nullptr;
    QPushButton* m_trust = nullptr;
};
