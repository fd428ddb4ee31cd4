#include "account/AccountRecords.h"

#include <QTest>
#include <cmath>

using namespace Qt::StringLiterals;

// The account bodies decode strictly: one wrong member fails the whole body.
class TestAccountRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void portfolio_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<qint64>("openPositions");

        QTest::newRow("full") << QByteArray(R"({"plan":"pro","accounts":[
            {"label":"Main","environment":"live","equity":1000.5,"todayPnl":-3,"positions":2},
            {"positions":3}],"totals":{"equity":1,"todayPnl":2,"baseline":3},
            "worker":{"status":"running","autoExecuteEnabled":true,"killSwitch":false,
            "tradingMode":"swing"},"unknown":[1,2]})")
                              << true << qint64(5);
        QTest::newRow("empty accounts") << QByteArray(R"({"accounts":[]})") << true << qint64(0);
        QTest::newRow("missing count adds 0")
            << QByteArray(R"({"accounts":[{"label":"A"},{"positions":4}]})") << true << qint64(4);
        QTest::newRow("totals null")
            << QByteArray(R"({"accounts":[],"totals":null})") << true << qint64(0);
        QTest::newRow("integral float count")
            << QByteArray(R"({"accounts":[{"positions":2.0}]})") << true << qint64(2);
        QTest::newRow("no accounts") << QByteArray(R"({"plan":"pro"})") << false << qint64(0);
        QTest::newRow("accounts null") << QByteArray(R"({"accounts":null})") << false << qint64(0);
        QTest::newRow("count as string")
            << QByteArray(R"({"accounts":[{"positions":"2"}]})") << false << qint64(0);
        QTest::newRow("fractional count")
            << QByteArray(R"({"accounts":[{"positions":2.5}]})") << false << qint64(0);
        QTest::newRow("plan as number")
            << QByteArray(R"({"accounts":[],"plan":1})") << false << qint64(0);
        QTest::newRow("switch as number")
            << QByteArray(R"({"accounts":[],"worker":{"killSwitch":1}})") << false << qint64(0);
        QTest::newRow("equity as string")
            << QByteArray(R"({"accounts":[],"totals":{"equity":"1"}})") << false << qint64(0);
        QTest::newRow("account not an object")
            << QByteArray(R"({"accounts":[1]})") << false << qint64(0);
        QTest::newRow("array at the top") << QByteArray("[]") << false << qint64(0);
        QTest::newRow("not JSON") << QByteArray("<html>") << false << qint64(0);
        QTest::newRow("empty") << QByteArray() << false << qint64(0);
        QTest::newRow("cut off") << QByteArray(R"({"accounts":[{"positions":1})") << false
                                 << qint64(0);
    }
    void portfolio()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, decodes);
        QFETCH(qint64, openPositions);
        const std::optional<Portfolio> decoded = decodePortfolio(body);
        QCOMPARE(decoded.has_value(), decodes);
        if (decoded)
            QCOMPARE(decoded->openPositions(), openPositions);
    }

    void portfolioMembers()
    {
        const auto decoded = decodePortfolio(R"({"plan":"pro","accounts":[{"label":"Main",
            "environment":"paper","equity":10.5,"todayPnl":-0.0,"positions":1}],
            "totals":{"baseline":100},"worker":{"autoExecuteEnabled":false}})");
        QVERIFY(decoded);
        QCOMPARE(decoded->plan, u"pro"_s);
        QCOMPARE(decoded->accounts.size(), 1);
        QCOMPARE(decoded->accounts[0].label, u"Main"_s);
        QCOMPARE(decoded->accounts[0].environment, u"paper"_s);
        QCOMPARE(decoded->accounts[0].equity, 10.5);
        QVERIFY(std::signbit(*decoded->accounts[0].todayPnl));
        QCOMPARE(decoded->totals->baseline, 100.0);
        QVERIFY(!decoded->totals->equity);
        QCOMPARE(decoded->worker->autoExecuteEnabled, false);
        QVERIFY(!decoded->worker->killSwitch);
    }

    void positions_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("symbols"); // after flattening and sorting; empty: fails

        QTest::newRow("sorted across accounts, stable")
            << QByteArray(R"({"accounts":[{"positions":[{"symbol":"A","marketValue":5},
               {"symbol":"B"},{"symbol":"C","marketValue":12}]},
               {"positions":[{"symbol":"D","marketValue":5},{"symbol":"E","marketValue":-1}]}]})")
            << QStringList{u"C"_s, u"A"_s, u"D"_s, u"B"_s, u"E"_s};
        QTest::newRow("null value counts as 0")
            << QByteArray(R"({"accounts":[{"positions":[{"symbol":"N","marketValue":null},
               {"symbol":"P","marketValue":0.5}]}]})")
            << QStringList{u"P"_s, u"N"_s};
        QTest::newRow("empty list")
            << QByteArray(R"({"accounts":[{"positions":[]}]})") << QStringList{};
        QTest::newRow("account without positions")
            << QByteArray(R"({"accounts":[{}]})") << QStringList{u"!"_s};
        QTest::newRow("position without symbol")
            << QByteArray(R"({"accounts":[{"positions":[{"marketValue":1}]}]})")
            << QStringList{u"!"_s};
        QTest::newRow("value as string")
            << QByteArray(R"({"accounts":[{"positions":[{"symbol":"A","unrealizedPl":"1"}]}]})")
            << QStringList{u"!"_s};
        QTest::newRow("no accounts") << QByteArray("{}") << QStringList{u"!"_s};
    }
    void positions()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, symbols);
        const auto decoded = decodePositions(body);
        if (symbols == QStringList{u"!"_s}) {
            QVERIFY(!decoded);
            return;
        }
        QVERIFY(decoded);
        QList<Position> sorted = decoded->flattened();
        sortPositions(sorted);
        QStringList actual;
        for (const Position &position : sorted)
            actual.append(position.id());
        QCOMPARE(actual, symbols);
    }

    void swing_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("decodes");
        QTest::addColumn<bool>("hasDecision");
        QTest::addColumn<QStringList>("symbols");

        QTest::newRow("decision") << QByteArray(R"({"decidedAt":"2025-03-07T15:15:00.000Z",
            "signals":[{"symbol":"NVDA"},{"symbol":"AAPL","extra":1}]})")
                                  << true << true << QStringList{u"NVDA"_s, u"AAPL"_s};
        QTest::newRow("decided, no trade")
            << QByteArray(R"({"decidedAt":"2025-03-07T15:15:00.000Z","signals":[]})") << true
            << true << QStringList{};
        QTest::newRow("no decision yet")
            << QByteArray(R"({"signals":[]})") << true << false << QStringList{};
        QTest::newRow("decidedAt null")
            << QByteArray(R"({"decidedAt":null,"signals":[]})") << true << false << QStringList{};
        QTest::newRow("no signals")
            << QByteArray(R"({"decidedAt":"x"})") << false << false << QStringList{};
        QTest::newRow("signal without symbol")
            << QByteArray(R"({"decidedAt":"x","signals":[{}]})") << false << false << QStringList{};
        QTest::newRow("decidedAt as number")
            << QByteArray(R"({"decidedAt":1,"signals":[]})") << false << false << QStringList{};
    }
    void swing()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, decodes);
        QFETCH(bool, hasDecision);
        QFETCH(QStringList, symbols);
        const auto decoded = decodeSwing(body);
        QCOMPARE(decoded.has_value(), decodes);
        if (!decoded)
            return;
        const auto decision = decoded->decision();
        QCOMPARE(decision.has_value(), hasDecision);
        if (decision)
            QCOMPARE(decision->symbols, symbols);
    }
};

QTEST_GUILESS_MAIN(TestAccountRecords)
#include "tst_accountrecords.moc"
