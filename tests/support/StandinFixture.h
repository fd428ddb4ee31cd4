#pragma once

#include "Server.h"

#include <QTest>

namespace testing {

inline constexpr std::chrono::milliseconds shortTimeout{300};

// An in-process stand-in on a free loopback port, its demo book held still.
struct StandinFixture
{
    standin::Server server;
    StandinFixture()
    {
        if (!server.listen())
            qFatal("the stand-in could not listen");
        server.book().setStepSeconds(0);
    }
    QUrl url() const { return server.baseUrl(); }
    void answer(const QString &path, int status, const QByteArray &body, int count = 1)
    {
        standin::Override response;
        response.status = status;
        response.body = body;
        server.overrideNext(path, response, count);
    }
    // The requests to `path` the stand-in has logged since it last cleared them.
    QList<standin::Request> requestsFor(QStringView path) const
    {
        QList<standin::Request> matching = server.requests();
        matching.removeIf([path](const standin::Request &request) { return request.path != path; });
        return matching;
    }
    int requestsTo(QStringView path) const { return int(requestsFor(path).size()); }
};

} // namespace testing
