#include "notify/TradeRecords.h"

#include <QTest>

class TestTradeRecords : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodes_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("decodable");
        QTest::addColumn<QList<Trade>>("trades");

        QTest::newRow("empty list") << QByteArray(R"({"trades":[]})") << true << QList<Trade>();
        QTest::newRow("every member, unknown keys ignored")
            << QByteArray(R"({"trades":[{"symbol":"AAPL","side":"buy","status":"filled",
                "filled_at":"2026-03-02T15:00:00Z","fill_price":187.25,"qty":3}],"next":null})")
            << true << QList<Trade>{{"AAPL", "buy", "filled", "2026-03-02T15:00:00Z", 187.25}};
        QTest::newRow("nulls and missing optionals are absent")
            << QByteArray(R"({"trades":[{"symbol":"MSFT","side":null,"filled_at":null,
                "fill_price":null},{"symbol":"NVDA"}]})")
            << true << QList<Trade>{{"MSFT", {}, {}, {}, {}}, {"NVDA", {}, {}, {}, {}}};
        QTest::newRow("integer price is a number")
            << QByteArray(R"({"trades":[{"symbol":"X","fill_price":12}]})") << true
            << QList<Trade>{{"X", {}, {}, {}, 12.0}};
        QTest::newRow("keys are case-sensitive")
            << QByteArray(R"({"trades":[{"symbol":"X","filledAt":"2026-03-02T15:00:00Z"}]})")
            << true << QList<Trade>{{"X", {}, {}, {}, {}}};

        const auto broken = [](const char *name, const char *body) {
            QTest::newRow(name) << QByteArray(body) << false << QList<Trade>();
        };
        broken("no trades key", R"({})");
        broken("null trades", R"({"trades":null})");
        broken("trades not a list", R"({"trades":{"symbol":"X"}})");
        broken("trade without symbol", R"({"trades":[{"symbol":"X"},{"side":"buy"}]})");
        broken("null symbol", R"({"trades":[{"symbol":null}]})");
        broken("null element", R"({"trades":[null]})");
        broken("price as text", R"({"trades":[{"symbol":"X","fill_price":"1.5"}]})");
        broken("unused status still typed", R"({"trades":[{"symbol":"X","status":1}]})");
        broken("timestamp as number", R"({"trades":[{"symbol":"X","filled_at":1741357805}]})");
        broken("not an object", R"([{"symbol":"X"}])");
        broken("not JSON", "trades");
    }

    void decodes()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, decodable);
        QFETCH(QList<Trade>, trades);
        const std::optional<TradesResponse> response = decodeTrades(body);
        QCOMPARE(response.has_value(), decodable);
        if (response)
            QCOMPARE(response->trades, trades);
    }
};

QTEST_GUILESS_MAIN(TestTradeRecords)
#include "tst_traderecords.moc"
