#include "WorkspaceManagerWorkspaceList.h"

#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbols.h"
#include "WorkspaceManagerRowPainting.h"

#include <QAbstractListModel>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;
using Row = WorkspaceManagerWorkspaceList::Row;

namespace {

constexpr int checkBoxSize = 18;
constexpr int checkBoxGap = 10;
constexpr int padding = 10;
constexpr int lineSpacing = 5;
constexpr int maximumReasonLines = 2;
constexpr int rowMargin = 3; // the list's spacing, on each side of a row

struct RowFonts {
    QFont name, caption, path;

    explicit RowFonts(PromptPanelTextSize size)
        : name(textStyleFont(PromptTextStyle::headline, size)),
          caption(textStyleFont(PromptTextStyle::caption, size)),
          path(WorkspaceManagerRowPainting::caption2(size))
    {
        path.setStyleHint(QFont::Monospace);
        path.setFamily(u"monospace"_s);
    }

    int height(int reasonLines) const
    {
        const int reason =
            reasonLines > 0 ? lineSpacing + reasonLines * WorkspaceManagerRowPainting::lineHeight(caption2())
                            : 0;
        return 2 * padding + WorkspaceManagerRowPainting::lineHeight(name) + lineSpacing +
               WorkspaceManagerRowPainting::lineHeight(caption) + lineSpacing +
               WorkspaceManagerRowPainting::lineHeight(path) + reason;
    }
    QFont caption2() const
    {
        QFont font = path;
        font.setFamily(caption.family());
        font.setStyleHint(QFont::AnyStyle);
        return font;
    }
};

} // namespace

class WorkspaceRowModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    const QList<Row>* rows = nullptr;

    int rowCount(const QModelIndex& parent) const override
    {
        return parent.isValid() ? 0 : int(rows->size());
    }

    Qt::ItemFlags flags(const QModelIndex& index) const override
    {
        Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
        if (index.isValid() && rows->at(index.row()).readOnlyReason.isEmpty())
            flags |= Qt::ItemIsUserCheckable;
        return flags;
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid())
            return {};
        const Row& row = rows->at(index.row());
        switch (role) {
        case Qt::DisplayRole:
            return row.name;
        case Qt::CheckStateRole:
            return row.ticked ? Qt::Checked : Qt::Unchecked;
        case Qt::AccessibleTextRole:
            return row.tickLabel;
        case Qt::AccessibleDescriptionRole: {
            QStringList parts{row.name, QString::number(row.promptCount), row.sourceLine, row.pathLine};
            if (!row.readOnlyReason.isEmpty())
                parts.append(row.readOnlyReason);
            return parts.join(u", "_s);
        }
        default:
            return {};
        }
    }

    void reset() { beginResetModel(), endResetModel(); }
    void refresh() { Q_EMIT dataChanged(index(0), index(rowCount({}) - 1)); }
};

class WorkspaceRowDelegate : public QStyledItemDelegate {
public:
    WorkspaceRowDelegate(const QList<Row>& rows, QObject* parent) : QStyledItemDelegate(parent), m_rows(rows)
    {}

    PromptPanelTextSize textSize = PromptPanelTextSize::system;
    int textWidth = 300; // of a card's lines, set by the list as it is resized

    // A long reason wraps once; beyond that it is cut.
    int reasonLines(const Row& row) const
    {
        if (row.readOnlyReason.isEmpty())
            return 0;
        const QFontMetrics metrics(RowFonts(textSize).caption2());
        return metrics.horizontalAdvance(row.readOnlyReason) > textWidth ? maximumReasonLines : 1;
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return {option.rect.width(), RowFonts(textSize).height(reasonLines(m_rows.at(index.row())))};
    }

    static QRect checkBoxRect(const QRect& item)
    {
        return {item.left() + 1, item.top() + padding, checkBoxSize, checkBoxSize};
    }
    static QRect cardRect(const QRect& item) { return item.adjusted(checkBoxSize + checkBoxGap, 0, 0, 0); }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const Row& row = m_rows.at(index.row());
        const RowFonts fonts(textSize);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        paintCheckBox(*painter, checkBoxRect(option.rect), row);

        const QRect card = cardRect(option.rect);
        const bool focused = (option.state & QStyle::State_HasFocus) != 0;
        WorkspaceManagerRowPainting::card(*painter, card,
                                          row.selected ? VelmoraColors::withOpacity(Brand::accent(), 0.16)
                                                       : VelmoraColors::white(0.08),
                                          focused);
        QRect line = card.adjusted(padding, padding, -padding, 0);
        const QString count = QString::number(row.promptCount);
        painter->setFont(fonts.caption);
        const int countWidth = painter->fontMetrics().horizontalAdvance(count);
        line.setHeight(WorkspaceManagerRowPainting::lineHeight(fonts.name));
        painter->setPen(VelmoraColors::secondaryText());
        painter->drawText(line, Qt::AlignRight | Qt::AlignVCenter, count);
        WorkspaceManagerRowPainting::text(*painter, line.adjusted(0, 0, -countWidth - 8, 0), fonts.name,
                                          Brand::textPrimary(), row.name);
        line = WorkspaceManagerRowPainting::nextLine(line, fonts.caption, lineSpacing);
        WorkspaceManagerRowPainting::text(*painter, line, fonts.caption, VelmoraColors::secondaryText(),
                                          row.sourceLine);
        line = WorkspaceManagerRowPainting::nextLine(line, fonts.path, lineSpacing);
        WorkspaceManagerRowPainting::text(*painter, line, fonts.path, VelmoraColors::secondaryText(),
                                          row.pathLine, Qt::ElideMiddle);
        if (const int lines = reasonLines(row)) {
            line = WorkspaceManagerRowPainting::nextLine(line, fonts.caption2(), lineSpacing);
            line.setHeight(lines * line.height());
            WorkspaceManagerRowPainting::wrappedText(*painter, line, fonts.caption2(),
                                                     WorkspaceManagerRowPainting::orange(),
                                                     row.readOnlyReason, lines);
        }
        painter->restore();
    }

    bool editorEvent(QEvent*, QAbstractItemModel*, const QStyleOptionViewItem&, const QModelIndex&) override
    {
        return false; // the list handles ticks itself
    }

private:
    static void paintCheckBox(QPainter& painter, const QRect& box, const Row& row)
    {
        painter.save();
        if (!row.readOnlyReason.isEmpty())
            painter.setOpacity(0.35);
        const QRectF frame = QRectF(box).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.setPen(QPen(row.ticked ? Brand::steel() : VelmoraColors::white(0.45), 1.0));
        painter.setBrush(row.ticked ? Brand::steel() : VelmoraColors::white(0.06));
        painter.drawRoundedRect(frame, 4, 4);
        if (row.ticked)
            VelmoraSymbols::paint(painter, u"checkmark"_s, frame, 12.0, Qt::white);
        painter.restore();
    }

    const QList<Row>& m_rows;
};

WorkspaceManagerWorkspaceList::WorkspaceManagerWorkspaceList(QWidget* parent) : QListView(parent)
{
    m_model = new WorkspaceRowModel(this);
    m_model->rows = &m_rows;
    m_delegate = new WorkspaceRowDelegate(m_rows, this);
    setModel(m_model);
    setItemDelegate(m_delegate);
    setSelectionMode(QAbstractItemView::NoSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setSpacing(rowMargin);
    setMouseTracking(false);
    viewport()->setAutoFillBackground(false);
}

void WorkspaceManagerWorkspaceList::setRows(const QList<Row>& rows, PromptPanelTextSize textSize)
{
    const bool sameWorkspaces =
        rows.size() == m_rows.size() && textSize == m_delegate->textSize &&
        std::equal(rows.cbegin(), rows.cend(), m_rows.cbegin(), [](const Row& a, const Row& b) {
            return a.id == b.id && a.readOnlyReason.isEmpty() == b.readOnlyReason.isEmpty();
        });
    if (sameWorkspaces && rows == m_rows)
        return;
    m_rows = rows;
    m_delegate->textSize = textSize;
    if (sameWorkspaces) {
        m_model->refresh();
        viewport()->update();
    } else {
        m_model->reset();
    }
}

QRect WorkspaceManagerWorkspaceList::checkBoxRect(int row) const
{
    return WorkspaceRowDelegate::checkBoxRect(visualRect(m_model->index(row)));
}

QRect WorkspaceManagerWorkspaceList::cardRect(int row) const
{
    return WorkspaceRowDelegate::cardRect(visualRect(m_model->index(row)));
}

void WorkspaceManagerWorkspaceList::resizeEvent(QResizeEvent* event)
{
    QListView::resizeEvent(event);
    const int width = viewport()->width() - 2 * rowMargin - checkBoxSize - checkBoxGap - 2 * padding;
    if (width != m_delegate->textWidth) {
        m_delegate->textWidth = width;
        scheduleDelayedItemsLayout();
    }
}

void WorkspaceManagerWorkspaceList::toggle(int row)
{
    if (row < 0 || row >= m_rows.size() || !m_rows.at(row).readOnlyReason.isEmpty())
        return;
    Q_EMIT tickToggled(m_rows.at(row).id, !m_rows.at(row).ticked);
}

void WorkspaceManagerWorkspaceList::mouseReleaseEvent(QMouseEvent* event)
{
    QListView::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton)
        return;
    const QModelIndex index = indexAt(event->position().toPoint());
    if (!index.isValid())
        return;
    const QPoint point = event->position().toPoint();
    // The check box answers a little outside its square, as a check box's label would.
    if (checkBoxRect(index.row()).adjusted(-4, -4, 4, 4).contains(point))
        toggle(index.row());
    else if (cardRect(index.row()).contains(point))
        Q_EMIT workspaceClicked(m_rows.at(index.row()).id);
}

void WorkspaceManagerWorkspaceList::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex current = currentIndex();
    if (current.isValid() && event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
        toggle(current.row());
        return;
    }
    if (current.isValid() && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
        Q_EMIT workspaceClicked(m_rows.at(current.row()).id);
        return;
    }
    QListView::keyPressEvent(event);
}
