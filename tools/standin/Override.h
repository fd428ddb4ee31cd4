#pragma once

#include <QByteArray>

namespace standin {

// One canned answer for the next request(s) of a path, replacing whatever the route would say.
struct Override
{
    int status = 200;
    QByteArray body{};
    int repeat = 1; // the body is sent this many times, so a test can ask for a huge answer cheaply
    QByteArray contentType = "application/json";
    int delayMs = 0;       // nothing at all is written before this
    bool drop = false;     // full Content-Length, half the body, then the connection is aborted
    QByteArray location{}; // sent as the Location header (redirects)
    // The request is served as usual once `delayMs` is over: a slow but real change.
    bool passThrough = false;
};

} // namespace standin
