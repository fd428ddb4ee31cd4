#include "AccountControlRoutes.h"

#include "ControlReader.h"
#include "Server.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

constexpr qint64 kLongestSession = 366LL * 24 * 3600;

Reply ok()
{
    return Reply::json(QJsonObject{{u"ok"_s, true}});
}

Reply issueSession(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"expiresIn"_s});
    const auto expiresIn =
        int(in.integer(u"expiresIn"_s, SessionTokens::kDefaultLifetime, 0, kLongestSession));
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    const Session session = server.issueSession(expiresIn);
    return Reply::json(QJsonObject{{u"access_token"_s, session.accessToken},
                                   {u"refresh_token"_s, session.refreshToken},
                                   {u"expires_in"_s, expiresIn},
                                   {u"callbackUrl"_s, session.callbackUrl.toString()}});
}

Reply changeTokens(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"action"_s});
    const QString action = in.string(u"action"_s);
    if (action == u"expire")
        server.expireAccessTokens();
    else if (action == u"revoke")
        server.revokeRefreshTokens();
    else
        in.fail(u"action must be expire or revoke"_s);
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    return ok();
}

Reply setKillSwitch(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"engaged"_s});
    if (!in.has(u"engaged"_s))
        in.fail(u"engaged is required"_s);
    const bool engaged = in.boolean(u"engaged"_s, false);
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    server.setKillSwitch(engaged);
    return ok();
}

Reply publishDecision(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"decidedAt"_s, u"symbols"_s});
    QString decidedAt = timestampText(server.now());
    if (in.value(u"decidedAt"_s).isNull())
        decidedAt = QString(); // explicitly no decision yet
    else if (in.has(u"decidedAt"_s))
        decidedAt = in.string(u"decidedAt"_s);
    QStringList symbols;
    const QJsonValue list = in.value(u"symbols"_s);
    if (!list.isUndefined() && !list.isArray())
        in.fail(u"symbols must be a list of texts"_s);
    for (const QJsonValue &symbol : list.toArray()) {
        if (!symbol.isString())
            in.fail(u"symbols must be a list of texts"_s);
        symbols.append(symbol.toString());
    }
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    server.publishDecision(decidedAt, symbols);
    return Reply::json(server.stateJson().value(u"decision"_s));
}

// All or nothing: one bad trade rejects the whole list.
Reply addFills(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"fills"_s});
    const QJsonValue fills = in.value(u"fills"_s);
    if (!fills.isArray())
        in.fail(u"fills must be a list of trade objects"_s);
    for (const QJsonValue &fill : fills.toArray()) {
        if (!fill.isObject())
            in.fail(u"fills must be a list of trade objects"_s);
        else
            in.fail(tradeProblem(fill.toObject()));
    }
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    for (const QJsonValue &fill : fills.toArray())
        server.addFill(fill.toObject());
    return Reply::json(QJsonObject{{u"added"_s, fills.toArray().size()}});
}

Reply setLatestVersion(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"version"_s});
    const QString version = in.string(u"version"_s);
    if (in.error().isEmpty() && !server.setLatestVersion(version))
        in.fail(u"version must be dotted numbers, e.g. 1.2.0"_s);
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    return Reply::json(QJsonObject{{u"latestVersion"_s, server.latestVersion()}});
}

} // namespace

void addAccountControlRoutes(Router &router, Server &server)
{
    const QString prefix = Server::kControlPrefix;
    const auto post = [&](const QString &name, Reply (*handler)(Server &, const Request &)) {
        router.add(u"POST"_s, prefix + name,
                   [&server, handler](const Request &r) { return handler(server, r); });
    };
    post(u"session"_s, issueSession);
    post(u"tokens"_s, changeTokens);
    post(u"kill-switch"_s, setKillSwitch);
    post(u"decision"_s, publishDecision);
    post(u"fills"_s, addFills);
    post(u"appcast"_s, setLatestVersion);
    router.add(u"GET"_s, prefix + u"state"_s,
               [&server](const Request &) { return Reply::json(server.stateJson()); });
}

} // namespace standin
