#include "AppcastParser.h"

#include "UpdateCheckErrors.h"
#include "UpdateCheckModels.h"

#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace {

AppError feedError(UpdateCheckErrors::Code code)
{
    return UpdateCheckErrors::make(code, UpdateCheckFailure::feed);
}

struct RawItem {
    QString version;
    QString shortVersionString;
    QString link;
    bool isForLinux = false;
};

bool isElement(const QXmlStreamReader& xml, QStringView namespaceUri, QStringView name)
{
    return xml.namespaceUri() == namespaceUri && xml.name() == name;
}

RawItem readItem(QXmlStreamReader& xml)
{
    const QString update = QString::fromLatin1(AppcastParser::updateNamespace);
    RawItem item;
    QString enclosureVersion;
    QString enclosureShortVersion;
    while (xml.readNextStartElement()) {
        if (isElement(xml, update, u"version")) {
            item.version = xml.readElementText().trimmed();
        } else if (isElement(xml, update, u"shortVersionString")) {
            item.shortVersionString = xml.readElementText().trimmed();
        } else if (isElement(xml, u"", u"link")) {
            item.link = xml.readElementText().trimmed();
        } else if (isElement(xml, u"", u"enclosure")) {
            const QXmlStreamAttributes attributes = xml.attributes();
            if (attributes.value(update, u"os"_s).trimmed() == u"linux")
                item.isForLinux = true;
            // Older feeds carry the versions on the enclosure.
            if (enclosureVersion.isEmpty())
                enclosureVersion = attributes.value(update, u"version"_s).trimmed().toString();
            if (enclosureShortVersion.isEmpty())
                enclosureShortVersion =
                    attributes.value(update, u"shortVersionString"_s).trimmed().toString();
            xml.skipCurrentElement();
        } else {
            xml.skipCurrentElement();
        }
    }
    if (item.version.isEmpty())
        item.version = enclosureVersion;
    if (item.shortVersionString.isEmpty())
        item.shortVersionString = enclosureShortVersion;
    return item;
}

} // namespace

namespace AppcastParser {

Expected<AppcastItem> newestLinuxItem(const QByteArray& feed)
{
    QXmlStreamReader xml(feed);

    // The prolog: a document type declaration could define entities, so none is accepted.
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::DTD)
            return feedError(UpdateCheckErrors::feedHasDocumentType);
        if (token == QXmlStreamReader::StartElement)
            break;
    }
    if (xml.hasError())
        return feedError(UpdateCheckErrors::feedNotXml);
    if (!xml.isStartElement() || !isElement(xml, u"", u"rss"))
        return feedError(UpdateCheckErrors::feedNotAppcast);

    QList<RawItem> items;
    bool hasChannel = false;
    while (xml.readNextStartElement()) {
        if (!isElement(xml, u"", u"channel")) {
            xml.skipCurrentElement();
            continue;
        }
        hasChannel = true;
        while (xml.readNextStartElement()) {
            if (isElement(xml, u"", u"item"))
                items.append(readItem(xml));
            else
                xml.skipCurrentElement();
        }
    }
    // Whatever follows the root must still be well-formed.
    while (!xml.atEnd())
        xml.readNext();
    if (xml.hasError())
        return feedError(UpdateCheckErrors::feedNotXml);
    if (!hasChannel)
        return feedError(UpdateCheckErrors::feedNotAppcast);

    std::optional<AppcastItem> newest;
    for (const RawItem& raw : std::as_const(items)) {
        if (!raw.isForLinux)
            continue;
        const std::optional<QList<quint64>> numbers = DottedVersion::parse(raw.version);
        if (!numbers)
            return feedError(UpdateCheckErrors::feedVersionUnparsable);
        AppcastItem item{raw.version, *numbers, raw.shortVersionString, std::nullopt};
        if (!raw.link.isEmpty()) {
            const QUrl link(raw.link, QUrl::StrictMode);
            if (!link.isValid() || link.scheme() != u"https"_s || link.host().isEmpty())
                return feedError(UpdateCheckErrors::feedLinkNotHttps);
            item.link = link;
        }
        if (!newest || DottedVersion::compare(item.versionNumbers, newest->versionNumbers) > 0)
            newest = item;
    }
    if (!newest)
        return feedError(UpdateCheckErrors::feedNoLinuxItem);
    return *newest;
}

} // namespace AppcastParser
