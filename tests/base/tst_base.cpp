#include "base/FixedDecimal.h"
#include "base/Flexible.h"

#include <QTest>
#include <cmath>

using namespace Qt::StringLiterals;

class TestBase : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void flexibleParses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("utc"); // empty: must not parse

        QTest::newRow("Z with millis")
            << "2025-03-07T14:30:05.123Z" << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("negative offset")
            << "2025-03-07T09:30:05.123-05:00" << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("positive offset crosses midnight")
            << "2025-03-08T01:00:00.5+02:00" << u"2025-03-07T23:00:00.500Z"_s;
        QTest::newRow("microseconds")
            << "2025-03-07T14:30:05.123456Z" << u"2025-03-07T14:30:05.123Z"_s;
        QTest::newRow("no fraction") << "2025-03-07T14:30:05Z" << QString();
        QTest::newRow("no zone") << "2025-03-07T14:30:05.123" << QString();
        QTest::newRow("offset without colon") << "2025-03-07T14:30:05.123+0000" << QString();
        QTest::newRow("space for T") << "2025-03-07 14:30:05.123Z" << QString();
        QTest::newRow("hour 24") << "2025-03-07T24:00:00.000Z" << QString();
        QTest::newRow("30 February") << "2025-02-30T10:00:00.000Z" << QString();
        QTest::newRow("empty dot") << "2025-03-07T14:30:05.Z" << QString();
        QTest::newRow("trailing text") << "2025-03-07T14:30:05.123Zx" << QString();
        QTest::newRow("offset cut short") << "2025-03-07T14:30:05.123+05:0" << QString();
        QTest::newRow("minute 60 in offset") << "2025-03-07T14:30:05.123+05:60" << QString();
        QTest::newRow("non-ASCII digits") << u"2025-03-07T14:30:05.\u0661Z"_s << QString();
        QTest::newRow("empty") << "" << QString();
    }
    void flexibleParses()
    {
        QFETCH(QString, text);
        QFETCH(QString, utc);
        const auto parsed = base::flexible(text);
        QCOMPARE(parsed ? base::isoUtcMillis(*parsed) : QString(), utc);
    }

    void fixedDecimalRoundsLikePrintf_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("decimals");
        QTest::addColumn<QString>("text");

        QTest::newRow("rounds down") << 12.345 << 1 << "12.3";
        QTest::newRow("exact half to even") << 0.5 << 0 << "0";
        QTest::newRow("exact half to even, odd") << 1.5 << 0 << "2";
        QTest::newRow("binary above the half") << 0.05 << 1 << "0.1";
        QTest::newRow("exact quarter") << 0.25 << 1 << "0.2";
        QTest::newRow("two places") << 187.5 << 2 << "187.50";
        QTest::newRow("large, no grouping") << 1e15 << 1 << "1000000000000000.0";
    }
    void fixedDecimalRoundsLikePrintf()
    {
        QFETCH(double, value);
        QFETCH(int, decimals);
        QFETCH(QString, text);
        // Neither Qt's locale nor the C library's may put a comma in.
        QLocale::setDefault(QLocale(QLocale::Portuguese, QLocale::Portugal));
        std::setlocale(LC_NUMERIC, "pt_PT.UTF-8"); // may be missing; harmless then
        QCOMPARE(base::fixedDecimal(value, decimals), text);
        std::setlocale(LC_NUMERIC, "C");
    }
};

QTEST_GUILESS_MAIN(TestBase)
#include "tst_base.moc"
