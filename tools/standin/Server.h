#pragma once

#include "DemoBook.h"
#include "Override.h"
#include "OverrideQueue.h"
#include "Request.h"
#include "RequestLog.h"
#include "Router.h"

#include <QAbstractHttpServer>
#include <QUrl>

namespace standin {

// The local stand-in for the service, on 127.0.0.1 only. Tests run it in-process, on the same
// event loop as their client; mireo-standin runs it standalone. Paths are written with the leading
// slash, exactly as in the URL ("/api/public/track-record"); a path given without one gets it.
class Server : public QAbstractHttpServer
{
    Q_OBJECT

public:
    static constexpr QLatin1StringView kControlPrefix{"/_standin/"};

    explicit Server(quint64 seed = 42, QObject *parent = nullptr);

    bool listen(quint16 port = 0); // 0 picks a free port
    QString errorString() const { return m_error; }
    quint16 port() const { return m_port; }
    QUrl baseUrl() const;

    // Queued behind earlier overrides of the same path; each serves `count` requests.
    void overrideNext(const QString &path, const Override &canned, int count = 1);
    // A reference, so `for (auto &h : server.requests().first().headers)` does not dangle.
    const QList<LoggedRequest> &requests() const { return m_log.requests(); }
    QJsonArray requestsJson() const { return m_log.toJson(); }
    void clearRequests() { m_log.clear(); }
    void reset();

    DemoBook &book() { return m_book; }
    Router &router() { return m_router; }

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    void answer(QTcpSocket *socket, const Override &canned);

    DemoBook m_book;
    OverrideQueue m_overrides;
    RequestLog m_log;
    Router m_router;
    quint16 m_port = 0;
    QString m_error;
};

} // namespace standin
