#include "net/HttpClient.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <memory>

namespace net {

namespace {

bool isRedirect(int status)
{
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool sameOrigin(const QUrl &a, const QUrl &b)
{
    return a.scheme() == b.scheme() && a.host() == b.host() &&
           a.port(a.scheme() == u"https" ? 443 : 80) == b.port(b.scheme() == u"https" ? 443 : 80);
}

} // namespace

std::optional<HttpRequest> redirected(const HttpRequest &previous, int status,
                                      const QByteArray &location, const QUrl &origin)
{
    if (!isRedirect(status) || location.isEmpty())
        return std::nullopt;
    const QUrl target = previous.url.resolved(QUrl::fromEncoded(location.trimmed()));
    const QString scheme = target.scheme();
    if (!target.isValid() || target.host().isEmpty() || (scheme != u"http" && scheme != u"https"))
        return std::nullopt;
    if (previous.url.scheme() == u"https" && scheme == u"http")
        return std::nullopt;

    HttpRequest next = previous;
    next.url = target;
    next.url.setFragment(QString());
    const bool toGet = (status == 303 && previous.method != "HEAD") ||
                       ((status == 301 || status == 302) && previous.method == "POST");
    if (toGet) {
        next.method = "GET";
        next.body.clear();
        next.headers.removeIf([](const auto &header) {
            return header.first.compare("Content-Type", Qt::CaseInsensitive) == 0;
        });
    }
    if (!sameOrigin(target, origin)) {
        // What was sent for one origin is never handed to another: a body (a refresh token,
        // say) ends the exchange, credentials are left behind.
        if (!next.body.isEmpty())
            return std::nullopt;
        next.headers.removeIf([](const auto &header) {
            return header.first.compare("Authorization", Qt::CaseInsensitive) == 0 ||
                   header.first.compare("apikey", Qt::CaseInsensitive) == 0;
        });
    }
    return next;
}

HttpClient::HttpClient(QByteArray userAgent, QObject *parent)
    : QObject(parent), m_userAgent(std::move(userAgent)), m_manager(new QNetworkAccessManager(this))
{
}

HttpClient::~HttpClient()
{
    // Aborting finishes each reply, so every awaiting coroutine resumes (and sees a failure)
    // instead of waiting forever on a reply that is about to be deleted.
    const auto replies = m_manager->findChildren<QNetworkReply *>();
    for (QNetworkReply *reply : replies)
        reply->abort();
}

QCoro::Task<HttpResponse> HttpClient::get(const QUrl &url, std::chrono::milliseconds timeout)
{
    HttpRequest request;
    request.url = url;
    request.timeout = timeout;
    return send(std::move(request));
}

QCoro::Task<HttpResponse> HttpClient::send(HttpRequest request)
{
    if (m_timeoutLimit)
        request.timeout = std::min(request.timeout, *m_timeoutLimit);
    const QUrl origin = request.url;
    for (int hop = 0;; ++hop) {
        Hop answer = co_await transfer(request);
        if (hop == maxRedirects)
            co_return answer.response; // a loop, or a chain too long: the redirect fails
        std::optional<HttpRequest> next =
            redirected(request, answer.response.status, answer.location, origin);
        if (!next)
            co_return answer.response;
        request = std::move(*next);
    }
}

QCoro::Task<HttpClient::Hop> HttpClient::transfer(HttpRequest request)
{
    QNetworkRequest networkRequest(request.url);
    networkRequest.setRawHeader("User-Agent", m_userAgent);
    for (const auto &[name, value] : std::as_const(request.headers))
        networkRequest.setRawHeader(name, value);
    networkRequest.setTransferTimeout(int(request.timeout.count()));
    networkRequest.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                                QNetworkRequest::ManualRedirectPolicy);

    QNetworkReply *reply =
        request.body.isEmpty() && request.method == "GET"
            ? m_manager->get(networkRequest)
            : m_manager->sendCustomRequest(networkRequest, request.method, request.body);
    const std::unique_ptr<QNetworkReply, void (*)(QNetworkReply *)> owner(
        reply, [](QNetworkReply *r) { r->deleteLater(); });

    // Decided as soon as it is known, so a refused body is never downloaded, let alone read.
    struct Exchange
    {
        int status = 0;
        bool refused = false;
        QByteArray location;
    };
    auto exchange = std::make_shared<Exchange>();
    connect(reply, &QNetworkReply::metaDataChanged, reply, [reply, exchange] {
        exchange->status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
        exchange->location = reply->rawHeader("Location");
        const qint64 announced = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
        if (exchange->status != 200 || announced > maxBodyBytes) {
            exchange->refused = true;
            // Queued: Qt is still reporting the status error of this reply right now.
            QMetaObject::invokeMethod(reply, &QNetworkReply::abort, Qt::QueuedConnection);
        }
    });
    connect(reply, &QNetworkReply::readyRead, reply, [reply, exchange] {
        if (reply->bytesAvailable() > maxBodyBytes) {
            exchange->refused = true;
            reply->abort();
        }
    });
    auto *deadline = new QTimer(reply);
    deadline->setSingleShot(true);
    connect(deadline, &QTimer::timeout, reply, &QNetworkReply::abort);
    deadline->start(request.timeout * totalTimeoutFactor);

    co_await reply;

    Hop hop;
    hop.location = exchange->location;
    HttpResponse &response = hop.response;
    response.status = exchange->status
                          ? exchange->status
                          : reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (!exchange->refused && reply->error() == QNetworkReply::NoError && response.status == 200) {
        QByteArray body = reply->readAll();
        // A connection cut mid-body can still end without an error; the length tells.
        const QVariant announced = reply->header(QNetworkRequest::ContentLengthHeader);
        if (!announced.isValid() || announced.toLongLong() == body.size()) {
            response.body = std::move(body);
            response.ok = true;
        }
    }
    co_return hop;
}

} // namespace net
