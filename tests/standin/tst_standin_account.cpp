#include "standin/StandinClient.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;
using testing::bearer;
using testing::Headers;

namespace {

// 11:20 in New York: today's 10:15 decision has been taken.
const QDateTime kStart(QDate(2026, 3, 2), QTime(16, 20, 0, 250), QTimeZone::utc());

// "a/b/-1": member a, member b, last element.
QJsonValue at(QJsonValue value, const QString &path)
{
    for (const QString &step : path.split(u'/', Qt::SkipEmptyParts)) {
        const int index = step.toInt();
        value = value.isArray() ? value[index < 0 ? value.toArray().size() + index : index]
                                : value[step];
    }
    return value;
}

QJsonValue parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson("[" + json + "]").array().first();
}

} // namespace

class TstStandinAccount : public QObject
{
    Q_OBJECT

    testing::StandinRig m_rig;
    QString m_access;

    testing::Answer fetch(const QString &request, const QByteArray &body = {},
                          const Headers &headers = {})
    {
        return m_rig.fetch(request, body, headers);
    }
    QJsonObject account(const QString &what)
    {
        const testing::Answer answer = fetch(u"/api/mobile/"_s + what, {}, bearer(m_access));
        return answer.status == 200 ? answer.json() : QJsonObject{};
    }
    QJsonValue accountAt(const QString &what, const QString &path)
    {
        return at(account(what), path);
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_rig.start(kStart));
        m_access = m_rig.server->issueSession().accessToken;
    }

    void bodiesHaveWireTypes_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("shape");
        QTest::newRow("portfolio")
            << u"portfolio"_s
            << u"{accounts:[{environment:s,equity:n,label:s,positions:n,todayPnl:n}],plan:s,"
               u"totals:{baseline:n,equity:n,todayPnl:n},worker:{autoExecuteEnabled:b,"
               u"killSwitch:b,status:s,tradingMode:s}}"_s;
        QTest::newRow("positions") << u"positions"_s
                                   << u"{accounts:[{positions:[{marketValue:n,symbol:s,"
                                      u"unrealizedPl:n,unrealizedPlpc:n}]}]}"_s;
        QTest::newRow("swing") << u"signals/swing"_s << u"{decidedAt:s,signals:[{symbol:s}]}"_s;
        // One trade is still open: no fill time or price yet.
        QTest::newRow("trades") << u"trades"_s
                                << u"{trades:[{fill_price:n,filled_at:s,side:s,status:s,symbol:s}|"
                                   u"{fill_price:null,filled_at:null,side:s,status:s,symbol:s}]}"_s;
    }
    void bodiesHaveWireTypes()
    {
        QFETCH(QString, endpoint);
        QFETCH(QString, shape);
        const QJsonObject body = account(endpoint);
        QCOMPARE(testing::shape(body), shape);
        for (const QJsonValue &a : body[u"accounts"_s].toArray()) // counts are whole numbers
            QVERIFY(a[u"positions"_s].isArray() || a[u"positions"_s].toInteger(-1) >= 0);
    }

    void autoExecution_data()
    {
        QTest::addColumn<bool>("before");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("after");
        const QByteArray json = "application/json";
        QTest::newRow("pause") << true << R"({"enabled":false})"_ba << json << 200 << false;
        QTest::newRow("charset") << true << R"({"enabled":false})"_ba
                                 << "application/json; charset=utf-8"_ba << 200 << false;
        QTest::newRow("text") << true << R"({"enabled":"false"})"_ba << json << 400 << true;
        QTest::newRow("form") << true << R"({"enabled":false})"_ba
                              << "application/x-www-form-urlencoded"_ba << 400 << true;
    }
    void autoExecution()
    {
        QFETCH(bool, before);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, contentType);
        QFETCH(int, status);
        QFETCH(bool, after);
        m_rig.server->account().setAutoExecuteEnabled(before);
        const Headers headers = bearer(m_access) << qMakePair("Content-Type"_ba, contentType);
        QCOMPARE(fetch(u"PATCH /api/mobile/auto-execution"_s, body, headers).status, status);
        QCOMPARE(accountAt(u"portfolio"_s, u"worker/autoExecuteEnabled"_s), QJsonValue(after));
        QCOMPARE(fetch(u"/_standin/state"_s).json()[u"autoExecuteEnabled"_s], QJsonValue(after));
    }

    void controlShowsInTheNextAnswer_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QByteArray>("expected"); // JSON
        const QString decision = u"/_standin/decision"_s;
        QTest::newRow("kill switch") << u"/_standin/kill-switch"_s << R"({"engaged":true})"_ba
                                     << u"portfolio"_s << u"worker/killSwitch"_s << "true"_ba;
        QTest::newRow("decision")
            << decision << R"({"decidedAt":"2026-03-03T15:15:00.000Z","symbols":["TSLA","AMD"]})"_ba
            << u"signals/swing"_s << QString()
            << R"({"decidedAt":"2026-03-03T15:15:00.000Z","signals":[{"symbol":"TSLA"},{"symbol":"AMD"}]})"_ba;
        QTest::newRow("no decision")
            << decision << R"({"decidedAt":null,"symbols":["X"]})"_ba << u"signals/swing"_s
            << QString() << R"({"signals":[{"symbol":"X"}]})"_ba;
        QTest::newRow("decided now")
            << decision << R"({"symbols":["SPY"]})"_ba << u"signals/swing"_s << u"decidedAt"_s
            << R"("2026-03-02T16:20:00.250Z")"_ba;
        const QByteArray bare =
            R"({"symbol":"TSLA","side":null,"filled_at":null,"fill_price":null})";
        QTest::newRow("fill") << u"/_standin/fills"_s << R"({"fills":[)" + bare + "]}"
                              << u"trades"_s << u"trades/-1"_s << bare;
    }
    void controlShowsInTheNextAnswer()
    {
        QFETCH(QString, control);
        QFETCH(QByteArray, body);
        QFETCH(QString, endpoint);
        QFETCH(QString, path);
        QFETCH(QByteArray, expected);
        QCOMPARE(fetch(u"POST "_s + control, body).status, 200);
        QCOMPARE(accountAt(endpoint, path), parsed(expected));
    }

    void controlRejectsBadBodies_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QByteArray>("body");
        const QString fills = u"/_standin/fills"_s;
        QTest::newRow("kill switch text") << u"/_standin/kill-switch"_s << R"({"engaged":"on"})"_ba;
        QTest::newRow("price as text")
            << fills << R"({"fills":[{"symbol":"A"},{"symbol":"B","fill_price":"1.5"}]})"_ba;
        QTest::newRow("camel case") << fills << R"({"fills":[{"symbol":"A","filledAt":null}]})"_ba;
    }
    void controlRejectsBadBodies()
    {
        QFETCH(QString, control);
        QFETCH(QByteArray, body);
        const QJsonObject state = m_rig.server->stateJson();
        const testing::Answer answer = fetch(u"POST "_s + control, body);
        QCOMPARE(answer.status, 400);
        QVERIFY(answer.json()[u"error"_s].isString());
        QCOMPARE(m_rig.server->stateJson(), state); // all or nothing
    }

    // Reset brings back the opening account, and leaves the updates feed alone.
    void resetRestoresTheOpeningAccount()
    {
        const auto accountState = [this] {
            QJsonObject state = fetch(u"/_standin/state"_s).json();
            for (const QString &key : {u"accessTokens"_s, u"refreshTokens"_s, u"latestVersion"_s})
                state.remove(key);
            return state;
        };
        const QJsonObject opening = accountState();
        QVERIFY(m_rig.server->setLatestVersion(u"0.3.0"_s));
        m_rig.server->account().setAutoExecuteEnabled(false);
        m_rig.server->setKillSwitch(true);
        m_rig.server->publishDecision(QString(), {u"A"_s});
        QVERIFY(m_rig.server->addFill(parsed(R"({"symbol":"Q"})").toObject()));
        QCOMPARE(fetch(u"POST /_standin/reset"_s).status, 200);
        QCOMPARE(accountState(), opening);
        QCOMPARE(m_rig.server->stateJson()[u"latestVersion"_s], QJsonValue(u"0.3.0"_s));
    }

    void appcast_data()
    {
        QTest::addColumn<QByteArray>("control"); // body for /_standin/appcast; empty: none
        QTest::addColumn<QString>("version");
        QTest::newRow("default: the app's own") << QByteArray() << u"0.1.0"_s;
        QTest::newRow("two digits") << R"({"version":"0.10.0"})"_ba << u"0.10.0"_s;
    }
    void appcast()
    {
        QFETCH(QByteArray, control);
        QFETCH(QString, version);
        if (!control.isEmpty())
            QCOMPARE(fetch(u"POST /_standin/appcast"_s, control).status, 200);
        const testing::Answer feed = fetch(u"/appcast.xml"_s);
        QCOMPARE(feed.status, 200);
        // One item, its version in the places the update check reads it.
        const QByteArray ns =
            "xmlns:sparkle=\"http://www.andymatuschak.org/xml-namespaces/sparkle\"";
        QVERIFY(feed.body.contains(ns));
        QCOMPARE(feed.body.count("<item>"), 1);
        const QByteArray v = version.toUtf8();
        QVERIFY(feed.body.contains("<sparkle:version>" + v + "</sparkle:version>"));
        QVERIFY(feed.body.contains("<sparkle:shortVersionString>" + v + "</"));
        QVERIFY(feed.body.contains("sparkle:version=\"" + v + '"'));
        static const QRegularExpression link(u"<link>([^<]*)</link>"_s);
        const QString text = QString::fromUtf8(feed.body);
        const QString page = link.match(text, text.indexOf(u"<item>")).captured(1);
        QVERIFY(m_rig.fetch(QUrl(page)).body.contains(v));
    }
};

QTEST_GUILESS_MAIN(TstStandinAccount)
#include "tst_standin_account.moc"
