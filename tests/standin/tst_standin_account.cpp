#include "standin/StandinClient.h"

#include <QJsonArray>
#include <QTest>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <cmath>

using namespace Qt::StringLiterals;
using testing::bearer;
using testing::Headers;

namespace {

// 11:20 in New York: today's 10:15 decision has been taken.
const QDateTime kStart(QDate(2026, 3, 2), QTime(16, 20, 0, 250), QTimeZone::utc());

// "a/b/-1": member a, member b, last element; "*" stands for every element.
QList<QJsonValue> at(const QJsonValue &value, const QString &path)
{
    QList<QJsonValue> found{value};
    for (const QString &step : path.split(u'/', Qt::SkipEmptyParts)) {
        QList<QJsonValue> next;
        for (const QJsonValue &v : std::as_const(found)) {
            const QJsonArray array = v.toArray();
            const int index = step.toInt();
            if (step == u"*")
                for (const QJsonValue &element : array)
                    next.append(element);
            else if (v.isArray())
                next.append(array.at(index < 0 ? array.size() + index : index));
            else
                next.append(v[step]);
        }
        found = next;
    }
    return found;
}

// `members` is "name:type ...", a trailing '?' on the type also allowing null. Empty when the
// object has exactly these members with these wire types.
QString typeProblem(const QJsonValue &value, const QString &members)
{
    const QJsonObject object = value.toObject();
    QStringList expected;
    for (const QString &member : members.split(u' ')) {
        const QString key = member.section(u':', 0, 0), type = member.section(u':', 1);
        expected.append(key);
        const QJsonValue v = object.value(key);
        if (type.endsWith(u'?') && v.isNull())
            continue;
        const QString base = type.endsWith(u'?') ? type.chopped(1) : type;
        const bool ok = base == u"string"   ? v.isString()
                        : base == u"number" ? v.isDouble()
                        : base == u"integer"
                            ? v.isDouble() && std::floor(v.toDouble()) == v.toDouble()
                        : base == u"bool"   ? v.isBool()
                        : base == u"object" ? v.isObject()
                                            : base == u"array" && v.isArray();
        if (!ok)
            return key + u" is not "_s + type;
    }
    expected.sort();
    return object.keys() == expected ? QString() : u"members "_s + object.keys().join(u", "_s);
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
        return at(account(what), path).value(0);
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
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("members");
        const QString p = u"portfolio"_s;
        QTest::newRow("portfolio")
            << p << QString() << u"plan:string accounts:array totals:object worker:object"_s;
        QTest::newRow("totals") << p << u"totals"_s
                                << u"equity:number todayPnl:number baseline:number"_s;
        QTest::newRow("worker") << p << u"worker"_s
                                << u"status:string autoExecuteEnabled:bool killSwitch:bool "
                                   u"tradingMode:string"_s;
        QTest::newRow("account") << p << u"accounts/*"_s
                                 << u"label:string environment:string equity:number "
                                    u"todayPnl:number positions:integer"_s;
        QTest::newRow("positions") << u"positions"_s << u"accounts/*"_s << u"positions:array"_s;
        QTest::newRow("position") << u"positions"_s << u"accounts/*/positions/*"_s
                                  << u"symbol:string marketValue:number unrealizedPl:number "
                                     u"unrealizedPlpc:number"_s;
        QTest::newRow("swing") << u"signals/swing"_s << QString()
                               << u"decidedAt:string signals:array"_s;
        QTest::newRow("signal") << u"signals/swing"_s << u"signals/*"_s << u"symbol:string"_s;
        QTest::newRow("trade") << u"trades"_s << u"trades/*"_s
                               << u"symbol:string side:string? status:string? filled_at:string? "
                                  u"fill_price:number?"_s;
    }
    void bodiesHaveWireTypes()
    {
        QFETCH(QString, endpoint);
        QFETCH(QString, path);
        QFETCH(QString, members);
        const QList<QJsonValue> objects = at(account(endpoint), path);
        QVERIFY(!objects.isEmpty());
        for (const QJsonValue &object : objects) {
            const QString problem = typeProblem(object, members);
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        }
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
        const QString sparkle = u"http://www.andymatuschak.org/xml-namespaces/sparkle"_s;
        QXmlStreamReader xml(feed.body);
        QHash<QString, QString> item; // "ns:name" or "name@ns:attribute" -> text
        int items = 0;
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement)
                continue;
            const auto named = [&](QStringView uri, QStringView name) {
                return (uri == sparkle ? u"sparkle:"_s : QString()) + name.toString();
            };
            const QString key = named(xml.namespaceUri(), xml.name());
            items += key == u"item";
            for (const QXmlStreamAttribute &a : xml.attributes())
                item.insert(key + u'@' + named(a.namespaceUri(), a.name()), a.value().toString());
            if (key != u"rss" && key != u"channel" && key != u"item" && key != u"enclosure")
                item.insert(key, xml.readElementText(QXmlStreamReader::SkipChildElements));
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        QCOMPARE(items, 1);
        QCOMPARE(item.value(u"rss@version"_s), u"2.0"_s);
        QCOMPARE(item.value(u"sparkle:version"_s), version);
        QCOMPARE(item.value(u"sparkle:shortVersionString"_s), version);
        QCOMPARE(item.value(u"enclosure@sparkle:version"_s), version);
        QVERIFY(m_rig.fetch(QUrl(item.value(u"link"_s))).body.contains(version.toUtf8()));
    }
};

QTEST_GUILESS_MAIN(TstStandinAccount)
#include "tst_standin_account.moc"
