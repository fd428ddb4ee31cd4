#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

class QHttpServerRequest;

namespace standin {

// A plain copy of an incoming request. QHttpServerRequest is reused for the next request on the
// same connection, so handlers and the log only ever see this snapshot.
struct Request
{
    QString method; // "GET", "POST", ...
    QString path;   // with the leading slash, no query
    QString query;  // as sent, percent-encoded, without the '?'
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;

    static Request from(const QHttpServerRequest &request);
    // The first header of that name, compared case-insensitively; empty when absent.
    QByteArray header(QByteArrayView name) const;
    // A decoded query item; null when absent.
    QString queryItem(const QString &key) const;
};

using LoggedRequest = Request;

} // namespace standin
