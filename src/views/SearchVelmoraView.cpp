#include "SearchVelmoraView.h"

#include "CharacterClasses.h"
#include "PanelText.h"
#include "VelmoraColors.h"
#include "VelmoraDesignTokens.h"
#include "VelmoraSymbolButton.h"
#include "VelmoraSymbols.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPainter>

using namespace Qt::StringLiterals;
using namespace VelmoraColors;
namespace Brand = VelmoraDesignTokens::Brand;

namespace {
constexpr int sidePadding = 16;
constexpr int glassSize = 16;
} // namespace

SearchVelmoraView::SearchVelmoraView(QWidget* parent) : QWidget(parent)
{
    setFixedHeight(rowHeight);
    auto* row = new QHBoxLayout(this);
    // The glass is drawn in the leading padding's place.
    row->setContentsMargins(sidePadding + glassSize + 8, 0, sidePadding, 0);
    row->setSpacing(8);
    m_field = new QLineEdit(this);
    m_field->setFrame(false);
    m_field->setFont(PanelText::font(13));
    m_field->setAttribute(Qt::WA_MacShowFocusRect, false);
    QPalette palette = m_field->palette();
    palette.setColor(QPalette::Base, Qt::transparent);
    palette.setColor(QPalette::Text, Brand::textPrimary());
    palette.setColor(QPalette::PlaceholderText, white(0.46));
    m_field->setPalette(palette);
    m_clear = new VelmoraSymbolButton(QString(), QSize(22, 22), this);
    m_clear->setLook({u"xmark.circle.fill"_s, 13, white(0.72), Qt::transparent, -1});
    m_clear->setFocusPolicy(Qt::NoFocus);
    m_clear->hide();
    row->addWidget(m_field, 1);
    row->addWidget(m_clear);
    connect(m_clear, &QAbstractButton::clicked, this, [this] {
        focusField();
        m_field->clear();
    });
    connect(m_field, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_clear->setVisible(!CharacterClasses::trimmedWhitespaceAndNewlines(text).isEmpty());
        if (onSearchQueryChange)
            onSearchQueryChange(text);
    });
    setLanguage(AppLanguage::english);
}

QString SearchVelmoraView::searchText() const
{
    return m_field->text();
}

void SearchVelmoraView::setSearchText(const QString& text)
{
    if (text != m_field->text())
        m_field->setText(text);
}

void SearchVelmoraView::setLanguage(AppLanguage language)
{
    const QString placeholder = L10n::text(u"search.placeholder"_s, language);
    m_field->setPlaceholderText(placeholder);
    m_field->setAccessibleName(placeholder);
    m_clear->setName(L10n::text(u"action.clear.search"_s, language));
}

void SearchVelmoraView::focusField()
{
    m_field->setFocus(Qt::OtherFocusReason);
}

bool SearchVelmoraView::isFocused() const
{
    return m_field->hasFocus();
}

void SearchVelmoraView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(Brand::border(), 1.0));
    painter.setBrush(white(0.085));
    painter.drawRoundedRect(box, 22, 22);
    VelmoraSymbols::paint(painter, u"magnifyingglass"_s, QRectF(sidePadding, 0, glassSize, height()), glassSize,
                          white(0.72));
}
