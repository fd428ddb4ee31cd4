#include "ControlRoutes.h"

#include "ControlReader.h"
#include "PublicRoutes.h"
#include "Server.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

constexpr qint64 kMaxBodyBytes = qint64(512) << 20;
constexpr int kMaxAdvance = 100000;

Reply queueOverride(Server &server, const Request &request)
{
    ControlReader in(request.body,
                     {u"path"_s, u"count"_s, u"status"_s, u"body"_s, u"bodyBase64"_s, u"repeat"_s,
                      u"contentType"_s, u"delayMs"_s, u"drop"_s, u"location"_s, u"passThrough"_s});
    Override o;
    const QString path = in.string(u"path"_s);
    if (path.isEmpty())
        in.fail(u"path is required"_s);
    const auto count = int(in.integer(u"count"_s, 1, 1, 1000000));
    o.status = int(in.integer(u"status"_s, 200, 200, 599));
    if (in.has(u"body"_s) && in.has(u"bodyBase64"_s))
        in.fail(u"give body or bodyBase64, not both"_s);
    if (in.has(u"bodyBase64"_s)) {
        const auto decoded = QByteArray::fromBase64Encoding(
            in.string(u"bodyBase64"_s).toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            in.fail(u"bodyBase64 is not base64"_s);
        o.body = decoded.decoded;
    } else {
        o.body = in.string(u"body"_s).toUtf8();
    }
    o.repeat = int(in.integer(u"repeat"_s, 1, 0, kMaxBodyBytes));
    if (qint64(o.body.size()) * o.repeat > kMaxBodyBytes)
        in.fail(u"body times repeat exceeds 512 MiB"_s);
    o.contentType = in.string(u"contentType"_s, u"application/json"_s).toLatin1();
    o.delayMs = int(in.integer(u"delayMs"_s, 0, 0, 600000));
    o.drop = in.boolean(u"drop"_s, false);
    o.location = in.string(u"location"_s).toUtf8();
    o.passThrough = in.boolean(u"passThrough"_s, false);
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    server.overrideNext(path, o, count);
    return Reply::json(QJsonObject{{u"queued"_s, count}});
}

Reply advance(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"steps"_s});
    const auto steps = int(in.integer(u"steps"_s, 1, 0, kMaxAdvance));
    if (!in.error().isEmpty())
        return Reply::error(400, in.error());
    server.book().advance(steps);
    return Reply::json(QJsonObject{{u"step"_s, server.book().step()},
                                   {u"track_record"_s, trackRecordJson(server.book())}});
}

} // namespace

void addControlRoutes(Router &router, Server &server)
{
    const QString prefix = Server::kControlPrefix;
    router.add(u"POST"_s, prefix + u"override"_s,
               [&server](const Request &r) { return queueOverride(server, r); });
    router.add(u"GET"_s, prefix + u"requests"_s,
               [&server](const Request &) { return Reply::json(server.requestsJson()); });
    router.add(u"DELETE"_s, prefix + u"requests"_s, [&server](const Request &) {
        const auto cleared = qint64(server.requests().size());
        server.clearRequests();
        return Reply::json(QJsonObject{{u"cleared"_s, cleared}});
    });
    router.add(u"POST"_s, prefix + u"reset"_s, [&server](const Request &) {
        server.reset();
        return Reply::json(QJsonObject{{u"ok"_s, true}});
    });
    router.add(u"POST"_s, prefix + u"advance"_s,
               [&server](const Request &r) { return advance(server, r); });
    router.add(u"GET"_s, prefix + u"health"_s, [](const Request &) {
        return Reply::json(QJsonObject{{u"ok"_s, true}});
    });
}

} // namespace standin
