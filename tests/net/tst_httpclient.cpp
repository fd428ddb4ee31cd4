#include "net/HttpClient.h"
#include "support/StandinFixture.h"

#include <QCoroTask>
#include <QMap>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {
const QString path = u"/api/public/stats"_s;
} // namespace

class TestHttpClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Half of a cut body may still be valid JSON, and Qt may end the cut reply without an error.
    // Other failed answers, through the binary, are the fault matrix's.
    void aCutBodyIsNoAnswer()
    {
        testing::StandinFixture standin;
        standin.server.overrideNext(
            path, {.body = R"({"sparkline":[1]})" + QByteArray(200'000, ' '), .drop = true});
        net::HttpClient http("TestAgent/1");
        std::optional<net::HttpResponse> result;
        QCoro::connect(http.get(standin.url().resolved(QUrl(path)), 10s), &http,
                       [&](net::HttpResponse r) { result = r; });
        QTRY_VERIFY(result.has_value());
        QVERIFY(!result->ok && result->body.isEmpty());
    }

    // A POST with a secret body (the token renewal), redirected by one stand-in (the service)
    // to itself or to a second one on another port (another origin). Authenticated GETs
    // redirected either way, and a loop, are the fault matrix's.
    void postRedirects_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("foreign");
        QTest::addColumn<QString>("landedMethod"); // empty: not followed
        QTest::newRow("301 becomes a GET") << 301 << false << "GET";
        QTest::newRow("307 keeps its body at home") << 307 << false << "POST";
        QTest::newRow("307 body never leaves for another origin") << 307 << true << "";
        QTest::newRow("302 to another origin goes as a bare GET") << 302 << true << "GET";
    }
    void postRedirects()
    {
        QFETCH(int, status);
        QFETCH(bool, foreign);
        QFETCH(QString, landedMethod);

        testing::StandinFixture home;
        testing::StandinFixture elsewhere;
        testing::StandinFixture &target = foreign ? elsewhere : home;
        home.server.overrideNext(
            path, {.status = status,
                   .location = target.url().resolved(QUrl(u"/moved?to=here"_s)).toEncoded()});
        target.answer(u"/moved"_s, 200, "landed");

        net::HttpClient http("TestAgent/1");
        const net::HttpRequest request{.method = "POST",
                                       .url = home.url().resolved(QUrl(path)),
                                       .headers = {{"Authorization", "Bearer secret"},
                                                   {"apikey", "anon-key"},
                                                   {"Content-Type", "application/json"}},
                                       .body = R"({"refresh_token":"secret"})"};
        std::optional<net::HttpResponse> result;
        QCoro::connect(http.send(request), &http, [&](net::HttpResponse r) { result = r; });
        QTRY_VERIFY(result.has_value());

        QCOMPARE(result->ok, !landedMethod.isEmpty());
        QCOMPARE(result->body, landedMethod.isEmpty() ? QByteArray() : QByteArray("landed"));
        QCOMPARE(home.server.requests().size(), foreign ? 1 : 2);
        QCOMPARE(elsewhere.server.requests().size(), foreign && !landedMethod.isEmpty() ? 1 : 0);
        if (landedMethod.isEmpty()) {
            QCOMPARE(result->status, status);
            return;
        }
        const auto landed = target.server.requests().constLast();
        QCOMPARE(landed.query, u"to=here"_s);
        QCOMPARE(landed.method, landedMethod);
        QCOMPARE(landed.body, landedMethod == u"POST" ? request.body : QByteArray());
        QMap<QByteArray, QByteArray> headers;
        for (const auto &[name, value] : landed.headers) {
            headers.insert(name.toLower(), value);
            // Nothing of the secrets goes to another origin, in any header.
            if (foreign)
                QVERIFY2(!value.contains("secret") && !value.contains("anon-key"),
                         name.constData());
        }
        QCOMPARE(headers.value("user-agent"), "TestAgent/1"); // every hop names the app
        QCOMPARE(headers.contains("authorization"), !foreign);
    }

    // Redirects never followed: down to http, without a location, or a status that is none.
    // What is followed, to this origin or another, is postRedirects' and the fault matrix's.
    void refusedRedirects_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("location");
        QTest::newRow("https to http") << 302 << QByteArray("http://a.example/y");
        QTest::newRow("no location") << 302 << QByteArray();
        QTest::newRow("not a redirect status") << 300 << QByteArray("https://a.example/y");
    }
    void refusedRedirects()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, location);
        const net::HttpRequest request{
            .url = QUrl(u"https://a.example/x"_s), .headers = {}, .body = {}};
        QVERIFY(!net::redirected(request, status, location, request.url));
    }

    void destroyingTheClientFinishesWhatIsInFlight()
    {
        testing::StandinFixture standin;
        standin.server.overrideNext(path, {.delayMs = 2000});
        auto http = std::make_unique<net::HttpClient>("TestAgent/1");
        std::optional<net::HttpResponse> result;
        QCoro::connect(http->get(standin.url().resolved(QUrl(path)), 10s), &standin.server,
                       [&](net::HttpResponse r) { result = r; });
        QTRY_COMPARE(standin.server.requests().size(), 1);
        http.reset();
        // The awaiting coroutine resumed with a failure rather than waiting (and leaking) forever.
        QVERIFY(result && !result->ok);
    }
};

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_httpclient.moc"
