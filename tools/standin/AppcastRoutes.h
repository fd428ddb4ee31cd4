#pragma once

#include <QDateTime>
#include <QString>

namespace standin {

class Router;
class Server;

// What the updates feed announces.
struct AppcastFeed
{
    QString latestVersion = QStringLiteral(MIREO_APP_VERSION); // the app's own: "up to date"
    QDateTime publishedAt;                                     // invalid: the stand-in's now

    // Plain dotted numbers only, e.g. "1.2.0".
    static bool isVersion(const QString &text);
};

// The updates feed (/appcast.xml) and the download page and archive it points at.
void addAppcastRoutes(Router &router, const Server &server);

} // namespace standin
