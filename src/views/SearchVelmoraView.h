// The panel's search row: a magnifying glass, a plain field bound to the panel's search text, and a
// clear button while the text holds more than blanks. Every change of the text is reported.
#pragma once

#include "AppLanguage.h"

#include <QWidget>
#include <functional>

class QLineEdit;
class VelmoraSymbolButton;

class SearchVelmoraView : public QWidget {
    Q_OBJECT

public:
    static constexpr int rowHeight = 44;

    explicit SearchVelmoraView(QWidget* parent = nullptr);

    // Told every change of the text, typed or set.
    std::function<void(const QString&)> onSearchQueryChange;

    QString searchText() const;
    void setSearchText(const QString& text);
    void setLanguage(AppLanguage language);
    void focusField();
    bool isFocused() const;

    QLineEdit* field() const { return m_field; }
    VelmoraSymbolButton* clearButton() const { return m_clear; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLineEdit* m_field = nullptr;
    VelmoraSymbolButton* m_clear = nullptr;
};
