#pragma once

#include "Request.h"

#include <QJsonArray>
#include <QList>

namespace standin {

// Every request the app made, in arrival order, for tests to inspect.
class RequestLog
{
public:
    void append(const Request &request) { m_requests.append(request); }
    void clear() { m_requests.clear(); }
    const QList<Request> &requests() const { return m_requests; }
    QJsonArray toJson() const;

private:
    QList<Request> m_requests;
};

} // namespace standin
