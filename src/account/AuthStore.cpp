#include "account/AuthStore.h"

#include "account/Browser.h"
#include "account/CallbackFragment.h"
#include "account/SecretStore.h"
#include "base/Clock.h"
#include "base/Publish.h"
#include "base/StrictJson.h"
#include "net/HttpClient.h"
#include "settings/Defaults.h"
#include "settings/L.h"
#include "settings/SettingsKeys.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QScopeGuard>
#include <QTimer>
#include <QUrlQuery>
#include <charconv>
#include <cmath>

namespace {

const QString portfolioCacheKey = settings_keys::portfolioJson;
const QString portfolioAsOfKey = settings_keys::portfolioAsOf;
constexpr double defaultLifetimeSeconds = 3600;
// Beyond any real token's life; keeps the expiry arithmetic finite.
constexpr double longestLifetimeSeconds = 1e10;

QUrl under(const QUrl &base, const QString &path)
{
    return base.resolved(QUrl(path));
}

QByteArray bearer(const QString &token)
{
    return QByteArrayLiteral("Bearer ") + token.toUtf8();
}

// A number of seconds as the backend writes it ("3600", "120.5"); absent when it is not one.
std::optional<double> parseSeconds(const QString &text)
{
    QByteArray digits = text.toUtf8();
    if (digits.startsWith('+'))
        digits.remove(0, 1);
    double value = 0;
    const auto [end, error] = std::from_chars(digits.cbegin(), digits.cend(), value);
    if (error != std::errc() || end != digits.cend() || digits.isEmpty())
        return std::nullopt;
    return value;
}

QDateTime after(const QDateTime &now, double seconds)
{
    if (!std::isfinite(seconds))
        seconds = defaultLifetimeSeconds;
    seconds = std::clamp(seconds, -longestLifetimeSeconds, longestLifetimeSeconds);
    return now.addMSecs(qint64(std::llround(seconds * 1000)));
}

} // namespace

AuthStore::AuthStore(net::HttpClient &http, Defaults &defaults, const base::Clock &clock,
                     SecretStore &secrets, Browser &browser, Endpoints endpoints, QObject *parent)
    : QObject(parent), m_http(http), m_defaults(defaults), m_clock(clock), m_secrets(secrets),
      m_browser(browser), m_endpoints(std::move(endpoints))
{
    // Numbers at once: a keychain may take its time (or wait for its password) to answer.
    restorePortfolioCache();
    // On the next turn, once whoever created the store is listening.
    QTimer::singleShot(0, this, [this] { restore(); });
}

void AuthStore::beginSignIn()
{
    setSigningIn(true);
    QUrl url = under(m_endpoints.supabase, QStringLiteral("auth/v1/authorize"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("provider"), QStringLiteral("google"));
    query.addQueryItem(QStringLiteral("redirect_to"), QString::fromLatin1(redirectUrl));
    url.setQuery(query);
    if (!url.isValid())
        qFatal("the sign-in URL does not build");
    m_browser.open(url);
}

void AuthStore::handleCallback(const QUrl &url)
{
    // Tokens we did not ask for would sign the user into someone else's account.
    if (!m_signingIn)
        return;
    setSigningIn(false);
    if (!url.isValid() || !url.hasFragment()) {
        setLastError(L::text("sign-in was cancelled", "sess\u00E3o cancelada"));
        return;
    }
    const QHash<QString, QString> values = parseCallbackFragment(url.fragment(QUrl::FullyEncoded));
    const auto accessToken = values.constFind(QStringLiteral("access_token"));
    const auto refreshToken = values.constFind(QStringLiteral("refresh_token"));
    if (accessToken != values.cend() && refreshToken != values.cend()) {
        m_accessToken = *accessToken;
        const double lifetime =
            parseSeconds(values.value(QStringLiteral("expires_in"), QStringLiteral("3600")))
                .value_or(defaultLifetimeSeconds);
        m_expiresAt = after(m_clock.now(), lifetime);
        m_storedToken = StoredToken::Present;
        storeSignedInToken(*refreshToken);
        setIsSignedIn(true);
        setLastError(std::nullopt);
        loadPortfolio();
        return;
    }
    const auto description = values.constFind(QStringLiteral("error_description"));
    if (description != values.cend())
        setLastError(*description);
    else
        setLastError(L::text("sign-in failed", "o in\u00EDcio de sess\u00E3o falhou"));
}

QCoro::Task<> AuthStore::storeSignedInToken(QString refreshToken)
{
    QPointer<AuthStore> self(this);
    const quint64 signOuts = m_signOuts;
    const std::unique_ptr<SecretStore::Hold> hold = co_await m_secrets.hold();
    if (!self || signOuts != m_signOuts)
        co_return;
    if (!hold) {
        qWarning("%s: the keychain stayed held by another process; this sign-in is "
                 "not kept for the next start",
                 app_names::executable);
        co_return;
    }
    co_await m_secrets.replace(QString::fromLatin1(refreshTokenKey), refreshToken);
}

QCoro::Task<> AuthStore::refreshSession()
{
    QPointer<AuthStore> self(this);
    const quint64 signOuts = m_signOuts;
    // The backend's refresh tokens work once: from the read to the write of the rotated token,
    // no other process of this user may read the one we are about to spend.
    const std::unique_ptr<SecretStore::Hold> hold = co_await m_secrets.hold();
    if (!self || !hold || signOuts != m_signOuts)
        co_return;
    // A renewal that had the hold before us may have done our work.
    if (!needsRenewal())
        co_return;
    ++m_renewals;
    const auto renewed = qScopeGuard([self] {
        if (self && --self->m_renewals == 0)
            Q_EMIT self->renewalFinished();
    });
    const QString key = QString::fromLatin1(refreshTokenKey);
    const SecretStore::Read stored = co_await m_secrets.read(key);
    if (!self || signOuts != m_signOuts)
        co_return;
    if (stored.answered)
        m_storedToken = stored.value ? StoredToken::Present : StoredToken::Absent;
    if (!stored.value)
        co_return;

    net::HttpRequest request;
    request.method = "POST";
    request.url = under(m_endpoints.supabase, QStringLiteral("auth/v1/token"));
    request.url.setQuery(QStringLiteral("grant_type=refresh_token"));
    request.headers = {{"apikey", m_endpoints.anonKey}, {"Content-Type", "application/json"}};
    request.body = QJsonDocument(QJsonObject{{QStringLiteral("refresh_token"), *stored.value}})
                       .toJson(QJsonDocument::Compact);
    request.timeout = requestTimeout;
    const net::HttpResponse response = co_await m_http.send(std::move(request));
    // Signed out meanwhile: the answer is stored nowhere.
    if (!self || signOuts != m_signOuts)
        co_return;

    if (response.status == 400 || response.status == 401) {
        co_await forgetSession(Holding::Already);
        co_return;
    }
    const std::optional<base::Json> body =
        response.ok ? base::parseObject(response.body) : std::nullopt;
    const auto accessToken = body ? body->find("access_token") : base::Json::const_iterator();
    if (!body || accessToken == body->end() || !accessToken->is_string()) {
        setLastError(L::text("offline \u2014 account data may be stale",
                             "offline \u2014 dados da conta podem estar velhos"));
        co_return;
    }
    // A sign-out in another process deletes the token at once, without waiting for our hold:
    // a session whose token has left the keychain is over, whatever the service answered.
    const SecretStore::Read current = co_await m_secrets.read(key);
    if (!self || signOuts != m_signOuts)
        co_return;
    if (current.answered && current.value != stored.value) {
        m_storedToken = current.value ? StoredToken::Present : StoredToken::Absent;
        endSessionInMemory();
        co_return;
    }
    m_accessToken = QString::fromStdString(accessToken->get<std::string>());
    const auto expiresIn = body->find("expires_in");
    m_expiresAt = after(m_clock.now(), expiresIn != body->end() && expiresIn->is_number()
                                           ? expiresIn->get<double>()
                                           : defaultLifetimeSeconds);
    const auto rotated = body->find("refresh_token");
    QCoro::Task<> storing =
        rotated != body->end() && rotated->is_string()
            ? m_secrets.replace(key, QString::fromStdString(rotated->get<std::string>()))
            : QCoro::Task<>();
    setIsSignedIn(true);
    setLastError(std::nullopt);
    // The hold ends only once the rotated token is in the keychain.
    if (!storing.isReady())
        co_await std::move(storing);
}

bool AuthStore::needsRenewal() const
{
    const QDateTime renewAt =
        m_expiresAt.isValid() ? m_expiresAt.addSecs(-expiryMargin.count()) : QDateTime();
    return !renewAt.isValid() || m_clock.now() > renewAt;
}

QCoro::Task<> AuthStore::refreshIfNeeded()
{
    // Signed out with no token in the keychain at the last look: nothing to renew, and no
    // keychain work (a locked keychain would ask for its password at every poll).
    if (!m_isSignedIn && m_storedToken == StoredToken::Absent)
        co_return;
    if (needsRenewal())
        co_await refreshSession();
}

QCoro::Task<> AuthStore::restore()
{
    QPointer<AuthStore> self(this);
    const SecretStore::Read stored = co_await m_secrets.read(QString::fromLatin1(refreshTokenKey));
    if (!self)
        co_return;
    if (stored.answered && m_storedToken == StoredToken::Unknown) {
        m_storedToken = stored.value ? StoredToken::Present : StoredToken::Absent;
        // A cache left behind by a signed-out user is not shown.
        if (!stored.value && !m_isSignedIn) {
            setPortfolio(std::nullopt);
            setPortfolioAsOf(std::nullopt);
        }
    }
    if (stored.value) {
        co_await refreshSession();
        if (self && m_isSignedIn)
            co_await loadPortfolio();
    }
    if (self)
        Q_EMIT restoreFinished();
}

void AuthStore::signOut()
{
    forgetSession(Holding::NotYet);
}

QCoro::Task<> AuthStore::forgetSession(Holding holding)
{
    QPointer<AuthStore> self(this);
    const QString key = QString::fromLatin1(refreshTokenKey);
    // The keychain first, at once: a kill a moment later must not leave the token behind.
    QCoro::Task<> deleted = m_secrets.remove(key);
    m_storedToken = StoredToken::Absent;
    ++m_signOuts;
    endSessionInMemory();
    m_defaults.remove(portfolioCacheKey);
    m_defaults.remove(portfolioAsOfKey);
    m_defaults.sync();
    co_await std::move(deleted);
    if (!self || holding == Holding::Already)
        co_return;
    // Again under the hold: a renewal in another process that stored its rotated token after
    // the first delete loses it too. A sign-in since then keeps its own.
    const quint64 signOuts = m_signOuts;
    const std::unique_ptr<SecretStore::Hold> hold = co_await m_secrets.hold();
    if (self && hold && signOuts == m_signOuts && !m_isSignedIn)
        co_await m_secrets.remove(key);
}

void AuthStore::endSessionInMemory()
{
    m_accessToken.reset();
    m_expiresAt = QDateTime();
    setIsSignedIn(false);
    setPortfolio(std::nullopt);
    setPortfolioAsOf(std::nullopt);
    setTodayDecision(std::nullopt);
    setPositions({});
}

QCoro::Task<std::optional<QByteArray>> AuthStore::bearerGET(QString path)
{
    QPointer<AuthStore> self(this);
    co_await refreshIfNeeded();
    if (!self || !m_accessToken)
        co_return std::nullopt;
    net::HttpRequest request;
    request.url = under(m_endpoints.site, path);
    request.headers = {{"Authorization", bearer(*m_accessToken)}};
    request.timeout = requestTimeout;
    const net::HttpResponse response = co_await m_http.send(std::move(request));
    if (!response.ok)
        co_return std::nullopt;
    co_return response.body;
}

QCoro::Task<> AuthStore::loadPortfolio()
{
    QPointer<AuthStore> self(this);
    const quint64 signOuts = m_signOuts;
    const std::optional<QByteArray> data =
        co_await bearerGET(QStringLiteral("api/mobile/portfolio"));
    // An account signed out meanwhile is neither shown nor cached.
    if (!self || signOuts != m_signOuts)
        co_return;
    const std::optional<Portfolio> decoded = data ? decodePortfolio(*data) : std::nullopt;
    if (!decoded) {
        // Numbers already on screen stay, dated by their own time; only an empty screen says so.
        if (m_isSignedIn && !m_portfolio)
            setLastError(
                L::text("could not load your account", "n\u00E3o consegui carregar a tua conta"));
        co_return;
    }
    setPortfolio(decoded);
    setPortfolioAsOf(m_clock.now());
    setLastError(std::nullopt);
    m_defaults.setData(portfolioCacheKey, *data);
    m_defaults.setDate(portfolioAsOfKey, m_portfolioAsOf);

    co_await loadTodayDecision();
    if (self)
        co_await loadPositions();
}

QCoro::Task<> AuthStore::loadTodayDecision()
{
    QPointer<AuthStore> self(this);
    const quint64 signOuts = m_signOuts;
    const auto data = co_await bearerGET(QStringLiteral("api/mobile/signals/swing"));
    if (!self || !data || signOuts != m_signOuts)
        co_return;
    const std::optional<SwingResponse> swing = decodeSwing(*data);
    // A day without a decision yet does not clear yesterday's.
    if (const auto decision = swing ? swing->decision() : std::nullopt)
        setTodayDecision(decision);
}

QCoro::Task<> AuthStore::loadPositions()
{
    QPointer<AuthStore> self(this);
    const quint64 signOuts = m_signOuts;
    const auto data = co_await bearerGET(QStringLiteral("api/mobile/positions"));
    if (!self || !data || signOuts != m_signOuts)
        co_return;
    const std::optional<PositionsResponse> response = decodePositions(*data);
    if (!response)
        co_return;
    QList<Position> positions = response->flattened();
    sortPositions(positions);
    setPositions(positions);
}

QCoro::Task<bool> AuthStore::setAutoExecution(bool enabled)
{
    QPointer<AuthStore> self(this);
    co_await refreshIfNeeded();
    if (!self || !m_accessToken)
        co_return false;
    net::HttpRequest request;
    request.method = "PATCH";
    request.url = under(m_endpoints.site, QStringLiteral("api/mobile/auto-execution"));
    request.headers = {{"Authorization", bearer(*m_accessToken)},
                       {"Content-Type", "application/json"}};
    request.body = QJsonDocument(QJsonObject{{QStringLiteral("enabled"), enabled}})
                       .toJson(QJsonDocument::Compact);
    request.timeout = requestTimeout;
    const net::HttpResponse response = co_await m_http.send(std::move(request));
    if (!self)
        co_return false;
    // The answer's body is never read: the reloaded portfolio is the truth.
    if (response.status == 200) {
        co_await loadPortfolio();
        co_return true;
    }
    setLastError(enabled ? L::text("could not resume auto-execution",
                                   "n\u00E3o consegui retomar a auto-execu\u00E7\u00E3o")
                         : L::text("could not pause auto-execution",
                                   "n\u00E3o consegui pausar a auto-execu\u00E7\u00E3o"));
    co_return false;
}

void AuthStore::restorePortfolioCache()
{
    const std::optional<QDateTime> asOf = m_defaults.date(portfolioAsOfKey);
    const std::optional<QByteArray> data = m_defaults.data(portfolioCacheKey);
    if (!data)
        return;
    const std::optional<Portfolio> cached = decodePortfolio(*data);
    if (!cached)
        return;
    setPortfolio(cached);
    setPortfolioAsOf(asOf);
}

void AuthStore::setIsSignedIn(bool value)
{
    base::publish(this, m_isSignedIn, value, &AuthStore::isSignedInChanged);
}
void AuthStore::setSigningIn(bool value)
{
    base::publish(this, m_signingIn, value, &AuthStore::signingInChanged);
}
void AuthStore::setPortfolio(const std::optional<Portfolio> &value)
{
    base::publish(this, m_portfolio, value, &AuthStore::portfolioChanged);
}
void AuthStore::setPortfolioAsOf(const std::optional<QDateTime> &value)
{
    base::publish(this, m_portfolioAsOf, value, &AuthStore::portfolioAsOfChanged);
}
void AuthStore::setTodayDecision(const std::optional<TodayDecision> &value)
{
    base::publish(this, m_todayDecision, value, &AuthStore::todayDecisionChanged);
}
void AuthStore::setLastError(const std::optional<QString> &value)
{
    base::publish(this, m_lastError, value, &AuthStore::lastErrorChanged);
}
void AuthStore::setPositions(const QList<Position> &value)
{
    base::publish(this, m_positions, value, &AuthStore::positionsChanged);
}
