#include "pulse/CycleSchedule.h"

#include <QTest>
#include <QTimeZone>

namespace {
const QTimeZone newYork(QByteArrayLiteral("America/New_York"));
QDateTime ny(int y, int m, int d, int h, int min, int s = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min, s), newYork);
}
} // namespace

class TestCycleSchedule : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void marketHours_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("open");

        // 2025-03-10 is a Monday (the day after the spring DST change).
        QTest::newRow("Monday 09:29:59") << ny(2025, 3, 10, 9, 29, 59) << false;
        QTest::newRow("Monday 09:30") << ny(2025, 3, 10, 9, 30) << true;
        QTest::newRow("Monday 15:59:59") << ny(2025, 3, 10, 15, 59, 59) << true;
        QTest::newRow("Monday 16:00") << ny(2025, 3, 10, 16, 0) << false;
        QTest::newRow("Saturday noon") << ny(2025, 3, 15, 12, 0) << false;
        QTest::newRow("holiday counts as open") << ny(2025, 12, 25, 10, 0) << true;
        // Friday 09:30 in New York is already Saturday 00:30 in Tokyo.
        QTest::newRow("New York weekday, not the local one")
            << ny(2025, 3, 14, 9, 30).toTimeZone(QTimeZone(QByteArrayLiteral("Asia/Tokyo")))
            << true;
        // 13:30 UTC is 09:30 in New York under daylight time but 08:30 in winter.
        QTest::newRow("instant given in UTC")
            << QDateTime(QDate(2025, 3, 10), QTime(13, 30), Qt::UTC) << true;
        QTest::newRow("instant given in UTC, winter")
            << QDateTime(QDate(2025, 1, 6), QTime(13, 30), Qt::UTC) << false;
    }
    void marketHours()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, open);
        QCOMPARE(CycleSchedule::usMarketOpen(now), open);
    }

    void nextCycle_data()
    {
        QTest::addColumn<QDateTime>("after");
        QTest::addColumn<QDateTime>("cycle");

        QTest::newRow("just before") << ny(2025, 3, 11, 10, 14, 59) << ny(2025, 3, 11, 10, 15);
        QTest::newRow("exactly at: strictly later")
            << ny(2025, 3, 11, 10, 15) << ny(2025, 3, 12, 10, 15);
        QTest::newRow("Friday after the cycle")
            << ny(2025, 3, 14, 11, 0) << ny(2025, 3, 17, 10, 15);
        QTest::newRow("across spring DST") << ny(2025, 3, 7, 11, 0) << ny(2025, 3, 10, 10, 15);
        QTest::newRow("across autumn DST") << ny(2025, 10, 31, 12, 0) << ny(2025, 11, 3, 10, 15);
        // 23:00 Sunday in Lisbon is still Sunday in New York; Monday's cycle comes next.
        QTest::newRow("day taken in New York")
            << QDateTime(QDate(2025, 3, 16), QTime(23, 0),
                         QTimeZone(QByteArrayLiteral("Europe/Lisbon")))
            << ny(2025, 3, 17, 10, 15);
    }
    void nextCycle()
    {
        QFETCH(QDateTime, after);
        QFETCH(QDateTime, cycle);
        QCOMPARE(CycleSchedule::nextTenantCycle(after).value_or(QDateTime()).toUTC(),
                 cycle.toUTC());
    }
};

QTEST_GUILESS_MAIN(TestCycleSchedule)
#include "tst_cycleschedule.moc"
