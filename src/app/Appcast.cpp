#include "app/Appcast.h"

#include <QXmlStreamReader>

namespace {
const QString sparkleNamespace =
    QStringLiteral("http://www.andymatuschak.org/xml-namespaces/sparkle");

struct Item
{
    QString version;
    QString shortVersion;
    QString link;
    QString enclosureUrl;
};

// True for the sparkle namespace, or the bare "sparkle:" prefix of a feed that forgot to declare
// it.
bool isSparkle(const QXmlStreamReader &xml)
{
    return xml.namespaceUri() == sparkleNamespace || xml.prefix() == u"sparkle";
}

QString sparkleAttribute(const QXmlStreamAttributes &attributes, QStringView name)
{
    for (const QXmlStreamAttribute &attribute : attributes) {
        if (attribute.name() == name &&
            (attribute.namespaceUri() == sparkleNamespace || attribute.prefix() == u"sparkle"))
            return attribute.value().toString().trimmed();
    }
    return {};
}

Item readItem(QXmlStreamReader &xml)
{
    Item item;
    while (xml.readNextStartElement()) {
        const QStringView name = xml.name();
        if (name == u"version" && isSparkle(xml)) {
            item.version = xml.readElementText().trimmed();
        } else if (name == u"shortVersionString" && isSparkle(xml)) {
            item.shortVersion = xml.readElementText().trimmed();
        } else if (name == u"link" && xml.namespaceUri().isEmpty() && xml.prefix().isEmpty()) {
            item.link = xml.readElementText().trimmed();
        } else if (name == u"enclosure") {
            const QXmlStreamAttributes attributes = xml.attributes();
            item.enclosureUrl = attributes.value(QStringLiteral("url")).toString().trimmed();
            if (item.version.isEmpty())
                item.version = sparkleAttribute(attributes, u"version");
            if (item.shortVersion.isEmpty())
                item.shortVersion = sparkleAttribute(attributes, u"shortVersionString");
            xml.skipCurrentElement();
        } else {
            xml.skipCurrentElement();
        }
    }
    return item;
}

std::optional<QUrl> webPage(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || (url.scheme() != u"https" && url.scheme() != u"http"))
        return std::nullopt;
    return url;
}

// The leading digits of a version part and what follows them.
std::pair<QStringView, QStringView> splitPart(QStringView part)
{
    qsizetype digits = 0;
    while (digits < part.size() && part.at(digits).isDigit() && part.at(digits).unicode() < 128)
        ++digits;
    QStringView number = part.first(digits);
    while (number.size() > 1 && number.front() == u'0')
        number = number.sliced(1);
    if (number == u"0" || number.isEmpty())
        number = {};
    return {number, part.sliced(digits)};
}

// Compares digit strings without leading zeros by value, however long they are.
int compareNumbers(QStringView a, QStringView b)
{
    if (a.size() != b.size())
        return a.size() < b.size() ? -1 : 1;
    return a.compare(b);
}
} // namespace

int compareVersions(QStringView a, QStringView b)
{
    const QList<QStringView> left = a.trimmed().split(u'.');
    const QList<QStringView> right = b.trimmed().split(u'.');
    for (qsizetype i = 0; i < std::max(left.size(), right.size()); ++i) {
        const auto [leftNumber, leftRest] = splitPart(i < left.size() ? left[i] : QStringView());
        const auto [rightNumber, rightRest] =
            splitPart(i < right.size() ? right[i] : QStringView());
        if (const int byNumber = compareNumbers(leftNumber, rightNumber); byNumber != 0)
            return byNumber < 0 ? -1 : 1;
        if (leftRest == rightRest)
            continue;
        // A pre-release ("2b1") comes before the release ("2").
        if (leftRest.isEmpty() || rightRest.isEmpty())
            return leftRest.isEmpty() ? 1 : -1;
        return leftRest.compare(rightRest) < 0 ? -1 : 1;
    }
    return 0;
}

std::optional<AppcastRelease> parseAppcast(const QByteArray &bytes)
{
    QXmlStreamReader xml(bytes);
    std::optional<Item> newest;
    while (!xml.atEnd()) {
        xml.readNext();
        if (!xml.isStartElement() || xml.name() != u"item" || !xml.namespaceUri().isEmpty())
            continue;
        Item item = readItem(xml);
        if (item.version.isEmpty())
            continue;
        if (!newest || compareVersions(item.version, newest->version) > 0)
            newest = std::move(item);
    }
    // A feed cut off or malformed half way is not trusted at all.
    if (xml.hasError() || !newest)
        return std::nullopt;
    AppcastRelease release;
    release.version = newest->version;
    release.displayVersion =
        newest->shortVersion.isEmpty() ? newest->version : newest->shortVersion;
    release.page = webPage(newest->link);
    if (!release.page)
        release.page = webPage(newest->enclosureUrl);
    return release;
}
