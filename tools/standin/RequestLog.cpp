#include "RequestLog.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace standin {

QJsonArray RequestLog::toJson() const
{
    QJsonArray out;
    for (const Request &request : m_requests) {
        QJsonObject headers;
        for (const auto &[name, value] : request.headers) {
            // Names are case-insensitive, so scripts get them in lower case; a repeated header
            // folds into one comma-separated value, as HTTP allows.
            const QString key = QString::fromLatin1(name).toLower();
            const QString text = QString::fromLatin1(value);
            const QString previous = headers.value(key).toString();
            headers.insert(key, previous.isEmpty() ? text : previous + u", "_s + text);
        }
        out.append(QJsonObject{{u"method"_s, request.method},
                               {u"path"_s, request.path},
                               {u"query"_s, request.query},
                               {u"headers"_s, headers},
                               {u"body"_s, QString::fromUtf8(request.body)}});
    }
    return out;
}

} // namespace standin
