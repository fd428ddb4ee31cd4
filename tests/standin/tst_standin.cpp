#include "standin/StandinClient.h"

#include <QJsonArray>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {
const QString kTrack = u"/api/public/track-record"_s;
const QString kStats = u"/api/public/stats"_s;
const QDateTime kStart(QDate(2025, 3, 7), QTime(14, 30, 5, 123), QTimeZone::utc());
} // namespace

class TstStandin : public QObject
{
    Q_OBJECT

    testing::StandinRig m_rig;

    testing::Answer fetch(const QString &request, const QByteArray &body = {})
    {
        return m_rig.fetch(request, body);
    }

private Q_SLOTS:
    void init() { QVERIFY(m_rig.start(kStart)); }

    void publicBodiesHaveWireTypes()
    {
        const testing::Answer answer = fetch(kTrack);
        QCOMPARE(answer.contentType, "application/json");
        const QJsonObject track = answer.json();
        QCOMPARE(track.value(u"has_data"_s), QJsonValue(true));
        QCOMPARE(track.value(u"last_update"_s), QJsonValue(u"2025-03-07T14:30:05.123Z"_s));
        QCOMPARE(testing::shape(track),
                 u"{accounts:[{equity:n,name:s,positions:n}],consolidated:{return_pct:n,"
                 u"return_vs_spy_pct:n,total_equity:n},has_data:b,last_update:s}"_s);
        QCOMPARE(track[u"accounts"_s].toArray().size(), 3);
        for (const QJsonValue &account : track[u"accounts"_s].toArray()) // whole numbers
            QVERIFY(account[u"positions"_s].toInteger(-1) >= 0);
        const QJsonArray sparkline = fetch(kStats).json().value(u"sparkline"_s).toArray();
        QCOMPARE(sparkline.size(), 40);
        QCOMPARE(sparkline.last(), track[u"consolidated"_s][u"return_pct"_s]); // newest last
    }

    void advanceShiftsTheSparkline()
    {
        const QJsonArray before = fetch(kStats).json().value(u"sparkline"_s).toArray();
        QCOMPARE(fetch(u"POST /_standin/advance"_s, R"({"steps": 3})").json()[u"step"_s],
                 QJsonValue(3));
        const QJsonArray after = fetch(kStats).json().value(u"sparkline"_s).toArray();
        QCOMPARE(after.size(), before.size());
        QCOMPARE(after.at(0), before.at(3));
    }

    void overrideReplacesTheNextAnswer_data()
    {
        QTest::addColumn<QByteArray>("control"); // the keys after "path"
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("error") << R"("status":500,"body":"{}")"_ba << 500 << "application/json"_ba
                               << "{}"_ba;
        QTest::newRow("repeated") << R"("body":"ab","repeat":3,"contentType":"text/csv")"_ba << 200
                                  << "text/csv"_ba
                                  << "ababab"_ba;
        QTest::newRow("base64") << R"("bodyBase64":"AAEC","status":503,"contentType":"")"_ba << 503
                                << ""_ba
                                << "\x00\x01\x02"_ba;
    }
    void overrideReplacesTheNextAnswer()
    {
        QFETCH(QByteArray, control);
        QFETCH(int, status);
        QFETCH(QByteArray, contentType);
        QFETCH(QByteArray, body);
        const testing::Answer queued =
            fetch(u"POST /_standin/override"_s, R"({"path":"/api/public/stats",)" + control + '}');
        QCOMPARE(queued.json().value(u"queued"_s), QJsonValue(1));
        const testing::Answer answer = fetch(kStats);
        QCOMPARE(answer.status, status);
        QCOMPARE(answer.contentType, contentType);
        QCOMPARE(answer.body, body);
        QCOMPARE(fetch(kStats).status, 200); // only the next one
    }

    void overridesQueueAndReset()
    {
        m_rig.server->overrideNext(kTrack, {.status = 500}, 2);
        m_rig.server->overrideNext(kTrack, {.status = 404});
        m_rig.server->overrideNext(u"api/public/stats"_s, {.status = 503}); // slash added
        QCOMPARE(fetch(kStats).status, 503);
        for (const int status : {500, 500, 404, 200})
            QCOMPARE(fetch(kTrack).status, status);
        QCOMPARE(fetch(u"DELETE /_standin/requests"_s).json().value(u"cleared"_s), QJsonValue(5));
        m_rig.server->overrideNext(kTrack, {.status = 500});
        QCOMPARE(fetch(u"POST /_standin/reset"_s).status, 200);
        QCOMPARE(fetch(kTrack).status, 200);
        QCOMPARE(m_rig.server->requests().size(), 1);
    }

    void requestLog()
    {
        fetch(u"POST /api/public/stats?since=2025-01-01&q=a%20b"_s, R"({"a":1})");
        const QJsonArray logged =
            QJsonDocument::fromJson(fetch(u"/_standin/requests"_s).body).array();
        QCOMPARE(logged.size(), 1); // control calls are not logged
        const QJsonObject entry = logged.first().toObject();
        QCOMPARE(entry.value(u"method"_s), QJsonValue(u"POST"_s));
        QCOMPARE(entry.value(u"path"_s), QJsonValue(kStats));
        QCOMPARE(entry.value(u"query"_s), QJsonValue(u"since=2025-01-01&q=a%20b"_s));
        QCOMPARE(entry.value(u"body"_s), QJsonValue(u"{\"a\":1}"_s));
        QCOMPARE(entry[u"headers"_s][u"user-agent"_s], QJsonValue(u"MireoPulseTest/1.0"_s));
    }

    void errorsAnswerJson_data()
    {
        QTest::addColumn<QString>("request");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        const QString queue = u"POST /_standin/override"_s;
        QTest::newRow("not json") << queue << "{path:"_ba << 400;
        QTest::newRow("steps back") << u"POST /_standin/advance"_s << R"({"steps": -1})"_ba << 400;
        QTest::newRow("nowhere") << u"GET /api/public"_s << ""_ba << 404;
        QTest::newRow("wrong method") << u"POST /api/public/stats"_s << ""_ba << 405;
    }
    void errorsAnswerJson()
    {
        QFETCH(QString, request);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        const testing::Answer answer = fetch(request, body);
        QCOMPARE(answer.status, status);
        QVERIFY(answer.json().value(u"error"_s).isString());
        QCOMPARE(fetch(u"/t"_s).status, 404); // a rejected override queues nothing
        QCOMPARE(m_rig.server->book().step(), qint64(0));
    }
};

QTEST_GUILESS_MAIN(TstStandin)
#include "tst_standin.moc"
