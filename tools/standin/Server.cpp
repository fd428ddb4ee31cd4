#include "Server.h"

#include "ControlRoutes.h"
#include "PublicRoutes.h"

#include <QHttpServerRequest>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <memory>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

QString normalised(const QString &path)
{
    return path.startsWith(u'/') ? path : u'/' + path;
}

} // namespace

Server::Server(quint64 seed, QObject *parent) : QAbstractHttpServer(parent), m_book(seed)
{
    addPublicRoutes(m_router, m_book);
    addControlRoutes(m_router, *this);
}

bool Server::listen(quint16 port)
{
    if (m_port != 0) {
        m_error = u"already listening"_s;
        return false;
    }
    // Our own QTcpServer rather than QAbstractHttpServer::listen(), which hides why it failed.
    auto tcp = std::make_unique<QTcpServer>();
    if (!tcp->listen(QHostAddress::LocalHost, port)) {
        m_error = tcp->errorString();
        return false;
    }
    m_port = tcp->serverPort();
    bind(tcp.release()); // reparents it to us
    return true;
}

QUrl Server::baseUrl() const
{
    return QUrl(u"http://127.0.0.1:%1"_s.arg(m_port));
}

void Server::overrideNext(const QString &path, const Override &canned, int count)
{
    m_overrides.push(normalised(path), canned, count);
}

void Server::reset()
{
    m_overrides.clear();
    m_log.clear();
}

bool Server::handleRequest(const QHttpServerRequest &httpRequest, QTcpSocket *socket)
{
    const Request request = Request::from(httpRequest);
    // The control surface is neither logged nor overridable, so a test can always reach it.
    if (request.path.startsWith(kControlPrefix)) {
        m_router.dispatch(request).send(socket);
        return true;
    }
    m_log.append(request);
    if (const auto canned = m_overrides.take(request.path))
        answer(socket, *canned);
    else
        m_router.dispatch(request).send(socket);
    return true;
}

void Server::missingHandler(const QHttpServerRequest &, QTcpSocket *socket)
{
    // Unreachable while handleRequest() answers everything, but it must not leave a client hanging.
    Reply::error(404, u"not found"_s).send(socket);
}

void Server::answer(QTcpSocket *socket, const Override &canned)
{
    const Reply reply{
        canned.status, canned.contentType, canned.body.repeated(std::max(0, canned.repeat)), {}};
    const auto write = [socket, reply, drop = canned.drop] {
        if (drop)
            reply.sendTruncated(socket);
        else
            reply.send(socket);
    };
    if (canned.delayMs <= 0) {
        write();
        return;
    }
    // The socket is the timer's context, so the write is dropped if the client gives up and the
    // socket is deleted first; send() skips a socket that is closed but not yet deleted.
    QTimer::singleShot(canned.delayMs, socket, write);
}

} // namespace standin
