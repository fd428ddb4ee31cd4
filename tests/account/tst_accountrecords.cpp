#include "account/AccountRecords.h"
#include "notify/TradeRecords.h"

#include <QTest>
#include <cmath>

using namespace Qt::StringLiterals;

// The account bodies decode strictly: one wrong member fails the whole body.
class TestAccountRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rejects_data()
    {
        QTest::addColumn<char>("kind"); // Portfolio, poSitions, sWing or Trades
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char *name, char kind, const char *body) {
            QTest::newRow(name) << kind << QByteArray(body);
        };
        row("portfolio: no accounts", 'p', R"({"plan":"pro"})");
        row("portfolio: count as string", 'p', R"({"accounts":[{"positions":"2"}]})");
        row("portfolio: fractional count", 'p', R"({"accounts":[{"positions":2.5}]})");
        row("portfolio: switch as number", 'p', R"({"accounts":[],"worker":{"killSwitch":1}})");
        row("portfolio: equity as string", 'p', R"({"accounts":[],"totals":{"equity":"1"}})");
        row("portfolio: array at the top", 'p', "[]");
        row("portfolio: cut off", 'p', R"({"accounts":[{"positions":1})");
        row("positions: account without them", 's', R"({"accounts":[{}]})");
        row("positions: value as string", 's',
            R"({"accounts":[{"positions":[{"symbol":"A","unrealizedPl":"1"}]}]})");
        row("swing: signal without symbol", 'w', R"({"decidedAt":"x","signals":[{}]})");
        row("swing: decidedAt as number", 'w', R"({"decidedAt":1,"signals":[]})");
        row("trades: null trades", 't', R"({"trades":null})");
        row("trades: one without symbol", 't', R"({"trades":[{"symbol":"X"},{"side":"b"}]})");
        row("trades: null element", 't', R"({"trades":[null]})");
        row("trades: price as text", 't', R"({"trades":[{"symbol":"X","fill_price":"1.5"}]})");
        row("trades: unused status still typed", 't', R"({"trades":[{"symbol":"X","status":1}]})");
    }
    void rejects()
    {
        QFETCH(char, kind);
        QFETCH(QByteArray, body);
        const bool decoded = kind == 'p'   ? bool(decodePortfolio(body))
                             : kind == 's' ? bool(decodePositions(body))
                             : kind == 'w' ? bool(decodeSwing(body))
                                           : bool(decodeTrades(body));
        QVERIFY(!decoded);
    }

    void portfolioCountsPositions_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<qint64>("openPositions");
        QTest::newRow("missing count adds 0")
            << QByteArray(R"({"accounts":[{"label":"A"},{"positions":4}]})") << qint64(4);
        QTest::newRow("totals null") << QByteArray(R"({"accounts":[],"totals":null})") << qint64(0);
        QTest::newRow("integral float count")
            << QByteArray(R"({"accounts":[{"positions":2.0}]})") << qint64(2);
    }
    void portfolioCountsPositions()
    {
        QFETCH(QByteArray, body);
        QFETCH(qint64, openPositions);
        const std::optional<Portfolio> decoded = decodePortfolio(body);
        QVERIFY(decoded);
        QCOMPARE(decoded->openPositions(), openPositions);
    }

    void portfolioMembers()
    {
        const auto decoded = decodePortfolio(R"({"plan":"pro","accounts":[{"label":"Main",
            "environment":"paper","equity":10.5,"todayPnl":-0.0,"positions":1}],
            "totals":{"baseline":100},"worker":{"autoExecuteEnabled":false}})");
        QVERIFY(decoded);
        QCOMPARE(decoded->accounts[0].environment, u"paper"_s);
        QCOMPARE(decoded->accounts[0].equity, 10.5);
        QVERIFY(std::signbit(*decoded->accounts[0].todayPnl));
        QVERIFY(!decoded->totals->equity && !decoded->worker->killSwitch);
    }

    void positionsSort_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("symbols"); // after flattening and sorting
        QTest::newRow("by value across accounts, stable")
            << QByteArray(R"({"accounts":[{"positions":[{"symbol":"A","marketValue":5},
               {"symbol":"B"},{"symbol":"C","marketValue":12}]},
               {"positions":[{"symbol":"D","marketValue":5},{"symbol":"E","marketValue":-1}]}]})")
            << QStringList{u"C"_s, u"A"_s, u"D"_s, u"B"_s, u"E"_s};
        QTest::newRow("null value counts as 0")
            << QByteArray(R"({"accounts":[{"positions":[{"symbol":"N","marketValue":null},
               {"symbol":"P","marketValue":0.5}]}]})")
            << QStringList{u"P"_s, u"N"_s};
    }
    void positionsSort()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, symbols);
        const auto decoded = decodePositions(body);
        QVERIFY(decoded);
        QList<Position> sorted = decoded->flattened();
        sortPositions(sorted);
        QStringList actual;
        for (const Position &position : sorted)
            actual.append(position.id());
        QCOMPARE(actual, symbols);
    }

    void swingDecision_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("symbols"); // "-": no decision yet
        QTest::newRow("decision") << QByteArray(R"({"decidedAt":"2025-03-07T15:15:00.000Z",
            "signals":[{"symbol":"NVDA"},{"symbol":"AAPL","extra":1}]})")
                                  << QStringList{u"NVDA"_s, u"AAPL"_s};
        QTest::newRow("decided, no trade")
            << QByteArray(R"({"decidedAt":"2025-03-07T15:15:00.000Z","signals":[]})")
            << QStringList{};
        QTest::newRow("no decision yet") << QByteArray(R"({"signals":[]})") << QStringList{u"-"_s};
        QTest::newRow("decidedAt null")
            << QByteArray(R"({"decidedAt":null,"signals":[]})") << QStringList{u"-"_s};
    }
    void swingDecision()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, symbols);
        const auto decoded = decodeSwing(body);
        QVERIFY(decoded);
        const auto decision = decoded->decision();
        QCOMPARE(decision ? decision->symbols : QStringList{u"-"_s}, symbols);
    }

    void trades_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QList<Trade>>("trades");
        QTest::newRow("every member, unknown keys ignored")
            << QByteArray(R"({"trades":[{"symbol":"AAPL","side":"buy","status":"filled",
                "filled_at":"2026-03-02T15:00:00Z","fill_price":187.25,"qty":3}],"next":null})")
            << QList<Trade>{{"AAPL", "buy", "filled", "2026-03-02T15:00:00Z", 187.25}};
        QTest::newRow("nulls and missing optionals are absent")
            << QByteArray(R"({"trades":[{"symbol":"MSFT","side":null,"filled_at":null,
                "fill_price":null},{"symbol":"NVDA"}]})")
            << QList<Trade>{{"MSFT", {}, {}, {}, {}}, {"NVDA", {}, {}, {}, {}}};
        QTest::newRow("integer price is a number")
            << QByteArray(R"({"trades":[{"symbol":"X","fill_price":12}]})")
            << QList<Trade>{{"X", {}, {}, {}, 12.0}};
        QTest::newRow("keys are case-sensitive")
            << QByteArray(R"({"trades":[{"symbol":"X","filledAt":"2026-03-02T15:00:00Z"}]})")
            << QList<Trade>{{"X", {}, {}, {}, {}}};
    }
    void trades()
    {
        QFETCH(QByteArray, body);
        QFETCH(QList<Trade>, trades);
        const std::optional<TradesResponse> response = decodeTrades(body);
        QVERIFY(response);
        QCOMPARE(response->trades, trades);
    }
};

QTEST_GUILESS_MAIN(TestAccountRecords)
#include "tst_accountrecords.moc"
