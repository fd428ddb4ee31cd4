#pragma once

#include "account/AccountRecords.h"
#include "base/AppNames.h"

#include <QByteArray>
#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QUrl>
#include <chrono>
#include <optional>

class Browser;
class Defaults;
class SecretStore;
namespace base {
class Clock;
}
namespace net {
class HttpClient;
}

// The user's session with the service and the account data it unlocks. The refresh token lives
// in the keychain, the access token in memory only; the last good portfolio is cached so a
// restart shows numbers at once.
class AuthStore : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isSignedIn READ isSignedIn NOTIFY isSignedInChanged)
    Q_PROPERTY(bool signingIn READ signingIn NOTIFY signingInChanged)
    Q_PROPERTY(std::optional<Portfolio> portfolio READ portfolio NOTIFY portfolioChanged)
    Q_PROPERTY(
        std::optional<QDateTime> portfolioAsOf READ portfolioAsOf NOTIFY portfolioAsOfChanged)
    Q_PROPERTY(
        std::optional<TodayDecision> todayDecision READ todayDecision NOTIFY todayDecisionChanged)
    Q_PROPERTY(std::optional<QString> lastError READ lastError NOTIFY lastErrorChanged)
    Q_PROPERTY(QList<Position> positions READ positions NOTIFY positionsChanged)

public:
    static constexpr std::chrono::seconds requestTimeout{10};
    // Tokens are renewed this long before they lapse.
    static constexpr std::chrono::seconds expiryMargin{60};
    static constexpr char refreshTokenKey[] = "supabase_refresh_token";
    static constexpr char redirectUrl[] = MIREO_URL_SCHEME "://auth";

    struct Endpoints
    {
        QUrl site;     // api/mobile/... lie under it
        QUrl supabase; // auth/v1/... lie under it
        QByteArray anonKey;
    };

    // Restores the session on the next turn of the event loop.
    AuthStore(net::HttpClient &http, Defaults &defaults, const base::Clock &clock,
              SecretStore &secrets, Browser &browser, Endpoints endpoints,
              QObject *parent = nullptr);

    bool isSignedIn() const { return m_isSignedIn; }
    bool signingIn() const { return m_signingIn; }
    const std::optional<Portfolio> &portfolio() const { return m_portfolio; }
    std::optional<QDateTime> portfolioAsOf() const { return m_portfolioAsOf; }
    const std::optional<TodayDecision> &todayDecision() const { return m_todayDecision; }
    std::optional<QString> lastError() const { return m_lastError; }
    const QList<Position> &positions() const { return m_positions; }
    // A token renewal holds the keychain from its read until the rotated token is stored.
    bool isRenewing() const { return m_renewals > 0; }

    // Opens the sign-in page in the browser; the tokens come back through handleCallback.
    void beginSignIn();
    // The custom-scheme redirect, tokens in the fragment. Links reach us from anyone: only
    // while our own sign-in is under way does one count; any other is dropped unread.
    void handleCallback(const QUrl &url);
    // Renews the access token when it lapses within the margin; awaited before every
    // authenticated request.
    QCoro::Task<> refreshIfNeeded();
    // Launch: with a refresh token stored, refresh the session and load the account. The cached
    // portfolio is on show from creation, and goes once the keychain says there is no session.
    // Emits restoreFinished.
    QCoro::Task<> restore();
    void signOut();

    // The body of a 200 answer to an authenticated GET of `path` under the site, else absent.
    QCoro::Task<std::optional<QByteArray>> bearerGET(QString path);
    // Portfolio, then today's decision, then positions.
    QCoro::Task<> loadPortfolio();
    // Pauses (false) or resumes (true) automatic execution; true once the server accepted it
    // and the portfolio was reloaded.
    QCoro::Task<bool> setAutoExecution(bool enabled);

Q_SIGNALS:
    void isSignedInChanged();
    void signingInChanged();
    void portfolioChanged();
    void portfolioAsOfChanged();
    void todayDecisionChanged();
    void lastErrorChanged();
    void positionsChanged();
    // The launch restore (refresh and account load) has finished, whatever its outcome.
    void restoreFinished();
    // The last renewal under way has let go of the keychain.
    void renewalFinished();

private:
    // What the keychain last said of the refresh token; read again only where it is unknown.
    enum class StoredToken { Unknown, Present, Absent };

    QCoro::Task<> refreshSession();
    bool needsRenewal() const;
    // Stores a sign-in's refresh token under the keychain hold, unless a sign-out came first.
    QCoro::Task<> storeSignedInToken(QString refreshToken);
    // Drops the session held in memory and the account data on show; the keychain is untouched.
    void endSessionInMemory();
    QCoro::Task<> loadTodayDecision();
    QCoro::Task<> loadPositions();
    // signOut, finishing once the keychain has forgotten the token.
    enum class Holding { NotYet, Already };
    QCoro::Task<> forgetSession(Holding holding);
    void restorePortfolioCache();

    void setIsSignedIn(bool value);
    void setSigningIn(bool value);
    void setPortfolio(const std::optional<Portfolio> &value);
    void setPortfolioAsOf(const std::optional<QDateTime> &value);
    void setTodayDecision(const std::optional<TodayDecision> &value);
    void setLastError(const std::optional<QString> &value);
    void setPositions(const QList<Position> &value);

    net::HttpClient &m_http;
    Defaults &m_defaults;
    const base::Clock &m_clock;
    SecretStore &m_secrets;
    Browser &m_browser;
    const Endpoints m_endpoints;

    bool m_isSignedIn = false;
    bool m_signingIn = false;
    std::optional<Portfolio> m_portfolio;
    std::optional<QDateTime> m_portfolioAsOf;
    std::optional<TodayDecision> m_todayDecision;
    std::optional<QString> m_lastError;
    QList<Position> m_positions;

    std::optional<QString> m_accessToken; // memory only
    QDateTime m_expiresAt;                // invalid: the distant past, so a fresh store is expired
    int m_renewals = 0;                   // renewals holding the keychain
    StoredToken m_storedToken = StoredToken::Unknown;
    // Counts sign-outs: work begun before one finds it changed and stores nothing.
    quint64 m_signOuts = 0;
};
