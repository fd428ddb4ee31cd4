#pragma once

#include "Server.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSignalSpy>
#include <memory>

namespace testing {

// What came back, copied out of the reply.
struct Answer
{
    int status = 0;
    QByteArray contentType;
    QByteArray body;
    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
};

using Headers = QList<QPair<QByteArray, QByteArray>>;

inline Headers bearer(const QString &accessToken)
{
    return {{"Authorization", "Bearer " + accessToken.toLatin1()}};
}

// The wire types of a body: {member:type,...} with sorted members, [the distinct element
// shapes, joined by |], s, n, b or null.
inline QString shape(const QJsonValue &value)
{
    QStringList parts;
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        for (auto it = object.begin(); it != object.end(); ++it)
            parts << it.key() + u':' + shape(it.value());
        return u'{' + parts.join(u',') + u'}';
    }
    if (value.isArray()) {
        for (const QJsonValue &element : value.toArray())
            if (!parts.contains(shape(element)))
                parts << shape(element);
        return u'[' + parts.join(u'|') + u']';
    }
    return value.isString()   ? QStringLiteral("s")
           : value.isDouble() ? QStringLiteral("n")
           : value.isBool()   ? QStringLiteral("b")
                              : QStringLiteral("null");
}

// A stand-in on a free port with its clock frozen at `now`, and a plain client for it.
// `request` is "VERB /path?query", or just the path for a GET; a body is sent as JSON unless
// `headers` name another Content-Type.
struct StandinRig
{
    QNetworkAccessManager nam;
    std::unique_ptr<standin::Server> server;
    QDateTime now;

    bool start(const QDateTime &start, quint64 seed = 42)
    {
        nam.setProxy(QNetworkProxy::NoProxy);
        now = start;
        server = std::make_unique<standin::Server>(seed);
        server->book().setClock([this] { return now; });
        return server->listen();
    }

    Answer fetch(const QUrl &url, const QByteArray &verb = "GET", const QByteArray &body = {},
                 const Headers &headers = {})
    {
        QNetworkRequest http(url);
        http.setRawHeader("User-Agent", "MireoPulseTest/1.0");
        if (!body.isEmpty())
            http.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
        for (const auto &[name, value] : headers)
            http.setRawHeader(name, value);
        std::unique_ptr<QNetworkReply> reply(nam.sendCustomRequest(http, verb, body));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        if (!reply->isFinished())
            finished.wait(3000);
        return {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
                reply->header(QNetworkRequest::ContentTypeHeader).toByteArray(), reply->readAll()};
    }
    Answer fetch(const QString &request, const QByteArray &body = {}, const Headers &headers = {})
    {
        const QByteArray verb =
            request.contains(u' ') ? request.section(u' ', 0, 0).toLatin1() : "GET";
        return fetch(server->baseUrl().resolved(QUrl(request.section(u' ', -1))), verb, body,
                     headers);
    }
};

} // namespace testing
