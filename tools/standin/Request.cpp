#include "Request.h"

#include <QHttpServerRequest>

using namespace Qt::StringLiterals;

namespace standin {

namespace {

QString methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get:
        return u"GET"_s;
    case QHttpServerRequest::Method::Put:
        return u"PUT"_s;
    case QHttpServerRequest::Method::Delete:
        return u"DELETE"_s;
    case QHttpServerRequest::Method::Post:
        return u"POST"_s;
    case QHttpServerRequest::Method::Head:
        return u"HEAD"_s;
    case QHttpServerRequest::Method::Options:
        return u"OPTIONS"_s;
    case QHttpServerRequest::Method::Patch:
        return u"PATCH"_s;
    case QHttpServerRequest::Method::Connect:
        return u"CONNECT"_s;
    case QHttpServerRequest::Method::Trace:
        return u"TRACE"_s;
    default:
        return u"UNKNOWN"_s;
    }
}

} // namespace

Request Request::from(const QHttpServerRequest &request)
{
    const QUrl url = request.url();
    return Request{methodName(request.method()), url.path(), url.query(QUrl::FullyEncoded),
                   request.headers(), request.body()};
}

} // namespace standin
