#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QObject>
#include <QPair>
#include <QUrl>
#include <chrono>
#include <optional>

class QNetworkAccessManager;

namespace net {

struct HttpRequest
{
    QByteArray method = "GET";
    QUrl url;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    std::chrono::milliseconds timeout{10'000};
};

struct HttpResponse
{
    // The HTTP status, or 0 when no response arrived (refused, timed out, cut off).
    int status = 0;
    // Only a complete 200 response within the size cap carries its body; others are never read.
    QByteArray body;
    bool ok = false;
};

// Where a redirect answer sends `previous`, as a platform's shared session follows it: 301, 302,
// 303, 307 and 308 with a Location. 301 and 302 turn a POST into a GET, 303 anything but a
// HEAD; 307 and 308 keep method and body. Absent when it must not be followed: no usable
// target, https to http, or a body that would go to another origin. `Authorization` and
// `apikey` are dropped once the target's origin differs from `origin`, the first request's.
std::optional<HttpRequest> redirected(const HttpRequest &previous, int status,
                                      const QByteArray &location, const QUrl &origin);

// The one HTTP client of the process. Every request carries the User-Agent, waits at most
// `timeout` for each transfer step and a bounded total, follows redirects as `redirected` says
// up to maxRedirects hops (one more redirect is a failure with its status), and reads no more
// than maxBodyBytes of a body.
class HttpClient : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 maxBodyBytes = 1 << 20;
    // A slow drip keeps the per-step time-out alive; this many steps bound the whole exchange.
    static constexpr int totalTimeoutFactor = 6;
    static constexpr int maxRedirects = 10;

    explicit HttpClient(QByteArray userAgent, QObject *parent = nullptr);
    ~HttpClient() override;

    QCoro::Task<HttpResponse> send(HttpRequest request);
    QCoro::Task<HttpResponse> get(const QUrl &url, std::chrono::milliseconds timeout);

    // Shortens every request's time-out to at most `limit`, so tests never wait real seconds.
    void setTimeoutLimit(std::chrono::milliseconds limit) { m_timeoutLimit = limit; }

private:
    struct Hop
    {
        HttpResponse response;
        QByteArray location; // of a redirect answer
    };
    QCoro::Task<Hop> transfer(HttpRequest request);

    QByteArray m_userAgent;
    QNetworkAccessManager *m_manager;
    std::optional<std::chrono::milliseconds> m_timeoutLimit;
};

} // namespace net
