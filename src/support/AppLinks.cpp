#include "AppLinks.h"

using namespace Qt::StringLiterals;

namespace {

QUrl onSite(const QString& path)
{
    return QUrl(QString::fromLatin1(AppLinks::site) + path);
}

} // namespace

namespace AppLinks {

QUrl website()
{
    return onSite(u"/"_s);
}

QUrl download()
{
    return onSite(u"/download"_s);
}

QUrl support()
{
    return onSite(u"/support"_s);
}

QUrl terms()
{
    return onSite(u"/terms"_s);
}

QUrl privacy()
{
    return onSite(u"/privacy"_s);
}

} // namespace AppLinks
