#include "standin/StandinClient.h"

#include <QRegularExpression>
#include <QTest>
#include <QTimeZone>
#include <QUrlQuery>

using namespace Qt::StringLiterals;
using testing::bearer;
using testing::Headers;

namespace {

const QDateTime kStart(QDate(2026, 3, 2), QTime(15, 0, 0, 250), QTimeZone::utc());
const QByteArray kAnonKey = MIREO_STANDIN_ANON_KEY;
const QString kGrant = u"POST /auth/v1/token?grant_type=refresh_token"_s;
const QString kPortfolio = u"/api/mobile/portfolio"_s;
const QRegularExpression kUrlSafeToken(u"^[A-Za-z0-9_-]{32,}$"_s);

// What the refresh token of a grant request is, relative to a session just issued.
enum class TokenState { Live, Unknown, Revoked, AlreadyRotated };

// The sign-in page's one link, with the HTML escaping undone.
QUrl continueLink(const QByteArray &page)
{
    static const QRegularExpression link(
        u"<a id=\"continue\" href=\"([^\"]*)\">Continue as demo user</a>"_s);
    const auto match = link.match(QString::fromUtf8(page));
    return QUrl(match.captured(1).replace(u"&amp;"_s, u"&"_s), QUrl::StrictMode);
}

QUrlQuery fragmentItems(const QUrl &url)
{
    return QUrlQuery(url.fragment(QUrl::FullyEncoded));
}

} // namespace

class TstStandinAuth : public QObject
{
    Q_OBJECT

    testing::StandinRig m_rig;

    testing::Answer fetch(const QString &request, const QByteArray &body = {},
                          const Headers &headers = {})
    {
        return m_rig.fetch(request, body, headers);
    }
    int grant(const QString &refreshToken)
    {
        return fetch(kGrant, "{\"refresh_token\":\"" + refreshToken.toLatin1() + "\"}",
                     {{"apikey", kAnonKey}})
            .status;
    }

private Q_SLOTS:
    void init() { QVERIFY(m_rig.start(kStart)); }

    void tokenGrant_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<Headers>("headers");
        QTest::addColumn<QByteArray>("body"); // TOKEN stands for the session's refresh token
        QTest::addColumn<TokenState>("token");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");
        const Headers key{{"apikey", kAnonKey}};
        const QByteArray good = R"({"refresh_token":"TOKEN"})";
        const auto live = TokenState::Live;
        QTest::newRow("good") << kGrant << key << good << live << 200 << QString();
        QTest::newRow("missing apikey") << kGrant << Headers{} << good << live << 401 << QString();
        QTest::newRow("key as bearer") << kGrant << Headers{{"Authorization", "Bearer " + kAnonKey}}
                                       << good << live << 401 << QString();
        QTest::newRow("password grant") << u"POST /auth/v1/token?grant_type=password"_s << key
                                        << good << live << 400 << u"unsupported_grant_type"_s;
        QTest::newRow("form body") << kGrant << Headers{key.first(), {"Content-Type", "text/plain"}}
                                   << good << live << 400 << u"invalid_request"_s;
        QTest::newRow("token not text")
            << kGrant << key << R"({"refresh_token":7})"_ba << live << 400 << u"invalid_request"_s;
        QTest::newRow("unknown") << kGrant << key << good << TokenState::Unknown << 400
                                 << u"invalid_grant"_s;
        QTest::newRow("revoked") << kGrant << key << good << TokenState::Revoked << 400
                                 << u"invalid_grant"_s;
        QTest::newRow("already rotated")
            << kGrant << key << good << TokenState::AlreadyRotated << 400 << u"invalid_grant"_s;
    }
    void tokenGrant()
    {
        QFETCH(QString, request);
        QFETCH(Headers, headers);
        QFETCH(QByteArray, body);
        QFETCH(TokenState, token);
        QFETCH(int, status);
        QFETCH(QString, error);
        QString refreshToken = m_rig.server->issueSession().refreshToken;
        if (token == TokenState::Unknown)
            refreshToken += u'x';
        if (token == TokenState::Revoked)
            m_rig.server->revokeRefreshTokens();
        if (token == TokenState::AlreadyRotated)
            QCOMPARE(grant(refreshToken), 200);
        const testing::Answer answer =
            fetch(request, body.replace("TOKEN", refreshToken.toLatin1()), headers);
        QCOMPARE(answer.status, status);
        if (!error.isEmpty()) {
            QCOMPARE(answer.json().value(u"error"_s).toString(), error);
            QVERIFY(answer.json().value(u"error_description"_s).isString());
        }
    }

    void grantRotatesTheSession()
    {
        const int lifetime = 120;
        const standin::Session session = m_rig.server->issueSession(lifetime);
        const QJsonObject renewed =
            fetch(kGrant, "{\"refresh_token\":\"" + session.refreshToken.toLatin1() + "\"}",
                  {{"apikey", kAnonKey}})
                .json();
        QCOMPARE(renewed.keys(), (QStringList{u"access_token"_s, u"expires_at"_s, u"expires_in"_s,
                                              u"refresh_token"_s, u"token_type"_s, u"user"_s}));
        QCOMPARE(renewed.value(u"token_type"_s), QJsonValue(u"bearer"_s));
        QCOMPARE(renewed.value(u"expires_in"_s), QJsonValue(lifetime)); // kept through rotation
        QCOMPARE(renewed.value(u"expires_at"_s).toInteger(), kStart.toSecsSinceEpoch() + lifetime);
        QVERIFY(renewed[u"user"_s][u"id"_s].isString() &&
                renewed[u"user"_s][u"email"_s].isString());
        const QString access = renewed.value(u"access_token"_s).toString();
        const QString refresh = renewed.value(u"refresh_token"_s).toString();
        QVERIFY(kUrlSafeToken.match(access).hasMatch() && kUrlSafeToken.match(refresh).hasMatch());
        QVERIFY(access != session.accessToken && refresh != session.refreshToken);

        QCOMPARE(fetch(kPortfolio, {}, bearer(access)).status, 200);
        QCOMPARE(grant(session.refreshToken), 400); // the old one is spent
        m_rig.now = m_rig.now.addSecs(lifetime);
        QCOMPARE(fetch(kPortfolio, {}, bearer(access)).status, 401);
        QCOMPARE(grant(refresh), 200); // the new one still renews after expiry
    }

    void bearerChecks_data()
    {
        QTest::addColumn<QString>("credential"); // ACCESS and REFRESH stand for a live session's
        QTest::addColumn<bool>("expire");        // expireAccessTokens() before the requests
        QTest::addColumn<int>("secondsLater");
        QTest::addColumn<int>("status");
        QTest::newRow("live") << u"Bearer ACCESS"_s << false << 0 << 200;
        QTest::newRow("scheme in lower case") << u"bearer ACCESS"_s << false << 0 << 200;
        QTest::newRow("none") << QString() << false << 0 << 401;
        QTest::newRow("token without scheme") << u"ACCESS"_s << false << 0 << 401;
        QTest::newRow("refresh token") << u"Bearer REFRESH"_s << false << 0 << 401;
        QTest::newRow("expired by control") << u"Bearer ACCESS"_s << true << 0 << 401;
        QTest::newRow("last second") << u"Bearer ACCESS"_s << false << 3599 << 200;
        QTest::newRow("expired by clock") << u"Bearer ACCESS"_s << false << 3600 << 401;
    }
    void bearerChecks()
    {
        QFETCH(QString, credential);
        QFETCH(bool, expire);
        QFETCH(int, secondsLater);
        QFETCH(int, status);
        const standin::Session session = m_rig.server->issueSession();
        credential.replace(u"ACCESS"_s, session.accessToken)
            .replace(u"REFRESH"_s, session.refreshToken);
        const Headers headers =
            credential.isEmpty() ? Headers{} : Headers{{"Authorization", credential.toLatin1()}};
        if (expire)
            m_rig.server->expireAccessTokens();
        m_rig.now = m_rig.now.addSecs(secondsLater);
        for (const QString &path : {kPortfolio, u"/api/mobile/positions"_s,
                                    u"/api/mobile/signals/swing"_s, u"/api/mobile/trades"_s}) {
            const testing::Answer answer = fetch(path, {}, headers);
            QCOMPARE(answer.status, status);
            QCOMPARE(answer.contentType, "application/json");
        }
        QCOMPARE(
            fetch(u"PATCH /api/mobile/auto-execution"_s, R"({"enabled": false})", headers).status,
            status);
        QCOMPARE(m_rig.server->autoExecuteEnabled(), status != 200); // refused calls change nothing
    }

    void authorizePage_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("fragment"); // empty: a fresh session's tokens
        const QString signIn = u"provider=google&redirect_to=mireopulse://auth"_s;
        QTest::newRow("sign in") << signIn << 200 << QString();
        QTest::newRow("error") << signIn + u"&error=access_denied&error_description=User%20said"
                                           u"%20no%20%26%20left%3D"_s
                               << 200
                               << u"error=access_denied&error_description=User%20said%20no"
                                  u"%20%26%20left%3D"_s;
        QTest::newRow("foreign redirect")
            << u"provider=google&redirect_to=https://example.com/"_s << 400 << QString();
    }
    void authorizePage()
    {
        QFETCH(QString, query);
        QFETCH(int, status);
        QFETCH(QString, fragment);
        const testing::Answer page = fetch(u"/auth/v1/authorize?"_s + query);
        QCOMPARE(page.status, status);
        if (status != 200)
            return;
        QCOMPARE(page.contentType, "text/html; charset=utf-8");
        const QUrl link = continueLink(page.body);
        QCOMPARE(link.toString(QUrl::RemoveFragment), u"mireopulse://auth"_s);
        if (!fragment.isEmpty()) {
            QCOMPARE(link.fragment(QUrl::FullyEncoded), fragment);
            return;
        }
        const QUrlQuery items = fragmentItems(link);
        QCOMPARE(items.queryItemValue(u"expires_in"_s), u"3600"_s);
        QCOMPARE(items.queryItemValue(u"token_type"_s), u"bearer"_s);
        QCOMPARE(fetch(kPortfolio, {}, bearer(items.queryItemValue(u"access_token"_s))).status,
                 200);
        QCOMPARE(grant(items.queryItemValue(u"refresh_token"_s)), 200);
    }

    void sessionControl()
    {
        const QJsonObject issued =
            fetch(u"POST /_standin/session"_s, R"({"expiresIn":120})").json();
        const QString access = issued.value(u"access_token"_s).toString();
        const QString refresh = issued.value(u"refresh_token"_s).toString();
        QCOMPARE(issued.value(u"expires_in"_s), QJsonValue(120));
        QCOMPARE(fragmentItems(QUrl(issued.value(u"callbackUrl"_s).toString()))
                     .queryItemValue(u"refresh_token"_s),
                 refresh);
        QCOMPARE(fetch(kPortfolio, {}, bearer(access)).status, 200);

        QCOMPARE(fetch(u"POST /_standin/tokens"_s, R"({"action":"expire"})").status, 200);
        QCOMPARE(fetch(kPortfolio, {}, bearer(access)).status, 401);
        QCOMPARE(fetch(u"POST /_standin/tokens"_s, R"({"action":"revoke"})").status, 200);
        QCOMPARE(grant(refresh), 400);
        QCOMPARE(fetch(u"POST /_standin/tokens"_s, R"({"action":"forget"})").status, 400);

        const standin::Session session = m_rig.server->issueSession();
        QCOMPARE(fetch(u"POST /_standin/reset"_s).status, 200); // ends every session
        QCOMPARE(fetch(kPortfolio, {}, bearer(session.accessToken)).status, 401);
        QCOMPARE(grant(session.refreshToken), 400);
    }
};

QTEST_GUILESS_MAIN(TstStandinAuth)
#include "tst_standin_auth.moc"
