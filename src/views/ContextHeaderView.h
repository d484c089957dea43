// The top of the panel: the product's name over what the application believes the user works in,
// the count of prompts, the info button with the detection details, and under them the unbound
// agent's banner, the store's last error, and the project file's trust banner or notice.
#pragma once

#include "AgentContext.h"
#include "ContextMatchDetails.h"
#include "EnvironmentInfoPopoverView.h"
#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QPointer>
#include <QWidget>
#include <functional>
#include <optional>

class ContextStatusBanner;
class ElidedLabel;
class ProjectConfigTrustBanner;
class QLabel;
class SourceNoticeView;
class VelmoraSymbolButton;

class ContextHeaderView : public QWidget {
    Q_OBJECT

public:
    struct State {
        AgentContext context = AgentContext::unknown();
        std::optional<PromptWorkspace> workspace = std::nullopt;
        qint64 promptCount = 0;
        std::optional<QString> errorMessage = std::nullopt;
        ContextMatchDetails matchDetails = {};
        bool needsAutomationPermission = false;
        std::optional<QString> detectionErrorMessage = std::nullopt;
        QString statusMessage = {};
        bool showDebugDetails = false;
        AppLanguage language = AppLanguage::english;
        PromptPanelTextSize textSize = PromptPanelTextSize::system;
    };

    explicit ContextHeaderView(QWidget* parent = nullptr);
    ~ContextHeaderView() override;

    // The info button and the popup's closing write the popover's state here.
    std::function<void(bool)> onShowDebugDetailsChange;
    std::function<void(const QString& path)> onTrustProjectConfig;

    void setState(const State& state);
    const State& state() const { return m_state; }

    static QString statusSummary(const AgentContext& context, AppLanguage language);
    // Only for a recognised agent without a workspace.
    static std::optional<QString> unboundText(const AgentContext& context,
                                              const std::optional<PromptWorkspace>& workspace, AppLanguage language);

    ElidedLabel* summaryLabel() const { return m_summary; }
    QLabel* countLabel() const { return m_count; }
    VelmoraSymbolButton* infoButton() const { return m_info; }
    ContextStatusBanner* statusBanner() const { return m_statusBanner; }
    QLabel* errorLabel() const { return m_error; }
    ProjectConfigTrustBanner* trustBanner() const { return m_trustBanner; }
    SourceNoticeView* sourceNotice() const { return m_sourceNotice; }
    EnvironmentInfoPopoverView* popover() const { return m_popover; }

Q_SIGNALS:
    void popupVisibilityChanged(bool visible);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void syncPopover();

    State m_state;
    QLabel* m_title = nullptr;
    ElidedLabel* m_summary = nullptr;
    QWidget* m_pill = nullptr;
    QLabel* m_count = nullptr;
    QLabel* m_countSuffix = nullptr;
    VelmoraSymbolButton* m_info = nullptr;
    ContextStatusBanner* m_statusBanner = nullptr;
    QLabel* m_error = nullptr;
    ProjectConfigTrustBanner* m_trustBanner = nullptr;
    SourceNoticeView* m_sourceNotice = nullptr;
    QPointer<EnvironmentInfoPopoverView> m_popover;
};
