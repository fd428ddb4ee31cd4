#include "Request.h"

#include <QHttpServerRequest>
#include <QMetaEnum>

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

} // namespace standin
