#pragma once

#include "Server.h"

#include <QTest>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

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

// A loopback URL where nothing listens: connections are refused at once. Its port stays bound,
// never listening, for the life of the test process, so nothing else can take it meanwhile.
inline QUrl refusingUrl()
{
    static const quint16 port = [] {
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr *>(&address), size) != 0 ||
            ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size) != 0)
            qFatal("no loopback port to reserve");
        return ntohs(address.sin_port);
    }();
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(port));
}

} // namespace testing
