#include "DesktopEntryFormat.h"

namespace DesktopEntryFormat {

QString unescapedValue(const QString& value)
{
    QString result;
    result.reserve(value.size());
    for (qsizetype index = 0; index < value.size(); ++index) {
        const QChar character = value.at(index);
        if (character != u'\\' || index + 1 == value.size()) {
            result.append(character);
            continue;
        }
        const QChar next = value.at(++index);
        if (next == u's')
            result.append(u' ');
        else if (next == u'n')
            result.append(u'\n');
        else if (next == u't')
            result.append(u'\t');
        else if (next == u'r')
            result.append(u'\r');
        else if (next == u'\\')
            result.append(next);
        else
            result.append(character).append(next);
    }
    return result;
}

} // namespace DesktopEntryFormat
