#include "net/HttpClient.h"
#include "support/StandinFixture.h"

#include <QCoroTask>
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

    // Redirects never followed: down to http, without a location, or a status that is none.
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
};

QTEST_GUILESS_MAIN(TestHttpClient)
#include "tst_httpclient.moc"
