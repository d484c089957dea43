// The detection details under the header's info button: a frameless popup with its arrow at the top,
// the seven overview rows, the permission hint and the detection error, and the status line and the
// workspace's file as its tooltip. A click outside or Escape closes it.
#pragma once

#include "AgentContext.h"
#include "ContextMatchDetails.h"
#include "PromptModels.h"
#include "PromptPanelTextSize.h"

#include <QWidget>
#include <optional>

class QLabel;
class QPainterPath;
class QVBoxLayout;

class EnvironmentInfoPopoverView : public QWidget {
    Q_OBJECT

public:
    static constexpr int arrowHeight = 8;
    static constexpr int popoverWidth = 300;

    struct State {
        AgentContext context = AgentContext::unknown();
        std::optional<PromptWorkspace> workspace = std::nullopt;
        ContextMatchDetails matchDetails = {};
        bool needsAutomationPermission = false;
        std::optional<QString> detectionErrorMessage = std::nullopt;
        QString statusMessage = {};
        AppLanguage language = AppLanguage::english;
        PromptPanelTextSize textSize = PromptPanelTextSize::system;
    };

    explicit EnvironmentInfoPopoverView(QWidget* parent = nullptr);

    void setState(const State& state);
    // Shows the popup with its arrow at the middle of the anchor's bottom edge, inside the screen.
    void popUp(QWidget* anchor);

    // The values of the rows, in order; the hint lines shown under them.
    QStringList rowValues() const;
    QStringList hints() const;

Q_SIGNALS:
    void closed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QPainterPath outline() const;

    QVBoxLayout* m_rows = nullptr;
    QLabel* m_title = nullptr;
    QList<QLabel*> m_values;
    QList<QLabel*> m_hints;
    int m_arrowX = popoverWidth / 2;
};
