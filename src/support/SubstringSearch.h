// A prepared plain substring search: the library search runs one over every prompt's folded text at
// each keystroke, so it must stream through the text at the speed of reading it.
#pragma once

#include <QString>
#include <QStringView>

class SubstringSearch {
public:
    explicit SubstringSearch(QString needle) : m_needle(std::move(needle)) {}

    // The first position of the needle in the text, or -1; an empty needle is at 0.
    qsizetype indexIn(QStringView text) const;
    bool isFoundIn(QStringView text) const { return indexIn(text) >= 0; }

private:
    QString m_needle;
};
