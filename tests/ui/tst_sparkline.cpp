#include "ui/SparklineView.h"

#include <QTest>

using PointList = QList<QPointF>;

class TestSparkline : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void points_data()
    {
        QTest::addColumn<QList<double>>("values");
        QTest::addColumn<QSizeF>("size");
        QTest::addColumn<PointList>("expected");

        QTest::newRow("empty") << QList<double>{} << QSizeF(344, 26) << PointList{};
        QTest::newRow("flat lies on the bottom band")
            << QList<double>{5, 5} << QSizeF(344, 26) << PointList{{0, 24.7}, {344, 24.7}};
        QTest::newRow("highest 5 % below the top, lowest 5 % above the bottom")
            << QList<double>{10, 30, 20} << QSizeF(100, 20)
            << PointList{{0, 19}, {50, 1}, {100, 10}};
        // A spread under 0.0001 is not stretched to the full height.
        QTest::newRow("nearly flat stays near the bottom")
            << QList<double>{1.0, 1.00005} << QSizeF(10, 100) << PointList{{0, 95}, {10, 50}};
    }
    void points()
    {
        QFETCH(QList<double>, values);
        QFETCH(QSizeF, size);
        QFETCH(PointList, expected);
        const PointList points = ui::sparklinePoints(values, size);
        QCOMPARE(points.size(), expected.size());
        for (qsizetype i = 0; i < points.size(); ++i)
            QVERIFY((points[i] - expected[i]).manhattanLength() < 1e-6);
    }
};

QTEST_MAIN(TestSparkline)
#include "tst_sparkline.moc"
