#include "pulse/TrackRecord.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestTrackRecord : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Decoded as "hasData returnPct vsSpyPct positions lastUpdate", "-" where absent; empty
    // when the body is refused.
    void decodesTrackRecord_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("decoded");

        const QByteArray full = R"({"has_data":true,"consolidated":{"return_pct":12.345,
            "return_vs_spy_pct":-1.5,"total_equity":112345.6},"accounts":[{"positions":3,
            "name":"a"},{"positions":4}],"last_update":"2025-03-07T14:30:05.123Z","extra":[1]})";
        QTest::newRow("full") << full << "true 12.345 -1.5 7 2025-03-07T14:30:05.123Z";
        QTest::newRow("has_data absent counts as false") << "{}"_ba
                                                         << "false - - 0 -";
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
        broken("string for a number", R"({"consolidated":{"return_pct":"12.3"}})");
        broken("number for a boolean", R"({"has_data":1})");
        broken("number for a timestamp", R"({"last_update":1741357805})");
        broken("unused equity still typed", R"({"consolidated":{"total_equity":"lots"}})");
        broken("null account", R"({"accounts":[null]})");
        broken("unsigned out of range", R"({"accounts":[{"positions":9223372036854775808}]})");
        broken("integer out of range", R"({"accounts":[{"positions":1e19}]})");
        broken("number too large for a double", R"({"consolidated":{"return_pct":1e400}})");
        broken("bad UTF-8 in a string", "{\"last_update\":\"\xff\"}");
        broken("top level array", "[]");
        broken("not JSON", "<html>502 Bad Gateway</html>");
        broken("empty", "");
        broken("cut off", R"({"has_data":true,"consolidated":{"return_pct":1)");
    }
    void decodesTrackRecord()
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

    void decodesStats_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("decodable");
        QTest::addColumn<int>("length"); // -1: no series

        QTest::newRow("series") << QByteArray(R"({"sparkline":[1,2.5,-3]})") << true << 3;
        QTest::newRow("empty object") << QByteArray("{}") << true << -1;
        QTest::newRow("string inside") << QByteArray(R"({"sparkline":[1,"2"]})") << false << -1;
        QTest::newRow("null inside") << QByteArray(R"({"sparkline":[1,null,3]})") << false << -1;
        QTest::newRow("not an array") << QByteArray(R"({"sparkline":5})") << false << -1;
    }
    void decodesStats()
    {
        QFETCH(QByteArray, body);
        QFETCH(bool, decodable);
        QFETCH(int, length);
        const auto stats = decodeStats(body);
        QCOMPARE(stats.has_value(), decodable);
        QCOMPARE(stats && stats->sparkline ? int(stats->sparkline->size()) : -1, length);
    }
};

QTEST_GUILESS_MAIN(TestTrackRecord)
#include "tst_trackrecord.moc"
