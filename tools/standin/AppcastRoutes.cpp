#include "AppcastRoutes.h"

#include "Router.h"
#include "Server.h"

#include <QLocale>
#include <QRegularExpression>
#include <QXmlStreamWriter>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

constexpr QLatin1StringView kSparkleNs{"http://www.andymatuschak.org/xml-namespaces/sparkle"};
const QString kArchivePath = u"/download/mireo-pulse-update"_s;

QByteArray archiveBytes(const QString &version)
{
    return "mireo-pulse " + version.toLatin1() + " (stand-in archive)\n";
}

// RFC 822, as RSS wants it: English names whatever the system locale.
QString rfc822(const QDateTime &at)
{
    return QLocale::c().toString(at.toUTC(), u"ddd, dd MMM yyyy HH:mm:ss"_s) + u" +0000"_s;
}

Reply appcast(const Server &server)
{
    const AppcastFeed &feed = server.feed();
    const QString version = feed.latestVersion;
    const QDateTime published = feed.publishedAt.isValid() ? feed.publishedAt : server.now();
    const QUrl base = server.baseUrl();
    QByteArray xml;
    QXmlStreamWriter out(&xml);
    out.setAutoFormatting(true);
    out.writeStartDocument();
    out.writeNamespace(kSparkleNs, u"sparkle"_s);
    out.writeStartElement(u"rss"_s);
    out.writeAttribute(u"version"_s, u"2.0"_s);
    out.writeStartElement(u"channel"_s);
    out.writeTextElement(u"title"_s, u"Mireo Pulse"_s);
    out.writeTextElement(u"link"_s, base.resolved(QUrl(u"/appcast.xml"_s)).toString());
    out.writeTextElement(u"description"_s, u"Updates of Mireo Pulse"_s);
    out.writeTextElement(u"language"_s, u"en"_s);
    out.writeStartElement(u"item"_s);
    out.writeTextElement(u"title"_s, u"Mireo Pulse "_s + version);
    out.writeTextElement(kSparkleNs, u"version"_s, version);
    out.writeTextElement(kSparkleNs, u"shortVersionString"_s, version);
    out.writeTextElement(u"pubDate"_s, rfc822(published));
    out.writeTextElement(u"link"_s, base.resolved(QUrl(u"/download"_s)).toString());
    out.writeEmptyElement(u"enclosure"_s);
    out.writeAttribute(u"url"_s, base.resolved(QUrl(kArchivePath)).toString());
    out.writeAttribute(kSparkleNs, u"version"_s, version);
    out.writeAttribute(u"length"_s, QString::number(archiveBytes(version).size()));
    out.writeAttribute(u"type"_s, u"application/octet-stream"_s);
    out.writeEndElement(); // item
    out.writeEndElement(); // channel
    out.writeEndElement(); // rss
    out.writeEndDocument();
    return Reply{200, "application/rss+xml; charset=utf-8", xml, {}};
}

Reply downloadPage(const Server &server)
{
    const QString version = server.feed().latestVersion.toHtmlEscaped();
    const QString page = u"<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"_s
                         u"<title>Mireo Pulse "_s +
                         version + u"</title></head>\n<body>\n<h1>Mireo Pulse "_s + version +
                         u"</h1>\n<p><a href=\""_s + kArchivePath +
                         u"\">Download</a> (stand-in archive)</p>\n</body></html>\n"_s;
    return Reply{200, "text/html; charset=utf-8", page.toUtf8(), {}};
}

} // namespace

bool AppcastFeed::isVersion(const QString &text)
{
    static const QRegularExpression dotted(u"^\\d{1,6}(\\.\\d{1,6}){1,3}$"_s);
    return dotted.match(text).hasMatch();
}

void addAppcastRoutes(Router &router, const Server &server)
{
    router.add(u"GET"_s, u"/appcast.xml"_s, [&server](const Request &) { return appcast(server); });
    router.add(u"GET"_s, u"/download"_s,
               [&server](const Request &) { return downloadPage(server); });
    router.add(u"GET"_s, kArchivePath, [&server](const Request &) {
        return Reply{
            200, "application/octet-stream", archiveBytes(server.feed().latestVersion), {}};
    });
}

} // namespace standin
