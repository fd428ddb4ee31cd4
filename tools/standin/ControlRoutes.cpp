#include "ControlRoutes.h"

#include "PublicRoutes.h"
#include "Server.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <cmath>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

constexpr qint64 kMaxBodyBytes = qint64(512) << 20;
constexpr int kMaxAdvance = 100000;

// Reads a control body strictly: a typo in a key or a wrong type is an error, not a default.
class ControlReader
{
public:
    ControlReader(const QByteArray &body, const QSet<QString> &known)
    {
        if (body.trimmed().isEmpty())
            return; // an empty body means all defaults
        QJsonParseError error{};
        const QJsonDocument document = QJsonDocument::fromJson(body, &error);
        if (error.error != QJsonParseError::NoError || !document.isObject()) {
            fail(u"body is not a JSON object"_s);
            return;
        }
        m_object = document.object();
        for (const QString &key : m_object.keys()) {
            if (!known.contains(key))
                fail(u"unknown key: "_s + key);
        }
    }

    bool has(const QString &key) const { return m_object.contains(key); }
    const QString &error() const { return m_error; }

    qint64 integer(const QString &key, qint64 fallback, qint64 min, qint64 max)
    {
        if (!has(key))
            return fallback;
        const QJsonValue value = m_object.value(key);
        const double number = value.toDouble();
        if (!value.isDouble() || std::floor(number) != number || number < double(min) ||
            number > double(max)) {
            fail(u"%1 must be an integer from %2 to %3"_s.arg(key).arg(min).arg(max));
            return fallback;
        }
        return qint64(number);
    }

    QString string(const QString &key, const QString &fallback = {})
    {
        if (!has(key))
            return fallback;
        if (!m_object.value(key).isString())
            fail(key + u" must be a string"_s);
        return m_object.value(key).toString();
    }

    bool boolean(const QString &key, bool fallback)
    {
        if (!has(key))
            return fallback;
        if (!m_object.value(key).isBool())
            fail(key + u" must be true or false"_s);
        return m_object.value(key).toBool();
    }

    void fail(const QString &message)
    {
        if (m_error.isEmpty())
            m_error = message;
    }

private:
    QJsonObject m_object;
    QString m_error;
};

Reply queueOverride(Server &server, const Request &request)
{
    ControlReader in(request.body, {u"path"_s, u"count"_s, u"status"_s, u"body"_s, u"bodyBase64"_s,
                                    u"repeat"_s, u"contentType"_s, u"delayMs"_s, u"drop"_s});
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
