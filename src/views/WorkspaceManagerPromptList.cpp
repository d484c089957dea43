#include "WorkspaceManagerPromptList.h"

#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbols.h"
#include "WorkspaceManagerRowPainting.h"

#include <QAbstractListModel>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QToolTip>

using namespace Qt::StringLiterals;
namespace Brand = VelmoraDesignTokens::Brand;
namespace Painting = WorkspaceManagerRowPainting;

namespace {

constexpr int padding = 10;
constexpr int lineSpacing = 6;
constexpr int buttonSize = 22;
constexpr int buttonGap = 4;
constexpr int bodyLines = 2;

QString flattened(const QString& text)
{
    QString result = text;
    result.replace(u'\n', u' ');
    return result;
}

} // namespace

class PromptRowModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    const QList<PromptItem>* prompts = nullptr;
    const WorkspaceManagerPromptList::Texts* texts = nullptr;

    int rowCount(const QModelIndex& parent) const override
    {
        return parent.isValid() ? 0 : int(prompts->size());
    }

    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid())
            return {};
        const PromptItem& prompt = prompts->at(index.row());
        switch (role) {
        case Qt::DisplayRole:
        case Qt::AccessibleTextRole:
            return prompt.title;
        case Qt::AccessibleDescriptionRole:
            return QString(WorkspaceManagerPromptList::detailLine(prompt, texts->listSeparator) + u". "_s +
                           flattened(prompt.text.left(200)));
        default:
            return {};
        }
    }

    void reset() { beginResetModel(), endResetModel(); }
};

class PromptRowDelegate : public QStyledItemDelegate {
public:
    PromptRowDelegate(const WorkspaceManagerPromptList& list, QObject* parent)
        : QStyledItemDelegate(parent), m_list(list)
    {}

    PromptPanelTextSize textSize = PromptPanelTextSize::system;
    QString listSeparator;

    int titleHeight() const
    {
        return std::max(Painting::lineHeight(textStyleFont(PromptTextStyle::headline, textSize)), buttonSize);
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override
    {
        const int caption = Painting::lineHeight(textStyleFont(PromptTextStyle::caption, textSize));
        return {option.rect.width(),
                2 * padding + titleHeight() + lineSpacing + caption + lineSpacing + bodyLines * caption};
    }

    QRect deleteButtonRect(const QRect& item) const
    {
        return {item.right() - padding - buttonSize + 1, item.top() + padding, buttonSize, buttonSize};
    }
    QRect editButtonRect(const QRect& item) const
    {
        return deleteButtonRect(item).translated(-buttonSize - buttonGap, 0);
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const PromptItem& prompt = m_list.prompts().at(index.row());
        const QFont headline = textStyleFont(PromptTextStyle::headline, textSize);
        const QFont caption = textStyleFont(PromptTextStyle::caption, textSize);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        Painting::card(*painter, option.rect, VelmoraColors::white(0.08),
                       (option.state & QStyle::State_HasFocus) != 0);

        QRect line = option.rect.adjusted(padding, padding, -padding, 0);
        line.setHeight(titleHeight());
        const QRect edit = editButtonRect(option.rect);
        Painting::text(*painter, line.adjusted(0, 0, -(line.right() - edit.left() + 8), 0), headline,
                       Brand::textPrimary(), prompt.title);
        paintButton(*painter, edit, u"pencil"_s, Brand::textPrimary());
        paintButton(*painter, deleteButtonRect(option.rect), u"trash"_s, VelmoraColors::red());

        line = Painting::nextLine(line, caption, lineSpacing);
        Painting::text(*painter, line, caption, VelmoraColors::secondaryText(),
                       WorkspaceManagerPromptList::detailLine(prompt, listSeparator));
        const QRect body(line.left(), line.bottom() + 1 + lineSpacing, line.width(),
                         bodyLines * WorkspaceManagerRowPainting::lineHeight(caption));
        Painting::wrappedText(*painter, body, caption, VelmoraColors::secondaryText(), flattened(prompt.text),
                              bodyLines);
        painter->restore();
    }

    bool editorEvent(QEvent*, QAbstractItemModel*, const QStyleOptionViewItem&, const QModelIndex&) override
    {
        return false; // the list answers the buttons itself
    }

private:
    void paintButton(QPainter& painter, const QRect& box, const QString& symbol, const QColor& color) const
    {
        painter.save();
        if (!m_list.isEditable())
            painter.setOpacity(0.35);
        painter.setPen(Qt::NoPen);
        painter.setBrush(VelmoraColors::white(0.1));
        painter.drawRoundedRect(QRectF(box), 6, 6);
        VelmoraSymbols::paint(painter, symbol, QRectF(box), 13.0, color);
        painter.restore();
    }

    const WorkspaceManagerPromptList& m_list;
};

WorkspaceManagerPromptList::WorkspaceManagerPromptList(QWidget* parent) : QListView(parent)
{
    m_model = new PromptRowModel(this);
    m_model->prompts = &m_prompts;
    m_model->texts = &m_texts;
    m_delegate = new PromptRowDelegate(*this, this);
    setModel(m_model);
    setItemDelegate(m_delegate);
    setUniformItemSizes(true);
    setSelectionMode(QAbstractItemView::NoSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setSpacing(4); // 8 between cards
    viewport()->setAutoFillBackground(false);
}

void WorkspaceManagerPromptList::setPrompts(const QList<PromptItem>& prompts, bool editable,
                                            const Texts& texts, PromptPanelTextSize textSize)
{
    if (prompts.isSharedWith(m_prompts) && editable == m_editable && textSize == m_delegate->textSize &&
        texts.edit == m_texts.edit)
        return;
    m_prompts = prompts;
    m_editable = editable;
    m_texts = texts;
    m_delegate->textSize = textSize;
    m_delegate->listSeparator = texts.listSeparator;
    m_model->reset();
}

QRect WorkspaceManagerPromptList::editButtonRect(int row) const
{
    return m_delegate->editButtonRect(visualRect(m_model->index(row)));
}

QRect WorkspaceManagerPromptList::deleteButtonRect(int row) const
{
    return m_delegate->deleteButtonRect(visualRect(m_model->index(row)));
}

QString WorkspaceManagerPromptList::detailLine(const PromptItem& prompt, const QString& listSeparator)
{
    QStringList parts;
    if (!prompt.group.isEmpty())
        parts.append(prompt.group);
    if (const QString tags = prompt.tags.join(listSeparator); !tags.isEmpty())
        parts.append(tags);
    return parts.join(u" · "_s);
}

void WorkspaceManagerPromptList::mouseReleaseEvent(QMouseEvent* event)
{
    QListView::mouseReleaseEvent(event);
    const QModelIndex index = indexAt(event->position().toPoint());
    if (event->button() != Qt::LeftButton || !index.isValid() || !m_editable)
        return;
    const QPoint point = event->position().toPoint();
    const PromptItem prompt = m_prompts.at(index.row());
    if (editButtonRect(index.row()).contains(point))
        Q_EMIT editRequested(prompt);
    else if (deleteButtonRect(index.row()).contains(point))
        Q_EMIT deleteRequested(prompt);
}

void WorkspaceManagerPromptList::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex current = currentIndex();
    if (current.isValid() && m_editable && event->modifiers() == Qt::NoModifier) {
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
            Q_EMIT editRequested(m_prompts.at(current.row()));
            return;
        }
        if (event->key() == Qt::Key_Delete) {
            Q_EMIT deleteRequested(m_prompts.at(current.row()));
            return;
        }
    }
    QListView::keyPressEvent(event);
}

bool WorkspaceManagerPromptList::viewportEvent(QEvent* event)
{
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        const QModelIndex index = indexAt(help->pos());
        QString tip;
        if (index.isValid() && editButtonRect(index.row()).contains(help->pos()))
            tip = m_texts.edit;
        else if (index.isValid() && deleteButtonRect(index.row()).contains(help->pos()))
            tip = m_texts.remove;
        if (tip.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), tip, viewport());
        return true;
    }
    return QListView::viewportEvent(event);
}
