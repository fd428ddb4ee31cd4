#include "Reply.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

QByteArray reasonPhrase(int status)
{
    static const QHash<int, QByteArray> phrases{
        {200, "OK"},
        {201, "Created"},
        {202, "Accepted"},
        {204, "No Content"},
        {301, "Moved Permanently"},
        {302, "Found"},
        {304, "Not Modified"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {405, "Method Not Allowed"},
        {408, "Request Timeout"},
        {409, "Conflict"},
        {413, "Payload Too Large"},
        {422, "Unprocessable Entity"},
        {429, "Too Many Requests"},
        {500, "Internal Server Error"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {504, "Gateway Timeout"},
    };
    return phrases.value(status, "Status"); // clients must not depend on the phrase
}

// These statuses never carry a body: bytes after them would be read as the next response.
bool hasBody(int status)
{
    return status != 204 && status != 304;
}

} // namespace

Reply Reply::json(const QJsonValue &value, int status)
{
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return Reply{status, "application/json", document.toJson(QJsonDocument::Compact), {}};
}

Reply Reply::error(int status, const QString &message)
{
    return json(QJsonObject{{u"error"_s, message}}, status);
}

QByteArray Reply::head() const
{
    QByteArray out = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) + "\r\n";
    if (!contentType.isEmpty())
        out += "Content-Type: " + contentType + "\r\n";
    for (const auto &[name, value] : headers)
        out += name + ": " + value + "\r\n";
    if (hasBody(status))
        out += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    out += "\r\n";
    return out;
}

void Reply::send(QTcpSocket *socket) const
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(head());
    if (hasBody(status))
        socket->write(body);
}

void Reply::sendTruncated(QTcpSocket *socket) const
{
    if (socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(head());
    socket->write(body.left(body.size() / 2));
    // Queued, so the abort does not run inside the socket's own write path; the socket is the
    // context, so nothing fires once it is gone.
    QObject::connect(
        socket, &QIODevice::bytesWritten, socket,
        [socket] {
            if (socket->bytesToWrite() == 0)
                socket->abort();
        },
        Qt::QueuedConnection);
}

} // namespace standin
