#include "Server.h"

#include "AccountControlRoutes.h"
#include "AccountRoutes.h"
#include "AuthRoutes.h"
#include "ControlRoutes.h"
#include "PublicRoutes.h"

#include <QHttpServerRequest>
#include <QJsonArray>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
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
    addAuthRoutes(m_router, m_tokens);
    addAccountRoutes(m_router, m_book, m_account, m_tokens);
    addAppcastRoutes(m_router, *this);
    addAccountControlRoutes(m_router, *this);
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
    m_tokens.clear();
    m_account.reset();
}

Session Server::issueSession(int expiresInSeconds)
{
    const SessionTokens::Issued issued = m_tokens.issue(expiresInSeconds);
    return Session{issued.accessToken, issued.refreshToken, SessionTokens::callbackUrl(issued)};
}

void Server::publishDecision(const QString &decidedAt, const QStringList &symbols)
{
    m_account.setDecision({decidedAt, symbols});
}

bool Server::addFill(const QJsonObject &trade)
{
    if (!tradeProblem(trade).isEmpty())
        return false;
    m_account.addTrade(trade);
    return true;
}

QJsonObject Server::stateJson() const
{
    const AccountState::Decision &decision = m_account.decision();
    const QJsonArray &trades = m_account.trades();
    const QJsonValue decidedAt =
        decision.decidedAt.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(decision.decidedAt);
    return QJsonObject{
        {u"autoExecuteEnabled"_s, m_account.autoExecuteEnabled()},
        {u"killSwitch"_s, m_account.killSwitch()},
        {u"decision"_s, QJsonObject{{u"decidedAt"_s, decidedAt},
                                    {u"symbols"_s, QJsonArray::fromStringList(decision.symbols)}}},
        {u"trades"_s, trades.size()},
        {u"fills"_s,
         std::count_if(trades.begin(), trades.end(),
                       [](const QJsonValue &trade) { return trade[u"filled_at"_s].isString(); })},
        {u"accessTokens"_s, m_tokens.liveAccessTokens()},
        {u"refreshTokens"_s, m_tokens.refreshTokens()},
        {u"latestVersion"_s, m_feed.latestVersion},
    };
}

bool Server::setLatestVersion(const QString &version)
{
    if (!AppcastFeed::isVersion(version))
        return false;
    m_feed.latestVersion = version;
    m_feed.publishedAt = m_book.now();
    return true;
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
    if (const auto canned = m_overrides.take(request.path); canned && canned->passThrough) {
        // Served when the delay is over, as a slow service would act on it only then.
        QTimer::singleShot(std::max(0, canned->delayMs), socket,
                           [this, socket, request, later = *canned]() mutable {
                               later.delayMs = 0;
                               answer(socket, later, m_router.dispatch(request));
                           });
    } else if (canned)
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

void Server::answer(QTcpSocket *socket, const Override &canned, std::optional<Reply> served)
{
    Reply reply = served ? *served
                         : Reply{canned.status,
                                 canned.contentType,
                                 canned.body.repeated(std::max(0, canned.repeat)),
                                 {}};
    if (!canned.location.isEmpty())
        reply.headers.append({"Location", canned.location});
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
