#include "account/AccountRecords.h"
#include "notify/TradeRecords.h"

#include <QTest>
#include <string>

using namespace Qt::StringLiterals;

namespace {
// What a body decodes to, in one line: the open positions of a portfolio, the symbols of the
// positions in their sorted order, today's decision's symbols ("-": none yet); or "rejected".
QString decoded(char kind, const QByteArray &body)
{
    QStringList symbols;
    if (kind == 'p') {
        if (const auto portfolio = decodePortfolio(body))
            return QString::fromStdString(std::to_string(portfolio->openPositions()));
    } else if (kind == 's') {
        if (const auto positions = decodePositions(body)) {
            QList<Position> sorted = positions->flattened();
            sortPositions(sorted);
            for (const Position &position : sorted)
                symbols << position.id();
            return symbols.join(u' ');
        }
    } else if (kind == 'w') {
        if (const auto swing = decodeSwing(body))
            return swing->decision() ? swing->decision()->symbols.join(u' ') : u"-"_s;
    } else if (decodeTrades(body)) {
        return u"trades"_s;
    }
    return u"rejected"_s;
}
} // namespace

// The account bodies decode strictly: one wrong member fails the whole body.
class TestAccountRecords : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void decodes_data()
    {
        QTest::addColumn<char>("kind"); // Portfolio, poSitions, sWing or Trades
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("result");
        const auto row = [](const char *name, char kind, const char *body,
                            const QString &result = u"rejected"_s) {
            QTest::newRow(name) << kind << QByteArray(body) << result;
        };
        row("portfolio: missing count adds 0", 'p',
            R"({"accounts":[{"label":"A"},{"positions":4}]})", u"4"_s);
        row("portfolio: totals null", 'p', R"({"accounts":[],"totals":null})", u"0"_s);
        row("portfolio: integral float count", 'p', R"({"accounts":[{"positions":2.0}]})", u"2"_s);
        row("portfolio: no accounts", 'p', R"({"plan":"pro"})");
        row("portfolio: count as string", 'p', R"({"accounts":[{"positions":"2"}]})");
        row("portfolio: fractional count", 'p', R"({"accounts":[{"positions":2.5}]})");
        row("portfolio: switch as number", 'p', R"({"accounts":[],"worker":{"killSwitch":1}})");
        row("portfolio: equity as string", 'p', R"({"accounts":[],"totals":{"equity":"1"}})");
        row("portfolio: array at the top", 'p', "[]");
        row("portfolio: cut off", 'p', R"({"accounts":[{"positions":1})");
        row("positions: by value across accounts, stable", 's',
            R"({"accounts":[{"positions":[{"symbol":"A","marketValue":5},{"symbol":"B"},
            {"symbol":"C","marketValue":12}]},{"positions":[{"symbol":"D","marketValue":5},
            {"symbol":"E","marketValue":-1}]}]})",
            u"C A D B E"_s);
        row("positions: null value counts as 0", 's',
            R"({"accounts":[{"positions":[{"symbol":"N","marketValue":null},
            {"symbol":"P","marketValue":0.5}]}]})",
            u"P N"_s);
        row("positions: account without them", 's', R"({"accounts":[{}]})");
        row("positions: value as string", 's',
            R"({"accounts":[{"positions":[{"symbol":"A","unrealizedPl":"1"}]}]})");
        row("swing: decision", 'w', R"({"decidedAt":"2025-03-07T15:15:00.000Z",
            "signals":[{"symbol":"NVDA"},{"symbol":"AAPL","extra":1}]})",
            u"NVDA AAPL"_s);
        row("swing: decided, no trade", 'w',
            R"({"decidedAt":"2025-03-07T15:15:00.000Z","signals":[]})", QString());
        row("swing: no decision yet", 'w', R"({"signals":[]})", u"-"_s);
        row("swing: decidedAt null", 'w', R"({"decidedAt":null,"signals":[]})", u"-"_s);
        row("swing: signal without symbol", 'w', R"({"decidedAt":"x","signals":[{}]})");
        row("swing: decidedAt as number", 'w', R"({"decidedAt":1,"signals":[]})");
        row("trades: null trades", 't', R"({"trades":null})");
        row("trades: one without symbol", 't', R"({"trades":[{"symbol":"X"},{"side":"b"}]})");
        row("trades: null element", 't', R"({"trades":[null]})");
        row("trades: price as text", 't', R"({"trades":[{"symbol":"X","fill_price":"1.5"}]})");
        row("trades: unused status still typed", 't', R"({"trades":[{"symbol":"X","status":1}]})");
        row("trades: keys are case-sensitive", 't', R"({"trades":[{"symbol":"X","filledAt":17}]})",
            u"trades"_s);
    }
    void decodes()
    {
        QFETCH(char, kind);
        QFETCH(QByteArray, body);
        QFETCH(QString, result);
        QCOMPARE(decoded(kind, body), result);
    }
};

QTEST_GUILESS_MAIN(TestAccountRecords)
#include "tst_accountrecords.moc"
