#include "net/HttpClient.h"
#include "support/StandinFixture.h"

#include <QCoroTask>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTimeZone>
#include <QUrlQuery>

using namespace Qt::StringLiterals;

// What the app's tests lean on and no app test shows: a refresh token works once, and the
// sign-in page's link carries a working session back to the app.
class TstStandin : public QObject
{
    Q_OBJECT

    std::unique_ptr<testing::StandinFixture> m_standin;
    net::HttpClient m_http{"TestAgent/1"};
    QDateTime m_now;

    // `request` is "VERB /path?query", or just the path for a GET.
    std::pair<int, QByteArray> fetch(const QString &request, const QByteArray &body = {},
                                     QList<QPair<QByteArray, QByteArray>> headers = {})
    {
        std::optional<net::HttpResponse> reply;
        QCoro::connect(
            m_http.send({.method = request.contains(u' ') ? request.section(u' ', 0, 0).toLatin1()
                                                          : "GET"_ba,
                         .url = m_standin->url().resolved(QUrl(request.section(u' ', -1))),
                         .headers = headers << qMakePair("Content-Type"_ba, "application/json"_ba),
                         .body = body}),
            &m_http, [&](net::HttpResponse r) { reply = r; });
        return QTest::qWaitFor([&] { return reply.has_value(); }, 3000)
                   ? std::pair(reply->status, reply->body)
                   : std::pair(0, QByteArray());
    }
    std::pair<int, QJsonObject> grant(const QString &refreshToken, const QByteArray &key)
    {
        const auto [status, body] =
            fetch(u"POST /auth/v1/token?grant_type=refresh_token"_s,
                  "{\"refresh_token\":\"" + refreshToken.toLatin1() + "\"}", {{"apikey", key}});
        return {status, QJsonDocument::fromJson(body).object()};
    }
    int portfolio(const QString &accessToken)
    {
        return fetch(u"/api/mobile/portfolio"_s, {},
                     {{"Authorization", "Bearer " + accessToken.toLatin1()}})
            .first;
    }

private Q_SLOTS:
    void init()
    {
        m_standin = std::make_unique<testing::StandinFixture>();
        m_now = QDateTime(QDate(2025, 3, 7), QTime(14, 30), QTimeZone::utc());
        m_standin->server.book().setClock([this] { return m_now; });
    }

    void aRefreshTokenWorksOnce()
    {
        const standin::Session session = m_standin->server.issueSession(120);
        const auto [status, renewed] = grant(session.refreshToken, MIREO_STANDIN_ANON_KEY);
        QCOMPARE(status, 200);
        const QString access = renewed.value(u"access_token"_s).toString();
        const QString refresh = renewed.value(u"refresh_token"_s).toString();
        QVERIFY(!access.isEmpty() && refresh != session.refreshToken);
        QCOMPARE(portfolio(access), 200);
        QCOMPARE(grant(session.refreshToken, MIREO_STANDIN_ANON_KEY).first, 400); // spent
        m_now = m_now.addSecs(120);
        QCOMPARE(portfolio(access), 401);
        QCOMPARE(grant(refresh, "wrong key").first, 401);
        QCOMPARE(grant(refresh, MIREO_STANDIN_ANON_KEY).first, 200); // renews after expiry
    }

    void theSignInPageLinksBackWithASession()
    {
        const auto [status, page] =
            fetch(u"/auth/v1/authorize?provider=google&redirect_to=mireopulse://auth"_s);
        QCOMPARE(status, 200);
        static const QRegularExpression link(u"<a id=\"continue\" href=\"([^\"]*)\">"_s);
        const QUrl url(link.match(QString::fromUtf8(page)).captured(1).replace(u"&amp;"_s, u"&"_s));
        QCOMPARE(url.toString(QUrl::RemoveFragment), u"mireopulse://auth"_s);
        const QUrlQuery items(url.fragment(QUrl::FullyEncoded));
        QCOMPARE(portfolio(items.queryItemValue(u"access_token"_s)), 200);
        QCOMPARE(grant(items.queryItemValue(u"refresh_token"_s), MIREO_STANDIN_ANON_KEY).first,
                 200);
        // Nobody's session goes to another address.
        QCOMPARE(fetch(u"/auth/v1/authorize?provider=google&redirect_to=https://e.com/"_s).first,
                 400);
    }
};

QTEST_GUILESS_MAIN(TstStandin)
#include "tst_standin.moc"
