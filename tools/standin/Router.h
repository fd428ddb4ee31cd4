#pragma once

#include "Reply.h"
#include "Request.h"

#include <QHash>
#include <QString>
#include <functional>

namespace standin {

// Path -> method -> handler. Each group of endpoints registers itself from its own file, so new
// ones are added without touching the server.
class Router
{
public:
    using Handler = std::function<Reply(const Request &)>;

    void add(const QString &method, const QString &path, Handler handler);
    // Unknown paths get 404 and known paths with another method 405, both as small JSON bodies.
    Reply dispatch(const Request &request) const;

private:
    QHash<QString, QHash<QString, Handler>> m_routes;
};

} // namespace standin
