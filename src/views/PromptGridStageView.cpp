#include "PromptGridStageView.h"

#include "PromptPanelLayout.h"
#include "PromptPanelLayoutPicker.h"
#include "PromptTilePreviewModifier.h"
#include "VelmoraDesignTokens.h"

#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

namespace {

// The sections' layout depends only on these; a state that keeps them keeps every position.
bool sameGeometry(const PromptStageState& a, const PromptStageState& b)
{
    const QList<PromptSection>& left = a.snapshot.sections;
    const QList<PromptSection>& right = b.snapshot.sections;
    if (a.layoutMode != b.layoutMode || a.textSize != b.textSize || left.size() != right.size())
        return false;
    for (qsizetype index = 0; index < left.size(); ++index) {
        if (left.at(index).prompts.size() != right.at(index).prompts.size() ||
            left.at(index).title != right.at(index).title)
            return false;
    }
    return true;
}

} // namespace

PromptGridStageView::PromptGridStageView(QWidget* parent) : QAbstractScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    // The tiles' shadow margins stand inside the viewport, so a tile's edge is 28 from the stage's.
    const int side = horizontalInset - PromptTileView::shadowMargin;
    setViewportMargins(side, 0, side, 0);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setAttribute(Qt::WA_TranslucentBackground);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
    verticalScrollBar()->setSingleStep(24);

    m_picker = new PromptPanelLayoutPicker(viewport());
    m_picker->resize(m_picker->sizeHint());
    m_picker->hide();
    m_picker->onChange = [this](PromptPanelLayoutMode mode) {
        if (m_callbacks.onLayoutModeChange)
            m_callbacks.onLayoutModeChange(mode);
    };
    m_preview = new PromptTilePreviewModifier(this);
    m_preview->onDismiss = [this] {
        if (onPreviewDismissed)
            onPreviewDismissed();
    };
    layoutSections();
}

PromptGridStageView::~PromptGridStageView() = default;

QSize PromptGridStageView::sizeHint() const
{
    return {2 * horizontalInset + PromptPanelLayout::rowWidth(PromptPanelLayoutMode::grid) +
                verticalScrollBar()->sizeHint().width(),
            360};
}

void PromptGridStageView::setCallbacks(PromptSectionCallbacks callbacks)
{
    m_callbacks = std::move(callbacks);
    // Every bound tile takes callbacks made from the new ones.
    for (auto it = m_bound.begin(); it != m_bound.end(); ++it) {
        const PromptSectionView view(m_state.snapshot.sections.at(it->section), m_state, m_callbacks,
                                     it->section == 0);
        it->tile->setCallbacks(
            view.tileCallbacks(m_state.snapshot.sections.at(it->section).prompts.at(it->index)));
    }
}

void PromptGridStageView::setState(const PromptStageState& state)
{
    const bool geometryKept = sameGeometry(m_state, state);
    m_state = state;
    if (!geometryKept) {
        layoutSections();
        viewport()->update();
    } else if (!m_state.snapshot.sections.isEmpty()) {
        // Same positions, maybe new titles' text or language: only the headings' strip repaints.
        viewport()->update(QRect(0, m_sectionTops.constFirst() - viewTop(), viewport()->width(),
                                 PromptSectionView::headingHeight(true)));
    }
    bindTiles();
    updatePreview();
}

void PromptGridStageView::layoutSections()
{
    const QList<PromptSection>& sections = m_state.snapshot.sections;
    m_sectionTops.resize(sections.size());
    m_sectionHeights.resize(sections.size());
    const int header = headerHeight();
    int y = verticalPadding + (header > 0 ? header + sectionSpacing : 0);
    for (qsizetype index = 0; index < sections.size(); ++index) {
        if (index > 0)
            y += sectionSpacing;
        m_sectionTops[index] = y;
        m_sectionHeights[index] =
            PromptSectionView::height(sections.at(index).prompts.size(), m_state.layoutMode, index == 0);
        y += m_sectionHeights[index];
    }
    m_contentHeight = y + verticalPadding;
    updateScrollBar();
}

void PromptGridStageView::updateScrollBar()
{
    QScrollBar* bar = verticalScrollBar();
    bar->setPageStep(viewport()->height());
    bar->setRange(0, std::max(0, m_contentHeight - viewport()->height()));
}

int PromptGridStageView::viewTop() const
{
    return verticalScrollBar()->value();
}

void PromptGridStageView::scrollToContent(int y)
{
    verticalScrollBar()->setValue(y);
}

void PromptGridStageView::setHeader(QWidget* header)
{
    if (m_header == header)
        return;
    if (m_header)
        m_header->removeEventFilter(this);
    m_header = header;
    if (header) {
        header->setParent(viewport());
        header->installEventFilter(this);
    }
    layoutSections();
    bindTiles();
}

int PromptGridStageView::headerHeight() const
{
    if (!m_header || m_header->isHidden())
        return 0;
    const int width = PromptPanelLayout::rowWidth(m_state.layoutMode);
    return m_header->hasHeightForWidth() ? m_header->heightForWidth(width) : m_header->sizeHint().height();
}

bool PromptGridStageView::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (watched == m_header && (type == QEvent::LayoutRequest || type == QEvent::ShowToParent ||
                                type == QEvent::HideToParent)) {
        layoutSections();
        bindTiles();
        viewport()->update();
    }
    return QAbstractScrollArea::eventFilter(watched, event);
}

PromptTileView* PromptGridStageView::takeSpareTile()
{
    if (!m_spare.isEmpty())
        return m_spare.takeLast();
    auto* tile = new PromptTileView(viewport());
    connect(tile, &PromptTileView::popupVisibilityChanged, this,
            &PromptGridStageView::popupVisibilityChanged);
    return tile;
}

void PromptGridStageView::bindTiles()
{
    const QList<PromptSection>& sections = m_state.snapshot.sections;
    // One row beyond each edge is kept ready, so a small scroll shows tiles already drawn.
    const int overscan =
        PromptPanelLayout::tileSize(m_state.layoutMode).height() + PromptPanelLayout::tileSpacing;
    const int top = viewTop() - overscan;
    const int bottom = viewTop() + viewport()->height() + overscan;
    if (const int header = headerHeight(); header > 0)
        m_header->setGeometry(PromptTileView::shadowMargin, verticalPadding - viewTop(),
                              PromptPanelLayout::rowWidth(m_state.layoutMode), header);

    // The prompts in the band, by key; their tiles are kept, every other tile is free to take.
    QHash<QString, Binding> next;
    QList<QString> order;
    // The first section that reaches the band, by bisection over the tops.
    qsizetype first =
        std::upper_bound(m_sectionTops.cbegin(), m_sectionTops.cend(), top) - m_sectionTops.cbegin();
    first = std::max<qsizetype>(0, first - 1);
    for (qsizetype section = first; section < sections.size() && m_sectionTops.at(section) <= bottom;
         ++section) {
        const int sectionTop = m_sectionTops.at(section);
        const PromptSectionView view(sections.at(section), m_state, m_callbacks, section == 0);
        const auto [begin, end] = view.tilesBetween(top - sectionTop, bottom - sectionTop);
        for (qsizetype index = begin; index < end; ++index) {
            QString key = sections.at(section).prompts.at(index).id;
            if (next.contains(key))
                key += QStringLiteral("\n%1:%2").arg(section).arg(index);
            next.insert(key, Binding{m_bound.take(key).tile, section, index});
            order.append(key);
        }
    }
    for (const Binding& left : std::as_const(m_bound)) {
        left.tile->clearHover();
        m_spare.append(left.tile);
    }
    for (const QString& key : std::as_const(order)) {
        Binding& binding = next[key];
        const PromptSection& section = sections.at(binding.section);
        const PromptSectionView view(section, m_state, m_callbacks, binding.section == 0);
        const PromptItem& prompt = section.prompts.at(binding.index);
        const bool isNew = !binding.tile;
        if (isNew)
            binding.tile = takeSpareTile();
        PromptTileView* tile = binding.tile;
        const bool rebind = isNew || tile->model().prompt != prompt;
        tile->setModel(view.tileModel(prompt));
        if (rebind)
            tile->setCallbacks(view.tileCallbacks(prompt));
        tile->move(view.tileFrame(binding.index).topLeft() +
                   QPoint(0, m_sectionTops.at(binding.section) - viewTop()));
        tile->show();
    }
    for (PromptTileView* spare : std::as_const(m_spare))
        spare->hide();
    m_bound = std::move(next);
    m_boundOrder = std::move(order);

    m_picker->setVisible(!sections.isEmpty());
    if (!sections.isEmpty()) {
        m_picker->setSelection(m_state.layoutMode, m_state.language);
        const QRect heading =
            PromptSectionView(sections.constFirst(), m_state, m_callbacks, true).headingRect();
        m_picker->move(heading.right() + 1 - m_picker->width(),
                       m_sectionTops.constFirst() - viewTop() + (heading.height() - m_picker->height()) / 2);
    }
}

void PromptGridStageView::updatePreview()
{
    if (!m_state.previewPrompt) {
        m_preview->close();
        return;
    }
    PromptTileView* tile = tileFor(m_state.previewPrompt->id);
    const bool inView = tile && tile->isVisible() && viewport()->rect().intersects(tile->geometry());
    if (!inView) {
        // The tile is gone: the preview goes with it, and the state must forget it.
        m_preview->close();
        if (onPreviewDismissed)
            onPreviewDismissed();
        return;
    }
    m_preview->present(*m_state.previewPrompt, tile, tile->tileRect().toRect(), tile->model().isCopied(),
                       m_state.textSize, m_state.language);
}

QList<PromptTileView*> PromptGridStageView::tiles() const
{
    QList<PromptTileView*> result;
    result.reserve(m_boundOrder.size());
    for (const QString& key : m_boundOrder)
        result.append(m_bound.value(key).tile);
    return result;
}

PromptTileView* PromptGridStageView::tileFor(const QString& promptID) const
{
    return m_bound.value(promptID).tile;
}

void PromptGridStageView::resizeEvent(QResizeEvent* event)
{
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBar();
    bindTiles();
}

void PromptGridStageView::scrollContentsBy(int, int)
{
    bindTiles();
    viewport()->update();
    if (m_state.previewPrompt)
        updatePreview();
}

void PromptGridStageView::paintEvent(QPaintEvent* event)
{
    const QList<PromptSection>& sections = m_state.snapshot.sections;
    if (sections.isEmpty())
        return;
    QPainter painter(viewport());
    painter.setFont(PromptSectionView::headingFont());
    painter.setPen(VelmoraDesignTokens::Brand::textPrimary());
    const QFontMetrics metrics(painter.font());
    const int top = viewTop() + event->rect().top();
    const int bottom = viewTop() + event->rect().bottom();
    qsizetype first =
        std::upper_bound(m_sectionTops.cbegin(), m_sectionTops.cend(), top) - m_sectionTops.cbegin();
    for (qsizetype section = std::max<qsizetype>(0, first - 1);
         section < sections.size() && m_sectionTops.at(section) <= bottom; ++section) {
        const bool hasPicker = section == 0;
        QRect heading =
            PromptSectionView(sections.at(section), m_state, m_callbacks, hasPicker).headingRect();
        heading.translate(0, m_sectionTops.at(section) - viewTop());
        heading.setRight(heading.right() - PromptSectionView::headingTrailingInset -
                         (hasPicker ? m_picker->width() : 0));
        painter.drawText(heading, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         metrics.elidedText(sections.at(section).title, Qt::ElideRight, heading.width()));
    }
}
