#include "Request.h"

#include <QHttpServerRequest>
#include <QMetaEnum>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

// The enum's own names (Get, Post, ...) in the wire's upper case.
QString methodName(QHttpServerRequest::Method method)
{
    const char *key = QMetaEnum::fromType<QHttpServerRequest::Method>().valueToKey(int(method));
    return key ? QString::fromLatin1(key).toUpper() : u"UNKNOWN"_s;
}

} // namespace

Request Request::from(const QHttpServerRequest &request)
{
    const QUrl url = request.url();
    return Request{methodName(request.method()), url.path(), url.query(QUrl::FullyEncoded),
                   request.headers(), request.body()};
}

QByteArray Request::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QString Request::queryItem(const QString &key) const
{
    const QUrlQuery items(query);
    if (!items.hasQueryItem(key))
        return {};
    return items.queryItemValue(key, QUrl::FullyDecoded);
}

} // namespace standin
