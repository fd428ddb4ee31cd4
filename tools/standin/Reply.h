#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QList>
#include <QPair>

class QTcpSocket;

namespace standin {

// An HTTP answer written straight to the socket. We write the bytes ourselves rather than through
// QHttpServerResponder so any status code works and a half-sent body is possible.
struct Reply
{
    int status = 200;
    QByteArray contentType = "application/json";
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers;

    static Reply json(const QJsonValue &value, int status = 200);
    static Reply error(int status, const QString &message);

    void send(QTcpSocket *socket) const;
    // Promises the whole body, sends half, then aborts once that half has left the buffer.
    void sendTruncated(QTcpSocket *socket) const;

private:
    QByteArray head() const;
};

} // namespace standin
