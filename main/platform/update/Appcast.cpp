#include "platform/update/Appcast.h"

#include "platform/storage/BuildIdentity.h"
#include "platform/storage/IsoDate.h"

#include <QUrl>
#include <QXmlStreamReader>

#include <algorithm>

namespace corvella {

namespace {

constexpr QLatin1String kSparkle("http://www.andymatuschak.org/xml-namespaces/sparkle");
constexpr QLatin1String kOurs("urn:space.tarrow.corvella:updates");
constexpr QLatin1String kPlain; // RSS itself has no name space
constexpr qsizetype kMostItems = 200;
constexpr qsizetype kLongestText = 1 << 10;   // of anything but the notes
constexpr qsizetype kLongestNotes = 1 << 15;  // characters
constexpr qint64 kLongestPhase = 60 * 86'400; // seconds

// The text of a simple element. With a child of its own it is none, and ends the reading.
QString textOf(QXmlStreamReader &xml, qsizetype longest = kLongestText)
{
    return xml.readElementText().left(longest).trimmed();
}

bool is(const QXmlStreamReader &xml, QLatin1String space, QStringView name)
{
    return xml.namespaceUri() == space && xml.name() == name;
}

qint64 numberOf(QStringView text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber);
    return isNumber ? number : 0;
}

QDateTime instantOf(QXmlStreamReader &xml)
{
    return parseIsoDate(textOf(xml)).value_or(QDateTime());
}

void readEnclosure(QXmlStreamReader &xml, AppcastItem &item, bool &isForLinux)
{
    const QXmlStreamAttributes attributes = xml.attributes();
    item.url = attributes.value(QLatin1String("url")).toString().left(kLongestText);
    item.length = numberOf(attributes.value(QLatin1String("length")));
    item.machine = attributes.value(kOurs, QLatin1String("machine")).toString().left(kLongestText);
    isForLinux = attributes.value(kSparkle, QLatin1String("os")) == u"linux";
    const auto signature = attributes.value(kSparkle, QLatin1String("edSignature"));
    if (const auto parsed = parseSignature(signature.toUtf8()))
        item.signature = *parsed;
    else
        item.url.clear();
    xml.skipCurrentElement();
}

bool isWhole(const AppcastItem &item)
{
    return item.build > 0 && BuildIdentity::isVersion(item.version) && !item.machine.isEmpty()
        && QUrl(item.url, QUrl::StrictMode).scheme() == u"https" && item.length > 0
        && item.length <= kLargestBundle;
}

void readItem(QXmlStreamReader &xml, QList<AppcastItem> &items)
{
    AppcastItem item;
    bool isForLinux = false;
    while (xml.readNextStartElement()) {
        if (is(xml, kSparkle, u"version"))
            item.build = numberOf(textOf(xml));
        else if (is(xml, kSparkle, u"shortVersionString"))
            item.version = textOf(xml);
        else if (is(xml, kSparkle, u"minimumSystemVersion"))
            item.minimumSystem = QVersionNumber::fromString(textOf(xml));
        else if (is(xml, kSparkle, u"channel"))
            item.channel = textOf(xml);
        else if (is(xml, kSparkle, u"phasedRolloutInterval"))
            item.phaseInterval =
                std::chrono::seconds(std::clamp<qint64>(numberOf(textOf(xml)), 0, kLongestPhase));
        else if (is(xml, kPlain, u"pubDate"))
            item.published = QDateTime::fromString(textOf(xml), Qt::RFC2822Date).toUTC();
        else if (is(xml, kPlain, u"description"))
            item.notes = textOf(xml, kLongestNotes);
        else if (is(xml, kPlain, u"enclosure"))
            readEnclosure(xml, item, isForLinux);
        else
            xml.skipCurrentElement();
    }
    if (!isForLinux || !isWhole(item))
        return;
    items << item;
    // The newest are what anybody waits for.
    if (items.size() > kMostItems)
        items.erase(std::min_element(
            items.cbegin(), items.cend(),
            [](const AppcastItem &a, const AppcastItem &b) { return a.build < b.build; }));
}

Appcast readChannel(QXmlStreamReader &xml)
{
    Appcast feed;
    while (xml.readNextStartElement()) {
        if (is(xml, kOurs, u"issued"))
            feed.issued = instantOf(xml);
        else if (is(xml, kOurs, u"expires"))
            feed.expires = instantOf(xml);
        else if (is(xml, kPlain, u"item"))
            readItem(xml, feed.items);
        else
            xml.skipCurrentElement();
    }
    return feed;
}

} // namespace

std::optional<Appcast> Appcast::parse(const QByteArray &bytes)
{
    QXmlStreamReader xml(bytes);
    xml.setEntityExpansionLimit(0);
    // A document type comes before the first element; a feed has none.
    while (!xml.atEnd() && xml.readNext() != QXmlStreamReader::StartElement) {
        if (xml.isDTD())
            return std::nullopt;
    }
    if (!is(xml, kPlain, u"rss") || !xml.readNextStartElement() || !is(xml, kPlain, u"channel"))
        return std::nullopt;
    Appcast feed = readChannel(xml);
    while (!xml.atEnd())
        xml.readNext();
    if (xml.hasError() || !feed.issued.isValid() || feed.expires <= feed.issued)
        return std::nullopt;
    return feed;
}

} // namespace corvella
