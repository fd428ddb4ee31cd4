#include "Server.h"
#include "standin/StandinClient.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QTest>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;
using standin::Server;
using testing::Answer;
using testing::bearer;
using testing::Headers;

namespace {

// 11:20 in New York: today's 10:15 decision has been taken.
const QDateTime kStart(QDate(2026, 3, 2), QTime(16, 20, 0, 250), QTimeZone::utc());
const QRegularExpression kTimestamp(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"_s);

// Each member's wire type; a trailing '?' also allows null. The object must have exactly these.
using Members = QList<QPair<QString, QString>>;

QString typeProblem(const QJsonValue &value, const Members &members, const QString &where)
{
    if (!value.isObject())
        return where + u" is not an object"_s;
    const QJsonObject object = value.toObject();
    QStringList expected;
    for (const auto &[key, type] : members) {
        expected.append(key);
        const QJsonValue member = object.value(key);
        const bool nullable = type.endsWith(u'?');
        const QString base = nullable ? type.chopped(1) : type;
        if (nullable && member.isNull())
            continue;
        const double number = member.toDouble(0.5);
        const bool ok = base == u"string"    ? member.isString()
                        : base == u"number"  ? member.isDouble()
                        : base == u"integer" ? member.isDouble() && std::floor(number) == number
                        : base == u"bool"    ? member.isBool()
                        : base == u"object"  ? member.isObject()
                                             : base == u"array" && member.isArray();
        if (!ok)
            return where + u'.' + key + u" is not "_s + type;
    }
    expected.sort();
    if (object.keys() != expected)
        return where + u" has members "_s + object.keys().join(u", "_s);
    return {};
}

// "a/b/-1": member a, member b, last element.
QJsonValue at(QJsonValue value, const QString &path)
{
    for (const QString &step : path.split(u'/', Qt::SkipEmptyParts)) {
        if (value.isArray()) {
            const QJsonArray array = value.toArray();
            const int index = step.toInt();
            value = array.at(index < 0 ? array.size() + index : index);
        } else {
            value = value.toObject().value(step);
        }
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

    testing::StandinClient m_client;
    std::unique_ptr<Server> m_server;
    QDateTime m_now;
    QString m_access;

    Answer fetch(const QString &request, const QByteArray &body = {}, const Headers &headers = {})
    {
        return m_client.fetch(m_server->baseUrl(), request, body, headers);
    }
    QJsonObject account(const QString &what)
    {
        const Answer answer = fetch(u"/api/mobile/"_s + what, {}, bearer(m_access));
        return answer.status == 200 ? answer.json() : QJsonObject{};
    }

private Q_SLOTS:
    void init()
    {
        m_now = kStart;
        m_server = std::make_unique<Server>();
        m_server->book().setClock([this] { return m_now; });
        QVERIFY(m_server->listen());
        m_access = m_server->issueSession().accessToken;
    }
    void cleanup() { m_server.reset(); }

    void bodiesHaveWireTypes()
    {
        const QJsonObject portfolio = account(u"portfolio"_s);
        const Members accountMembers{{u"label"_s, u"string"_s},
                                     {u"environment"_s, u"string"_s},
                                     {u"equity"_s, u"number"_s},
                                     {u"todayPnl"_s, u"number"_s},
                                     {u"positions"_s, u"integer"_s}};
        const auto check = [](const QString &problem) { return problem.isEmpty(); };
        QString problem = typeProblem(portfolio,
                                      {{u"plan"_s, u"string"_s},
                                       {u"accounts"_s, u"array"_s},
                                       {u"totals"_s, u"object"_s},
                                       {u"worker"_s, u"object"_s}},
                                      u"portfolio"_s);
        QVERIFY2(check(problem), qPrintable(problem));
        problem = typeProblem(portfolio[u"totals"_s],
                              {{u"equity"_s, u"number"_s},
                               {u"todayPnl"_s, u"number"_s},
                               {u"baseline"_s, u"number"_s}},
                              u"totals"_s);
        problem += typeProblem(portfolio[u"worker"_s],
                               {{u"status"_s, u"string"_s},
                                {u"autoExecuteEnabled"_s, u"bool"_s},
                                {u"killSwitch"_s, u"bool"_s},
                                {u"tradingMode"_s, u"string"_s}},
                               u"worker"_s);
        QVERIFY2(check(problem), qPrintable(problem));
        QVERIFY(at(portfolio, u"totals/baseline"_s).toDouble() > 0);
        QCOMPARE(portfolio[u"accounts"_s].toArray().size(), 2);
        for (const QJsonValue &a : portfolio[u"accounts"_s].toArray())
            problem += typeProblem(a, accountMembers, u"account"_s);

        const QJsonObject positions = account(u"positions"_s);
        problem += typeProblem(positions, {{u"accounts"_s, u"array"_s}}, u"positions"_s);
        for (const QJsonValue &a : positions[u"accounts"_s].toArray()) {
            problem += typeProblem(a, {{u"positions"_s, u"array"_s}}, u"positions account"_s);
            for (const QJsonValue &p : a[u"positions"_s].toArray())
                problem += typeProblem(p,
                                       {{u"symbol"_s, u"string"_s},
                                        {u"marketValue"_s, u"number"_s},
                                        {u"unrealizedPl"_s, u"number"_s},
                                        {u"unrealizedPlpc"_s, u"number"_s}},
                                       u"position"_s);
        }

        const QJsonObject swing = account(u"signals/swing"_s);
        problem += typeProblem(swing, {{u"decidedAt"_s, u"string"_s}, {u"signals"_s, u"array"_s}},
                               u"swing"_s);
        QVERIFY(!swing[u"signals"_s].toArray().isEmpty());
        for (const QJsonValue &s : swing[u"signals"_s].toArray())
            problem += typeProblem(s, {{u"symbol"_s, u"string"_s}}, u"signal"_s);

        const QJsonObject trades = account(u"trades"_s);
        problem += typeProblem(trades, {{u"trades"_s, u"array"_s}}, u"trades"_s);
        int fills = 0;
        for (const QJsonValue &t : trades[u"trades"_s].toArray()) {
            problem += typeProblem(t,
                                   {{u"symbol"_s, u"string"_s},
                                    {u"side"_s, u"string?"_s},
                                    {u"status"_s, u"string?"_s},
                                    {u"filled_at"_s, u"string?"_s},
                                    {u"fill_price"_s, u"number?"_s}},
                                   u"trade"_s);
            if (t[u"filled_at"_s].isString()) {
                ++fills;
                QVERIFY(kTimestamp.match(t[u"filled_at"_s].toString()).hasMatch());
                QVERIFY(t[u"filled_at"_s].toString() < swing[u"decidedAt"_s].toString());
            }
        }
        QVERIFY2(check(problem), qPrintable(problem));
        QVERIFY(fills >= 2 && fills < trades[u"trades"_s].toArray().size()); // one still open
    }

    void decisionOfTheDay_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("decidedAt");
        QTest::newRow("winter") << kStart << u"2026-03-02T15:15:00.000Z"_s;
        QTest::newRow("summer") << QDateTime(QDate(2026, 7, 1), QTime(18, 0), QTimeZone::utc())
                                << u"2026-07-01T14:15:00.000Z"_s;
        QTest::newRow("before the cycle") << kStart.addSecs(-7200) << u"2026-03-02T14:20:00.250Z"_s;
        QTest::newRow("new york's yesterday")
            << QDateTime(QDate(2026, 3, 3), QTime(2, 0), QTimeZone::utc())
            << u"2026-03-02T15:15:00.000Z"_s;
    }
    void decisionOfTheDay()
    {
        QFETCH(QDateTime, now);
        QFETCH(QString, decidedAt);
        m_now = now; // before the first read, as a test that sets its clock after start-up does
        m_access = m_server->issueSession().accessToken;
        QCOMPARE(at(account(u"signals/swing"_s), u"decidedAt"_s), QJsonValue(decidedAt));
    }

    void accountFollowsTheBook()
    {
        QSet<double> equities;
        for (int step = 0; step < 30; ++step) {
            const QJsonObject portfolio = account(u"portfolio"_s);
            const QJsonArray accounts = portfolio[u"accounts"_s].toArray();
            const QJsonArray held = account(u"positions"_s)[u"accounts"_s].toArray();
            const QJsonArray book =
                fetch(u"/api/public/track-record"_s).json()[u"accounts"_s].toArray();
            QCOMPARE(held.size(), accounts.size());
            double equity = 0, todayPnl = 0;
            for (qsizetype i = 0; i < accounts.size(); ++i) {
                const qint64 count = accounts[i][u"positions"_s].toInteger();
                QCOMPARE(held[i][u"positions"_s].toArray().size(), count);
                QCOMPARE(count, book[i][u"positions"_s].toInteger());
                for (const QJsonValue &p : held[i][u"positions"_s].toArray())
                    QVERIFY(p[u"marketValue"_s].toDouble() > 0);
                equity += accounts[i][u"equity"_s].toDouble();
                todayPnl += accounts[i][u"todayPnl"_s].toDouble();
            }
            QVERIFY(std::abs(at(portfolio, u"totals/equity"_s).toDouble() - equity) < 0.005);
            QVERIFY(std::abs(at(portfolio, u"totals/todayPnl"_s).toDouble() - todayPnl) < 0.005);
            equities.insert(equity);
            m_server->book().advance(1);
        }
        QVERIFY(equities.size() > 20);
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
        QTest::newRow("resume") << false << R"({"enabled":true})"_ba << json << 200 << true;
        QTest::newRow("resume again") << true << R"({"enabled":true})"_ba << json << 200 << true;
        QTest::newRow("charset") << true << R"({"enabled":false})"_ba
                                 << "application/json; charset=utf-8"_ba << 200 << false;
        QTest::newRow("text") << true << R"({"enabled":"false"})"_ba << json << 400 << true;
        QTest::newRow("number") << false << R"({"enabled":1})"_ba << json << 400 << false;
        QTest::newRow("null") << true << R"({"enabled":null})"_ba << json << 400 << true;
        QTest::newRow("empty object") << true << "{}"_ba << json << 400 << true;
        QTest::newRow("state's name")
            << true << R"({"autoExecuteEnabled":false})"_ba << json << 400 << true;
        QTest::newRow("extra member")
            << true << R"({"enabled":false,"why":"x"})"_ba << json << 400 << true;
        QTest::newRow("not json") << true << "enabled=false"_ba << json << 400 << true;
        QTest::newRow("no body") << true << ""_ba << json << 400 << true;
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
        m_server->account().setAutoExecuteEnabled(before);
        Headers headers = bearer(m_access);
        headers.append({"Content-Type", contentType});
        QCOMPARE(fetch(u"PATCH /api/mobile/auto-execution"_s, body, headers).status, status);
        QCOMPARE(m_server->autoExecuteEnabled(), after);
        QCOMPARE(at(account(u"portfolio"_s), u"worker/autoExecuteEnabled"_s), QJsonValue(after));
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
        const QString fills = u"/_standin/fills"_s;
        QTest::newRow("kill switch") << u"/_standin/kill-switch"_s << R"({"engaged":true})"_ba
                                     << u"portfolio"_s << u"worker/killSwitch"_s << "true"_ba;
        QTest::newRow("decision")
            << decision << R"({"decidedAt":"2026-03-03T15:15:00.000Z","symbols":["TSLA","AMD"]})"_ba
            << u"signals/swing"_s << QString()
            << R"({"decidedAt":"2026-03-03T15:15:00.000Z","signals":[{"symbol":"TSLA"},{"symbol":"AMD"}]})"_ba;
        QTest::newRow("no trade") << decision << R"({"decidedAt":"d","symbols":[]})"_ba
                                  << u"signals/swing"_s << QString()
                                  << R"({"decidedAt":"d","signals":[]})"_ba;
        QTest::newRow("no decision")
            << decision << R"({"decidedAt":null,"symbols":["X"]})"_ba << u"signals/swing"_s
            << QString() << R"({"signals":[{"symbol":"X"}]})"_ba;
        QTest::newRow("decided now")
            << decision << R"({"symbols":["SPY"]})"_ba << u"signals/swing"_s << u"decidedAt"_s
            << R"("2026-03-02T16:20:00.250Z")"_ba;
        const QByteArray fill =
            R"({"symbol":"AAPL","side":"buy","status":"filled","filled_at":"2026-03-02T16:00:00Z","fill_price":187.25})";
        QTest::newRow("fill") << fills << R"({"fills":[)" + fill + "]}" << u"trades"_s
                              << u"trades/-1"_s << fill;
        const QByteArray bare =
            R"({"symbol":"TSLA","side":null,"filled_at":null,"fill_price":null})";
        QTest::newRow("nulls") << fills << R"({"fills":[)" + fill + ',' + bare + "]}" << u"trades"_s
                               << u"trades/-1"_s << bare;
        QTest::newRow("older, kept in order")
            << fills << R"({"fills":[{"symbol":"A","filled_at":"2020-01-01T00:00:00.000Z"}]})"_ba
            << u"trades"_s << u"trades/-1"_s
            << R"({"symbol":"A","filled_at":"2020-01-01T00:00:00.000Z"})"_ba;
    }
    void controlShowsInTheNextAnswer()
    {
        QFETCH(QString, control);
        QFETCH(QByteArray, body);
        QFETCH(QString, endpoint);
        QFETCH(QString, path);
        QFETCH(QByteArray, expected);
        QCOMPARE(fetch(u"POST "_s + control, body).status, 200);
        QCOMPARE(at(account(endpoint), path), parsed(expected));
    }

    void controlRejectsBadBodies_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<QByteArray>("body");
        const QString fills = u"/_standin/fills"_s;
        QTest::newRow("kill switch missing") << u"/_standin/kill-switch"_s << "{}"_ba;
        QTest::newRow("kill switch text") << u"/_standin/kill-switch"_s << R"({"engaged":"on"})"_ba;
        QTest::newRow("symbol number") << u"/_standin/decision"_s << R"({"symbols":["A",1]})"_ba;
        QTest::newRow("symbols text") << u"/_standin/decision"_s << R"({"symbols":"A"})"_ba;
        QTest::newRow("decidedAt number") << u"/_standin/decision"_s << R"({"decidedAt":5})"_ba;
        QTest::newRow("fills object") << fills << R"({"fills":{"symbol":"A"}})"_ba;
        QTest::newRow("no symbol") << fills << R"({"fills":[{"side":"buy"}]})"_ba;
        QTest::newRow("price as text")
            << fills << R"({"fills":[{"symbol":"A"},{"symbol":"B","fill_price":"1.5"}]})"_ba;
        QTest::newRow("camel case") << fills << R"({"fills":[{"symbol":"A","filledAt":null}]})"_ba;
        QTest::newRow("version word") << u"/_standin/appcast"_s << R"({"version":"latest"})"_ba;
        QTest::newRow("version number") << u"/_standin/appcast"_s << R"({"version":1.2})"_ba;
    }
    void controlRejectsBadBodies()
    {
        QFETCH(QString, control);
        QFETCH(QByteArray, body);
        const QJsonObject state = m_server->stateJson();
        const Answer answer = fetch(u"POST "_s + control, body);
        QCOMPARE(answer.status, 400);
        QVERIFY(answer.json()[u"error"_s].isString());
        QCOMPARE(m_server->stateJson(), state); // all or nothing
    }

    void methodsMatchTheRoutes()
    {
        m_server->setKillSwitch(true);
        QCOMPARE(at(account(u"portfolio"_s), u"worker/killSwitch"_s), QJsonValue(true));
        m_server->setKillSwitch(false);
        QCOMPARE(at(account(u"portfolio"_s), u"worker/killSwitch"_s), QJsonValue(false));
        m_server->publishDecision(QString(), {u"A"_s});
        QVERIFY(!account(u"signals/swing"_s).contains(u"decidedAt"_s));
        m_server->publishDecision(u"2026-03-02T15:15:00.000Z"_s, {});
        QCOMPARE(account(u"signals/swing"_s),
                 parsed(R"({"decidedAt":"2026-03-02T15:15:00.000Z","signals":[]})").toObject());
        const int trades = m_server->stateJson()[u"trades"_s].toInt();
        QVERIFY(m_server->addFill(parsed(R"({"symbol":"Q","fill_price":null})").toObject()));
        QVERIFY(!m_server->addFill(parsed(R"({"symbol":"Q","price":1})").toObject()));
        QVERIFY(!m_server->addFill(parsed(R"({"side":"buy"})").toObject()));
        QCOMPARE(account(u"trades"_s)[u"trades"_s].toArray().size(), trades + 1);

        // Reset brings back the opening account, and leaves the updates feed alone.
        QVERIFY(m_server->setLatestVersion(u"0.3.0"_s));
        m_server->account().setAutoExecuteEnabled(false);
        m_server->setKillSwitch(true);
        m_server->reset();
        m_access = m_server->issueSession().accessToken;
        const QJsonObject state = fetch(u"/_standin/state"_s).json();
        QCOMPARE(state[u"autoExecuteEnabled"_s], QJsonValue(true));
        QCOMPARE(state[u"killSwitch"_s], QJsonValue(false));
        QCOMPARE(state[u"trades"_s], QJsonValue(trades));
        QCOMPARE(at(state, u"decision/decidedAt"_s), QJsonValue(u"2026-03-02T15:15:00.000Z"_s));
        QCOMPARE(at(state, u"decision/symbols"_s).toArray().size(), 3);
        QCOMPARE(state[u"latestVersion"_s], QJsonValue(u"0.3.0"_s));
    }

    void appcast_data()
    {
        QTest::addColumn<QByteArray>("control"); // body for /_standin/appcast; empty: none
        QTest::addColumn<QString>("version");
        QTest::newRow("default: the app's own") << QByteArray() << u"0.1.0"_s;
        QTest::newRow("newer") << R"({"version":"1.2.3"})"_ba << u"1.2.3"_s;
        QTest::newRow("two digits") << R"({"version":"0.10.0"})"_ba << u"0.10.0"_s;
    }
    void appcast()
    {
        QFETCH(QByteArray, control);
        QFETCH(QString, version);
        if (!control.isEmpty())
            QCOMPARE(fetch(u"POST /_standin/appcast"_s, control).status, 200);
        const Answer feed = fetch(u"/appcast.xml"_s);
        QCOMPARE(feed.status, 200);
        const QString sparkle = u"http://www.andymatuschak.org/xml-namespaces/sparkle"_s;
        QXmlStreamReader xml(feed.body);
        QHash<QString, QString> item; // "ns:name" or "enclosure@ns:attribute" -> text
        int items = 0;
        QStringList path;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isEndElement())
                path.removeLast();
            if (!xml.isStartElement())
                continue;
            path.append(xml.name().toString());
            if (path.size() == 1)
                QCOMPARE(xml.attributes().value(u"version"_s), u"2.0"_s);
            if (path == QStringList{u"rss"_s, u"channel"_s, u"item"_s})
                ++items;
            if (path.size() != 4 || path[2] != u"item")
                continue;
            const QString key =
                (xml.namespaceUri() == sparkle ? u"sparkle:"_s : QString()) + xml.name().toString();
            for (const QXmlStreamAttribute &a : xml.attributes())
                item.insert(key + u'@' + (a.namespaceUri() == sparkle ? u"sparkle:"_s : QString()) +
                                a.name().toString(),
                            a.value().toString());
            if (key != u"enclosure")
                item.insert(key, xml.readElementText());
            if (xml.isEndElement())
                path.removeLast();
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        QCOMPARE(items, 1);
        QCOMPARE(item.value(u"sparkle:version"_s), version);
        QCOMPARE(item.value(u"sparkle:shortVersionString"_s), version);
        QCOMPARE(item.value(u"enclosure@sparkle:version"_s), version);
        QVERIFY(item.value(u"title"_s).endsWith(version));
        QCOMPARE(
            QLocale::c().toDateTime(item.value(u"pubDate"_s), u"ddd, dd MMM yyyy HH:mm:ss +0000"_s),
            QDateTime(kStart.date(), QTime(16, 20)));
        const Answer page = m_client.fetch(QUrl(item.value(u"link"_s)), QString());
        QCOMPARE(page.contentType, "text/html; charset=utf-8");
        QVERIFY(page.body.contains(version.toUtf8()));
        const Answer archive = m_client.fetch(QUrl(item.value(u"enclosure@url"_s)), QString());
        QCOMPARE(archive.status, 200);
        QCOMPARE(QString::number(archive.body.size()), item.value(u"enclosure@length"_s));
        QVERIFY(!item.value(u"enclosure@type"_s).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstStandinAccount)
#include "tst_standin_account.moc"
