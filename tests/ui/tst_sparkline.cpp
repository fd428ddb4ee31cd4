#include "ui/SparklineView.h"

#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

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
        QTest::newRow("negative values scale the same")
            << QList<double>{-4, -2, -3, -1} << QSizeF(30, 100)
            << PointList{{0, 95}, {10, 35}, {20, 65}, {30, 5}};
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

    void areaUnderTheLineIsFaint()
    {
        const QImage image = rendered({0, 10, 0});
        const int m = ui::SparklineView::inkMargin;
        // Under the peak: only the 12 % wash, much lighter than the line itself.
        const QColor wash = image.pixelColor(m + 50, m + 20);
        const QColor line = image.pixelColor(m + 50, m + 1);
        QVERIFY(inked(wash.rgb()));
        QVERIFY(wash.lightness() > line.lightness() + 100);
    }

private:
    static bool inked(QRgb pixel) { return pixel != qRgb(255, 255, 255); }
    static QImage rendered(const QList<double> &values)
    {
        ui::SparklineView view;
        view.setChartSize({100, 26});
        view.setValues(values);
        view.setTone(ui::Tone::Loss);
        QImage image(view.size(), QImage::Format_RGB32);
        image.fill(Qt::white);
        view.render(&image, {}, {}, QWidget::DrawChildren);
        return image;
    }
};

QTEST_MAIN(TestSparkline)
#include "tst_sparkline.moc"
