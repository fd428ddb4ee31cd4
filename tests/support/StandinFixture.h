#pragma once

#include "Server.h"

#include <QTcpServer>
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
    // How many requests to `path` the stand-in has logged since it last cleared them.
    int requestsTo(QStringView path) const
    {
        int count = 0;
        for (const auto &request : server.requests())
            count += request.path == path;
        return count;
    }
};

// A loopback URL where nothing listens: connections are refused at once.
inline QUrl refusingUrl()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port));
}

} // namespace testing
