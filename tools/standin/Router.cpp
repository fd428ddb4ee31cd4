#include "Router.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace standin {

void Router::add(const QString &method, const QString &path, Handler handler)
{
    m_routes[path].insert(method, std::move(handler));
}

Reply Router::dispatch(const Request &request) const
{
    const auto route = m_routes.constFind(request.path);
    if (route == m_routes.cend())
        return Reply::error(404, u"no such path: "_s + request.path);
    const auto handler = route->constFind(request.method);
    if (handler == route->cend()) {
        QStringList allowed = route->keys();
        allowed.sort();
        Reply reply = Reply::error(405, u"method not allowed"_s);
        reply.headers.append({"Allow", allowed.join(u", "_s).toLatin1()});
        return reply;
    }
    return (*handler)(request);
}

} // namespace standin
