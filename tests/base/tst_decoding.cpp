#include "account/AccountRecords.h"
#include "base/Flexible.h"
#include "notify/TradeRecords.h"
#include "pulse/TrackRecord.h"

#include <QTest>
#include <string>

using namespace Qt::StringLiterals;

namespace {
// A portfolio's open positions, positions' sorted symbols, a decision's symbols ("-": none).
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

// The service's bodies decode strictly: one wrong member fails the whole body.
class TestDecoding : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void flexibleTimestamps_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("utc"); // empty: must not parse

        QTest::newRow("Z with millis")
            << "2025-03-07T14:30:05.123Z" << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("negative offset")
            << "2025-03-07T09:30:05.123-05:00" << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("microseconds")
            << "2025-03-07T14:30:05.123456Z" << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("no zone") << "2025-03-07T14:30:05.123" << QString();
        QTest::newRow("offset without colon") << "2025-03-07T14:30:05.123+0000" << QString();
        QTest::newRow("non-ASCII digits") << u"2025-03-07T14:30:05.\u0661Z"_s << QString();
    }
    void flexibleTimestamps()
    {
        QFETCH(QString, text);
        QFETCH(QString, utc);
        const auto parsed = base::flexible(text);
        QCOMPARE(parsed ? base::isoUtcMillis(*parsed) : QString(), utc);
    }

    // "hasData returnPct vsSpyPct positions lastUpdate"; empty when the body is refused.
    void trackRecord_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("decoded");

        const QByteArray full = R"({"has_data":true,"consolidated":{"return_pct":12.345,
            "return_vs_spy_pct":-1.5,"total_equity":112345.6},"accounts":[{"positions":3,
            "name":"a"},{"positions":4}],"last_update":"2025-03-07T14:30:05.123Z","extra":[1]})";
        QTest::newRow("full") << full << "true 12.345 -1.5 7 2025-03-07T14:30:05.123Z";
        QTest::newRow("null and empty accounts sum what is there")
            << R"({"accounts":[{"positions":2},{"positions":null},{}]})"_ba
            << "false - - 2 -";
        QTest::newRow("integral float is an integer")
            << R"({"accounts":[{"positions":2.0},{"positions":1e1}]})"_ba
            << "false - - 12 -";
        QTest::newRow("nulls are absent")
            << R"({"has_data":null,"consolidated":{"return_pct":null},"accounts":null,
                "last_update":null})"_ba
            << "false - - 0 -";
        QTest::newRow("timestamp without fraction is absent, the rest kept")
            << R"({"has_data":true,"consolidated":{"return_pct":1},
                "last_update":"2025-03-07T14:30:05Z"})"_ba
            << "true 1 - 0 -";

        const auto broken = [](const char *name, const char *body) {
            QTest::newRow(name) << QByteArray(body) << QString();
        };
        broken("fraction for an integer", R"({"accounts":[{"positions":2.5}]})");
        broken("unused equity still typed", R"({"consolidated":{"total_equity":"lots"}})");
        broken("unsigned out of range", R"({"accounts":[{"positions":9223372036854775808}]})");
        broken("number too large for a double", R"({"consolidated":{"return_pct":1e400}})");
        broken("bad UTF-8 in a string", "{\"last_update\":\"\xff\"}");
    }
    void trackRecord()
    {
        QFETCH(QByteArray, body);
        QFETCH(QString, decoded);
        const auto record = decodeTrackRecord(body);
        QCOMPARE(record.has_value(), !decoded.isEmpty());
        if (!record)
            return;
        const auto text = [](std::optional<double> v) {
            return v ? QVariant(*v).toString() : u"-"_s;
        };
        const auto time = record->lastUpdateTime();
        QCOMPARE(QStringList({record->hasData.value_or(false) ? u"true"_s : u"false"_s,
                              text(record->returnPct()), text(record->vsSpyPct()),
                              QVariant(record->openPositions()).toString(),
                              time ? time->toString(Qt::ISODateWithMs) : u"-"_s})
                     .join(u' '),
                 decoded);
    }

    // Portfolio, poSitions, sWing or Trades.
    void accountBodies_data()
    {
        QTest::addColumn<char>("kind");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("result");
        const auto row = [](const char *name, char kind, const char *body,
                            const QString &result = u"rejected"_s) {
            QTest::newRow(name) << kind << QByteArray(body) << result;
        };
        row("portfolio: missing count adds 0", 'p',
            R"({"accounts":[{"label":"A"},{"positions":4}]})", u"4"_s);
        row("portfolio: no accounts", 'p', R"({"plan":"pro"})");
        row("portfolio: switch as number", 'p', R"({"accounts":[],"worker":{"killSwitch":1}})");
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
        row("swing: no decision yet", 'w', R"({"signals":[]})", u"-"_s);
        row("swing: signal without symbol", 'w', R"({"decidedAt":"x","signals":[{}]})");
        row("trades: null trades", 't', R"({"trades":null})");
        row("trades: one without symbol", 't', R"({"trades":[{"symbol":"X"},{"side":"b"}]})");
        row("trades: unused status still typed", 't', R"({"trades":[{"symbol":"X","status":1}]})");
    }
    void accountBodies()
    {
        QFETCH(char, kind);
        QFETCH(QByteArray, body);
        QFETCH(QString, result);
        QCOMPARE(decoded(kind, body), result);
    }
};

QTEST_GUILESS_MAIN(TestDecoding)
#include "tst_decoding.moc"
