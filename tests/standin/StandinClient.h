#pragma once

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
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QByteArray contentType;
    qint64 declaredLength = -1;
    QByteArray body;
    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
};

using Headers = QList<QPair<QByteArray, QByteArray>>;

inline Headers bearer(const QString &accessToken)
{
    return {{"Authorization", "Bearer " + accessToken.toLatin1()}};
}

// A plain client for the stand-in's tests. `request` is "VERB /path?query", or just the path for
// a GET. A body is sent as JSON unless `headers` name another Content-Type.
class StandinClient
{
public:
    StandinClient() { m_nam.setProxy(QNetworkProxy::NoProxy); }

    QNetworkAccessManager &nam() { return m_nam; }

    Answer fetch(const QUrl &base, const QString &request, const QByteArray &body = {},
                 const Headers &headers = {})
    {
        const QString target = request.section(u' ', -1);
        const QByteArray verb =
            request.contains(u' ') ? request.section(u' ', 0, 0).toLatin1() : "GET";
        QNetworkRequest http(base.resolved(QUrl(target)));
        http.setRawHeader("User-Agent", "MireoPulseTest/1.0");
        if (!body.isEmpty())
            http.setHeader(QNetworkRequest::ContentTypeHeader, QByteArray("application/json"));
        for (const auto &[name, value] : headers)
            http.setRawHeader(name, value);
        std::unique_ptr<QNetworkReply> reply(m_nam.sendCustomRequest(http, verb, body));
        QSignalSpy finished(reply.get(), &QNetworkReply::finished);
        if (!reply->isFinished())
            finished.wait(3000);
        return {reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(), reply->error(),
                reply->header(QNetworkRequest::ContentTypeHeader).toByteArray(),
                reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(), reply->readAll()};
    }

private:
    QNetworkAccessManager m_nam;
};

} // namespace testing
