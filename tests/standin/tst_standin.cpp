#include "Server.h"
#include "standin/StandinClient.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimeZone>
#include <memory>

using namespace Qt::StringLiterals;
using standin::Server;
using testing::Answer;

namespace {

const QString kTrack = u"/api/public/track-record"_s;
const QString kStats = u"/api/public/stats"_s;
const QDateTime kStart(QDate(2025, 3, 7), QTime(14, 30, 5, 123), QTimeZone::utc());

} // namespace

class TstStandin : public QObject
{
    Q_OBJECT

    testing::StandinClient m_client;
    std::unique_ptr<Server> m_server;
    QDateTime m_now; // every server in a test shares this frozen clock

    std::unique_ptr<Server> startServer(quint64 seed)
    {
        auto server = std::make_unique<Server>(seed);
        server->book().setClock([this] { return m_now; });
        return server->listen() ? std::move(server) : nullptr;
    }

    Answer fetch(const QString &request, const QByteArray &body = {}, Server *server = nullptr)
    {
        return m_client.fetch((server ? server : m_server.get())->baseUrl(), request, body);
    }

private Q_SLOTS:
    void init()
    {
        m_now = kStart;
        m_server = startServer(42);
        QVERIFY(m_server);
    }
    void cleanup() { m_server.reset(); }

    void publicBodiesHaveWireTypes()
    {
        const Answer answer = fetch(kTrack);
        QCOMPARE(answer.contentType, "application/json");
        const QJsonObject track = answer.json();
        QCOMPARE(track.value(u"has_data"_s), QJsonValue(true));
        const QJsonObject consolidated = track.value(u"consolidated"_s).toObject();
        for (const char *key : {"return_pct", "return_vs_spy_pct", "total_equity"})
            QVERIFY2(consolidated.value(QLatin1String(key)).isDouble(), key);
        const QJsonArray accounts = track.value(u"accounts"_s).toArray();
        QCOMPARE(accounts.size(), 3);
        for (const QJsonValue &account : accounts) {
            const QJsonValue positions = account.toObject().value(u"positions"_s);
            // toInteger() gives the fallback for a fraction or a non-number
            QVERIFY(positions.toInteger(-1) >= 0 && positions.toInteger(-1) <= 8);
        }
        const QJsonArray sparkline = fetch(kStats).json().value(u"sparkline"_s).toArray();
        QCOMPARE(sparkline.size(), 40);
        QCOMPARE(sparkline.last(), consolidated.value(u"return_pct"_s)); // newest last
    }

    void lastUpdateFollowsTheClock_data()
    {
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<int>("elapsedMs");
        QTest::addColumn<QString>("lastUpdate");
        const QDateTime whole(QDate(2025, 3, 7), QTime(14, 30, 5), QTimeZone::utc());
        const QDateTime offset(QDate(2025, 3, 7), QTime(16, 30, 5, 7), QTimeZone(2 * 3600));
        QTest::newRow("whole second") << whole << 0 << u"2025-03-07T14:30:05.000Z"_s;
        QTest::newRow("local offset") << offset << 0 << u"2025-03-07T14:30:05.007Z"_s;
        QTest::newRow("before step 1") << kStart << 4999 << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("on step 1") << kStart << 5000 << u"2025-03-07T14:30:10.123Z"_s;
        QTest::newRow("between steps") << kStart << 12500 << u"2025-03-07T14:30:15.123Z"_s;
    }
    void lastUpdateFollowsTheClock()
    {
        QFETCH(QDateTime, start);
        QFETCH(int, elapsedMs);
        QFETCH(QString, lastUpdate);
        m_now = start;
        m_server->book().setClock([this] { return m_now; });
        m_now = start.addMSecs(elapsedMs);
        QCOMPARE(fetch(kTrack).json().value(u"last_update"_s).toString(), lastUpdate);
    }

    void seedFixesTheBody()
    {
        const auto twin = startServer(42);
        const auto other = startServer(43);
        QVERIFY(twin && other);
        for (const QString &path : {kTrack, kStats}) {
            const QByteArray body = fetch(path).body;
            QCOMPARE(fetch(path, {}, twin.get()).body, body);
            QVERIFY(fetch(path, {}, other.get()).body != body);
        }
    }

    void advanceShiftsTheSparkline()
    {
        const QJsonArray before = fetch(kStats).json().value(u"sparkline"_s).toArray();
        const Answer advanced = fetch(u"POST /_standin/advance"_s, R"({"steps": 3})");
        QCOMPARE(advanced.json().value(u"step"_s).toInteger(), qint64(3));
        const QJsonArray after = fetch(kStats).json().value(u"sparkline"_s).toArray();
        QCOMPARE(after.size(), before.size());
        for (qsizetype i = 0; i + 3 < before.size(); ++i)
            QCOMPARE(after.at(i), before.at(i + 3));
    }

    void overrideReplacesTheNextAnswer_data()
    {
        QTest::addColumn<QByteArray>("control"); // the keys after "path"
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("body");
        const QByteArray json = "application/json";
        QTest::newRow("error") << R"("status":500,"body":"{}")"_ba << 500 << json << "{}"_ba;
        QTest::newRow("repeated") << R"("body":"ab","repeat":3,"contentType":"text/csv")"_ba << 200
                                  << "text/csv"_ba
                                  << "ababab"_ba;
        QTest::newRow("untyped") << R"("status":503,"contentType":"")"_ba << 503 << ""_ba
                                 << ""_ba;
        QTest::newRow("base64") << R"("bodyBase64":"AAEC","repeat":2)"_ba << 200 << json
                                << "\x00\x01\x02\x00\x01\x02"_ba;
        QTest::newRow("large") << R"("body":"0123456789","repeat":100000)"_ba << 200 << json
                               << "0123456789"_ba.repeated(100000);
    }
    void overrideReplacesTheNextAnswer()
    {
        QFETCH(QByteArray, control);
        QFETCH(int, status);
        QFETCH(QByteArray, contentType);
        QFETCH(QByteArray, body);
        const Answer queued =
            fetch(u"POST /_standin/override"_s, R"({"path":"/api/public/stats",)" + control + '}');
        QCOMPARE(queued.json().value(u"queued"_s), QJsonValue(1));
        const Answer answer = fetch(kStats);
        QCOMPARE(answer.status, status);
        QCOMPARE(answer.contentType, contentType);
        QCOMPARE(answer.body, body);
        QCOMPARE(fetch(kStats).json().value(u"sparkline"_s).toArray().size(), 40);
    }

    void overrideDelaysTheWholeAnswer()
    {
        m_server->overrideNext(kTrack, {.body = "late", .delayMs = 300});
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(fetch(kTrack).body, "late");
        QVERIFY(timer.elapsed() >= 300);

        // A client that gives up during the delay must not leave a write to a deleted socket.
        m_server->overrideNext(kTrack, {.delayMs = 200});
        auto *abandoned =
            m_client.nam().get(QNetworkRequest(m_server->baseUrl().resolved(QUrl(kTrack))));
        QTRY_COMPARE_WITH_TIMEOUT(m_server->requests().size(), 2, 3000);
        delete abandoned;
        QTest::qWait(300);
        QCOMPARE(fetch(kTrack).status, 200);
    }

    void overrideDropCutsTheBody()
    {
        m_server->overrideNext(kTrack, {.body = "x", .repeat = 200000, .drop = true});
        const Answer answer = fetch(kTrack);
        // QNetworkAccessManager does not always flag a body cut short (it may say NoError), so
        // check the bytes: the full length was promised, half of it arrived.
        QCOMPARE(answer.declaredLength, 200000);
        QCOMPARE(answer.body.size(), 100000);
        QCOMPARE(fetch(kTrack).status, 200);
    }

    void overridesQueueFirstInFirstOut()
    {
        m_server->overrideNext(kTrack, {.status = 500}, 2);
        m_server->overrideNext(kTrack, {.status = 404});
        m_server->overrideNext(u"api/public/stats"_s, {.status = 503}); // slash added
        QCOMPARE(fetch(kStats).status, 503);
        for (const int status : {500, 500, 404, 200})
            QCOMPARE(fetch(kTrack).status, status);
        QCOMPARE(fetch(kStats).status, 200);
        QCOMPARE(m_server->requests().size(), 6); // overridden answers are logged too
        QCOMPARE(fetch(u"DELETE /_standin/requests"_s).json().value(u"cleared"_s), QJsonValue(6));
        m_server->overrideNext(kTrack, {.status = 500});
        QCOMPARE(fetch(u"POST /_standin/reset"_s).status, 200);
        QCOMPARE(fetch(kTrack).status, 200);
        QCOMPARE(m_server->requests().size(), 1);
    }

    void requestLog_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("query") << u"GET /api/public/stats?since=2025-01-01&q=a%20b"_s << ""_ba;
        QTest::newRow("body") << u"POST /api/public/stats"_s << R"({"a":1})"_ba;
        QTest::newRow("unknown path") << u"DELETE /nowhere"_s << ""_ba;
    }
    void requestLog()
    {
        QFETCH(QString, request);
        QFETCH(QByteArray, body);
        fetch(request, body);
        const QJsonArray logged =
            QJsonDocument::fromJson(fetch(u"/_standin/requests"_s).body).array();
        QCOMPARE(logged.size(), 1); // not even this very call: control calls are not logged
        const QJsonObject entry = logged.first().toObject();
        QCOMPARE(entry.value(u"method"_s).toString(), request.section(u' ', 0, 0));
        const QString target = request.section(u' ', 1);
        QCOMPARE(entry.value(u"path"_s).toString(), target.section(u'?', 0, 0));
        QCOMPARE(entry.value(u"query"_s).toString(), target.section(u'?', 1)); // still encoded
        QCOMPARE(entry.value(u"body"_s).toString(), QString::fromUtf8(body));
        const QJsonObject headers = entry.value(u"headers"_s).toObject();
        QCOMPARE(headers.value(u"user-agent"_s).toString(), u"MireoPulseTest/1.0"_s);
    }

    void errorsAnswerJson_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        const QString queue = u"POST /_standin/override"_s;
        QTest::newRow("not json") << queue << "{path:"_ba << 400;
        QTest::newRow("no path") << queue << R"({"status": 500})"_ba << 400;
        QTest::newRow("unknown key") << queue << R"({"path": "/t", "delay": 5})"_ba << 400;
        QTest::newRow("fraction") << queue << R"({"path": "/t", "status": 500.5})"_ba << 400;
        QTest::newRow("two bodies")
            << queue << R"({"path":"/t","body":"","bodyBase64":""})"_ba << 400;
        QTest::newRow("bad base64") << queue << R"({"path": "/t", "bodyBase64": "*"})"_ba << 400;
        QTest::newRow("steps back") << u"POST /_standin/advance"_s << R"({"steps": -1})"_ba << 400;
        QTest::newRow("nowhere") << u"GET /api/public"_s << ""_ba << 404;
        QTest::newRow("trailing slash") << u"GET /api/public/stats/"_s << ""_ba << 404;
        QTest::newRow("wrong method") << u"POST /api/public/stats"_s << ""_ba << 405;
    }
    void errorsAnswerJson()
    {
        QFETCH(QString, request);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        const Answer answer = fetch(request, body);
        QCOMPARE(answer.status, status);
        QVERIFY(answer.json().value(u"error"_s).isString());
        QCOMPARE(fetch(u"/t"_s).status, 404); // a rejected override queues nothing
        QCOMPARE(m_server->book().step(), qint64(0));
    }
};

QTEST_GUILESS_MAIN(TstStandin)
#include "tst_standin.moc"
