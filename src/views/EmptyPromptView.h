// Stands where the sections would be when the panel has no prompt to show: why the list is empty,
// and at most two ways out. The primary control follows the reason; the secondary one follows the
// second of the snapshot's actions alone. A control whose action isn't given is left out.
#pragma once

#include "PanelRenderSnapshot.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <functional>

class QLabel;
class QMenu;
class VelmoraButton;

class EmptyPromptView : public QWidget {
    Q_OBJECT

public:
    struct Callbacks {
        std::function<void()> onInstallBuiltInPack;
        std::function<void()> onClearSearch;
        std::function<void()> onManageWorkspaces;
        std::function<void()> onCreateWorkspace;
        std::function<void()> onCreatePrompt;
        std::function<void()> onImport;
        std::function<void()> onOpenAutomationSettings;
        std::function<void(const QString& workspaceID)> onBindWorkspace;
    };

    explicit EmptyPromptView(QWidget* parent = nullptr);

    void setCallbacks(Callbacks callbacks) { m_callbacks = std::move(callbacks); }
    void setState(const PanelEmptyState& state, const QList<PromptWorkspace>& workspaces,
                  bool canInstallBuiltInPack, AppLanguage language, PromptPanelTextSize textSize);

    const QString& iconName() const { return m_icon; }
    QString title() const;
    QString message() const;
    VelmoraButton* primaryControl() const { return m_primary; }
    VelmoraButton* secondaryControl() const { return m_secondary; }
    // The bind menu of the recognised, unbound agent.
    QMenu* bindMenu() const { return m_bindMenu; }

Q_SIGNALS:
    void popupVisibilityChanged(bool visible);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    VelmoraButton* makeButton(const QString& title, const QString& symbol, const std::function<void()>& action,
                              bool primary);

    Callbacks m_callbacks;
    PanelEmptyState m_state;
    AppLanguage m_language = AppLanguage::english;
    QString m_icon;
    int m_iconPixels = 22;
    QWidget* m_iconBox = nullptr;
    QLabel* m_title = nullptr;
    QLabel* m_message = nullptr;
    QWidget* m_buttonRow = nullptr;
    VelmoraButton* m_primary = nullptr;
    VelmoraButton* m_secondary = nullptr;
    QMenu* m_bindMenu = nullptr;
};
