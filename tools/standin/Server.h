#pragma once

#include "AccountState.h"
#include "AppcastRoutes.h"
#include "DemoBook.h"
#include "Override.h"
#include "OverrideQueue.h"
#include "Reply.h"
#include "Request.h"
#include "RequestLog.h"
#include "Router.h"
#include "SessionTokens.h"

#include <QAbstractHttpServer>
#include <QUrl>
#include <optional>

namespace standin {

// The local stand-in for the service, on 127.0.0.1 only. Tests run it in-process, on the same
// event loop as their client; mireo-standin runs it standalone. Paths are written with the leading
// slash, exactly as in the URL ("/api/public/track-record"); a path given without one gets it.
class Server : public QAbstractHttpServer
{
    Q_OBJECT

public:
    static constexpr QLatin1StringView kControlPrefix{"/_standin/"};

    explicit Server(quint64 seed = 42, QObject *parent = nullptr);

    bool listen(quint16 port = 0); // 0 picks a free port
    QString errorString() const { return m_error; }
    quint16 port() const { return m_port; }
    QUrl baseUrl() const;

    // Queued behind earlier overrides of the same path; each serves `count` requests.
    void overrideNext(const QString &path, const Override &canned, int count = 1);
    // A reference, so `for (auto &h : server.requests().first().headers)` does not dangle.
    const QList<LoggedRequest> &requests() const { return m_log.requests(); }
    QJsonArray requestsJson() const { return m_log.toJson(); }
    void clearRequests() { m_log.clear(); }
    // Drops overrides, the log, every session and the demo account's changes; the book and the
    // updates feed stay as they are.
    void reset();

    DemoBook &book() { return m_book; }
    Router &router() { return m_router; }
    QDateTime now() const { return m_book.now(); }

    // The sign-in backend. A session is what the sign-in page would hand the app.
    Session issueSession(int expiresInSeconds = SessionTokens::kDefaultLifetime);
    void expireAccessTokens() { m_tokens.expireAccessTokens(); }
    void revokeRefreshTokens() { m_tokens.revokeRefreshTokens(); }
    SessionTokens &tokens() { return m_tokens; }

    // The demo account.
    bool autoExecuteEnabled() const { return m_account.autoExecuteEnabled(); }
    void setAutoExecuteEnabled(bool enabled) { m_account.setAutoExecuteEnabled(enabled); }
    bool killSwitch() const { return m_account.killSwitch(); }
    void setKillSwitch(bool engaged) { m_account.setKillSwitch(engaged); }
    // A null decidedAt leaves the swing answer without one (no decision yet).
    void publishDecision(const QString &decidedAt, const QStringList &symbols);
    // Appends one trade as the trades record has it; false (nothing added) for anything else.
    bool addFill(const QJsonObject &trade);
    AccountState &account() { return m_account; }
    QJsonObject stateJson() const;

    // The updates feed; false (nothing changed) for a version that is not dotted numbers.
    bool setLatestVersion(const QString &version);
    QString latestVersion() const { return m_feed.latestVersion; }
    const AppcastFeed &feed() const { return m_feed; }

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    // The canned answer, or the one the routes gave (`served`) when the override only delays.
    void answer(QTcpSocket *socket, const Override &canned, std::optional<Reply> served = {});

    DemoBook m_book;
    SessionTokens m_tokens{m_book};
    AccountState m_account{m_book};
    AppcastFeed m_feed;
    OverrideQueue m_overrides;
    RequestLog m_log;
    Router m_router;
    quint16 m_port = 0;
    QString m_error;
};

} // namespace standin
