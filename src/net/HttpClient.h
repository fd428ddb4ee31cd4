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

// The one HTTP client of the process. Every request carries the User-Agent, waits at most
// `timeout` for each transfer step and a bounded total, follows no redirects, and reads no
// more than maxBodyBytes of a body.
class HttpClient : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 defaultMaxBodyBytes = 1 << 20;

    explicit HttpClient(QByteArray userAgent, QObject *parent = nullptr);
    ~HttpClient() override;

    QCoro::Task<HttpResponse> send(HttpRequest request);
    QCoro::Task<HttpResponse> get(const QUrl &url, std::chrono::milliseconds timeout);

    void setMaxBodyBytes(qint64 bytes) { m_maxBodyBytes = bytes; }
    // Shortens every request's time-out to at most `limit`, so tests never wait real seconds.
    void setTimeoutLimit(std::chrono::milliseconds limit) { m_timeoutLimit = limit; }
    // A slow drip keeps the per-step time-out alive; this bounds the whole exchange.
    void setTotalTimeoutFactor(int factor) { m_totalTimeoutFactor = factor; }

private:
    QByteArray m_userAgent;
    QNetworkAccessManager *m_manager;
    qint64 m_maxBodyBytes = defaultMaxBodyBytes;
    int m_totalTimeoutFactor = 6;
    std::optional<std::chrono::milliseconds> m_timeoutLimit;
};

} // namespace net
