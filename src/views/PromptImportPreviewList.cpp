#include "PromptImportPreviewList.h"

#include "PromptPanelTextSize.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"

#include <QAbstractListModel>
#include <QPainter>
#include <QPainterPath>
#include <QStyledItemDelegate>
#include <QTextLayout>

using namespace Qt::StringLiterals;

namespace {

class PreviewModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    QList<PromptImportPreview> previews;

    int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : int(previews.size()); }
    QVariant data(const QModelIndex& index, int role) const override
    {
        if (!index.isValid() || index.row() >= previews.size())
            return {};
        const PromptImportPreview& preview = previews.at(index.row());
        if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole)
            return preview.title;
        if (role == Qt::AccessibleDescriptionRole)
            return preview.text;
        return {};
    }
    void reset(const QList<PromptImportPreview>& next)
    {
        beginResetModel();
        previews = next;
        endResetModel();
    }
};

class PreviewDelegate : public QStyledItemDelegate {
public:
    PreviewDelegate(const PreviewModel* model, QObject* parent) : QStyledItemDelegate(parent), m_model(model) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const PromptImportPreview& preview = m_model->previews.at(index.row());
        const Fonts fonts = fontsFor(option.widget);
        QRectF box = QRectF(option.rect).adjusted(0, 0, 0, isLast(index) ? 0 : -PromptImportPreviewList::spacing);
        QPainterPath path;
        path.addRoundedRect(box, 8, 8);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->fillPath(path, PromptImportPreviewList::boxColor());
        const int p = PromptImportPreviewList::padding;
        const int width = option.rect.width() - 2 * p;
        int y = option.rect.top() + p;
        painter->setFont(fonts.title);
        painter->setPen(VelmoraDesignTokens::Brand::textPrimary());
        const QFontMetrics titleMetrics(fonts.title);
        painter->drawText(QRect(option.rect.left() + p, y, width, titleMetrics.height()), Qt::AlignLeft | Qt::AlignVCenter,
                          titleMetrics.elidedText(preview.title, Qt::ElideRight, width));
        y += titleMetrics.height() + PromptImportPreviewList::lineSpacing;
        painter->setFont(fonts.text);
        painter->setPen(VelmoraColors::secondaryText());
        const QFontMetrics textMetrics(fonts.text);
        for (const QString& line : PromptImportPreviewList::wrappedLines(preview.text, fonts.text, width, 2)) {
            painter->drawText(QRect(option.rect.left() + p, y, width, textMetrics.height()),
                              Qt::AlignLeft | Qt::AlignVCenter, line);
            y += textMetrics.height();
        }
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const Fonts fonts = fontsFor(option.widget);
        const int width = std::max(1, option.rect.width() - 2 * PromptImportPreviewList::padding);
        const qsizetype lines = PromptImportPreviewList::wrappedLines(m_model->previews.at(index.row()).text,
                                                                      fonts.text, width, 2)
                                    .size();
        const int height = 2 * PromptImportPreviewList::padding + QFontMetrics(fonts.title).height() +
                           PromptImportPreviewList::lineSpacing + int(lines) * QFontMetrics(fonts.text).height() +
                           (isLast(index) ? 0 : PromptImportPreviewList::spacing);
        return {option.rect.width(), height};
    }

private:
    struct Fonts {
        QFont title;
        QFont text;
    };
    static Fonts fontsFor(const QWidget* widget)
    {
        const PromptPanelTextSize size = promptPanelTextSizeOf(widget);
        Fonts fonts{textStyleFont(PromptTextStyle::caption, size), textStyleFont(PromptTextStyle::caption, size)};
        fonts.title.setWeight(QFont::DemiBold);
        return fonts;
    }
    bool isLast(const QModelIndex& index) const { return index.row() == m_model->previews.size() - 1; }

    const PreviewModel* m_model;
};

} // namespace

PromptImportPreviewList::PromptImportPreviewList(QWidget* parent) : QListView(parent)
{
    auto* model = new PreviewModel(this);
    setModel(model);
    setItemDelegate(new PreviewDelegate(model, this));
    setSelectionMode(QAbstractItemView::NoSelection);
    setFocusPolicy(Qt::NoFocus);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setResizeMode(QListView::Adjust);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
}

void PromptImportPreviewList::setPreviews(const QList<PromptImportPreview>& previews)
{
    static_cast<PreviewModel*>(model())->reset(previews);
}

const QList<PromptImportPreview>& PromptImportPreviewList::previews() const
{
    return static_cast<const PreviewModel*>(model())->previews;
}

QColor PromptImportPreviewList::boxColor()
{
    return VelmoraColors::withOpacity(VelmoraColors::secondaryText(), 0.08);
}

QStringList PromptImportPreviewList::wrappedLines(const QString& text, const QFont& font, int width, int lines)
{
    // Two lines never need more than this; a long text is not laid out whole.
    QString flowing = text.left(qsizetype(lines) * 400);
    flowing.replace(u'\n', QChar::LineSeparator);
    QTextLayout layout(flowing, font);
    layout.beginLayout();
    QStringList result;
    while (result.size() < lines) {
        QTextLine line = layout.createLine();
        if (!line.isValid())
            break;
        line.setLineWidth(width);
        const bool last = result.size() == lines - 1;
        const qsizetype end = line.textStart() + line.textLength();
        if (last && end < flowing.size()) {
            const QString rest = flowing.mid(line.textStart()).replace(QChar::LineSeparator, u' ');
            result.append(QFontMetrics(font).elidedText(rest, Qt::ElideRight, width));
        } else {
            result.append(flowing.mid(line.textStart(), line.textLength()).remove(QChar::LineSeparator).trimmed());
        }
    }
    layout.endLayout();
    return result;
}
