// The panel's scrolling stage of sections and tiles, inset 28 at both sides. Sections and tiles are
// placed by arithmetic from the fixed tile sizes; only the tiles in or near the viewport exist, as a
// small pool of tile widgets bound to prompts as the view scrolls. A new state moves the tiles whose
// prompts stay in view, updates those that changed, and binds the pool's spare tiles to the rest.
#pragma once

#include "PromptSectionView.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QPointer>

class PromptPanelLayoutPicker;
class PromptTilePreviewModifier;

class PromptGridStageView : public QAbstractScrollArea {
    Q_OBJECT

public:
    static constexpr int horizontalInset = 28;
    static constexpr int verticalPadding = 10;
    static constexpr int sectionSpacing = 12;

    explicit PromptGridStageView(QWidget* parent = nullptr);
    ~PromptGridStageView() override;

    void setCallbacks(PromptSectionCallbacks callbacks);
    // Called when the preview's tile went away while the state still named it.
    std::function<void()> onPreviewDismissed;

    void setState(const PromptStageState& state);
    const PromptStageState& state() const { return m_state; }

    // The tiles bound to prompts now, in display order, and every tile widget made so far.
    QList<PromptTileView*> tiles() const;
    int tileWidgetCount() const { return int(m_bound.size() + m_spare.size()); }
    PromptTileView* tileFor(const QString& promptID) const;
    PromptPanelLayoutPicker* layoutPicker() const { return m_picker; }
    PromptTilePreviewModifier* previewModifier() const { return m_preview; }
    int contentHeight() const { return m_contentHeight; }
    // The section's top in content coordinates.
    int sectionTop(qsizetype index) const { return m_sectionTops.value(index); }
    // Scrolls so that the content from `y` on is at the top, as far as the content allows.
    void scrollToContent(int y);
    // A widget above the sections that scrolls with them, as wide as a row; null for none. The stage
    // takes it as a child and follows its size and visibility.
    void setHeader(QWidget* header);

    QSize sizeHint() const override;

Q_SIGNALS:
    // A menu of a tile opened or closed.
    void popupVisibilityChanged(bool visible);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Binding {
        PromptTileView* tile = nullptr;
        qsizetype section = 0;
        qsizetype index = 0;
    };

    void layoutSections();
    void bindTiles();
    void updatePreview();
    void updateScrollBar();
    PromptTileView* takeSpareTile();
    int viewTop() const;
    int headerHeight() const;

    PromptStageState m_state;
    PromptSectionCallbacks m_callbacks;
    QList<int> m_sectionTops; // content coordinates
    QList<int> m_sectionHeights;
    int m_contentHeight = 0;
    QHash<QString, Binding> m_bound; // by prompt id (with a suffix for a repeated id)
    QList<QString> m_boundOrder;     // the keys of m_bound in display order
    QList<PromptTileView*> m_spare;
    PromptPanelLayoutPicker* m_picker = nullptr;
    PromptTilePreviewModifier* m_preview = nullptr;
    QPointer<QWidget> m_header;
};
