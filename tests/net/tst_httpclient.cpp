#include "net/HttpClient.h"
#include "support/StandinFixture.h"

#include <QCoroTask>
#include <QTest>

using namespace std::chrono_literals;

namespace {
const QString path = QStringLiteral("/api/public/stats");

// Runs one request to the end on the test's event loop.
net::HttpResponse fetch(net::HttpClient &http, const QUrl &url)
{
    std::optional<net::HttpResponse> result;
    QCoro::connect(http.get(url, 10s), &http, [&](net::HttpResponse r) { result = r; });
    if (!QTest::qWaitFor([&] { return result.has_value(); }, 5000))
        qFatal("request never finished");
    return *result;
}
} // namespace

class TestHttpClient : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void outcomes_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<bool>("drop");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("reportedStatus");

        const QByteArray json = R"({"sparkline":[1,2,3]})";
        // Valid JSON that only the size cap can refuse.
        const QByteArray padded = json + QByteArray(1536 * 1024, ' ');
        QTest::newRow("200") << 200 << json << 0 << false << true << 200;
        QTest::newRow("200 empty") << 200 << QByteArray() << 0 << false << true << 200;
        QTest::newRow("over the size cap") << 200 << padded << 0 << false << false << 200;
        QTest::newRow("401 keeps its status") << 401 << json << 0 << false << false << 401;
        QTest::newRow("400") << 400 << json << 0 << false << false << 400;
        QTest::newRow("301 is not followed") << 301 << json << 0 << false << false << 301;
        QTest::newRow("204") << 204 << QByteArray() << 0 << false << false << 204;
        QTest::newRow("slower than the time-out") << 200 << json << 1500 << false << false << 0;
        QTest::newRow("cut mid-body") << 200 << json << 0 << true << false << 200;
        // Half of this is still valid JSON, and Qt may end the cut reply without an error.
        QTest::newRow("cut mid-body, large")
            << 200 << json + QByteArray(200'000, ' ') << 0 << true << false << 200;
    }
    void outcomes()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, delayMs);
        QFETCH(bool, drop);
        QFETCH(bool, ok);
        QFETCH(int, reportedStatus);

        testing::StandinFixture standin;
        standin::Override answer;
        answer.status = status;
        answer.body = body;
        answer.delayMs = delayMs;
        answer.drop = drop;
        standin.server.overrideNext(path, answer);
        net::HttpClient http("TestAgent/1");
        http.setTimeoutLimit(testing::shortTimeout);

        const net::HttpResponse response = fetch(http, standin.url().resolved(QUrl(path)));
        QCOMPARE(response.ok, ok);
        QCOMPARE(response.status, reportedStatus);
        // A failed exchange never hands its body to anyone.
        QCOMPARE(response.body, ok ? body : QByteArray());
        QCOMPARE(standin.server.requests().size(), 1);
    }

    void refusedConnectionHasNoStatus()
    {
        net::HttpClient http("TestAgent/1");
        const net::HttpResponse response = fetch(http, testing::refusingUrl());
        QVERIFY(!response.ok);
        QCOMPARE(response.status, 0);
    }

    void sendsTheAgentAndCustomRequests()
    {
        testing::StandinFixture standin;
        net::HttpClient http("TestAgent/1");
        net::HttpRequest request;
        request.method = "PATCH";
        request.url = standin.url().resolved(QUrl(QStringLiteral("/anything?x=1")));
        request.headers = {{"Content-Type", "application/json"}, {"Authorization", "Bearer t"}};
        request.body = R"({"enabled":true})";
        bool done = false;
        QCoro::connect(http.send(request), &http, [&](const net::HttpResponse &) { done = true; });
        QTRY_VERIFY(done);
        const auto logged = standin.server.requests().value(0);
        QCOMPARE(logged.method, QStringLiteral("PATCH"));
        QCOMPARE(logged.query, QStringLiteral("x=1"));
        QCOMPARE(logged.body, request.body);
        QStringList headers;
        for (const auto &[name, value] : logged.headers)
            headers << QString::fromLatin1(name.toLower() + ": " + value);
        QVERIFY(headers.contains(QStringLiteral("user-agent: TestAgent/1")));
        QVERIFY(headers.contains(QStringLiteral("authorization: Bearer t")));
    }

    void destroyingTheClientFinishesWhatIsInFlight()
    {
        testing::StandinFixture standin;
        standin::Override slow;
        slow.delayMs = 2000;
        standin.server.overrideNext(path, slow);
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
