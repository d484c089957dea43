// A prompt file that failed to load: its name and what went wrong, and the ways out the issue
// offers (read the library again, show the file, open the workspace manager).
#pragma once

#include "AppLanguage.h"
#include "PromptConfigIssue.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <functional>

class PromptStore;
class QLabel;
class QPushButton;

class ConfigIssueBanner : public QWidget {
    Q_OBJECT

public:
    struct Actions {
        // Shows a file in the file manager. Absent: no such button.
        std::function<void(const QString& path)> showInFileManager;
        // Opens the workspace manager. Absent, or not shown here: no such button.
        std::function<void()> openWorkspaceManager;
    };

    ConfigIssueBanner(const PromptConfigIssue& issue, PromptStore& promptStore, bool showsOpenWorkspaceManager,
                      Actions actions, AppLanguage language, PromptPanelTextSize textSize,
                      QWidget* parent = nullptr);

    const PromptConfigIssue& issue() const { return m_issue; }
    // The recovery buttons shown, in order.
    QList<QPushButton*> buttons() const { return m_buttons; }
    QPushButton* button(PromptConfigRecoveryAction action) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PromptConfigIssue m_issue;
    QList<QPushButton*> m_buttons;
    QList<PromptConfigRecoveryAction> m_actions;
};
