#include "app/PanelPlacement.h"

#include <QTest>

class TestPlacement : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Centred, raised above the centre, rounded to pixels, never cut off.
    void quickPanelTopLeft_data()
    {
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QSize>("panel");
        QTest::addColumn<QPoint>("topLeft");
        QTest::newRow("laptop frame")
            << QRect(0, 0, 1512, 944) << QSize(340, 300) << QPoint(586, 209);
        QTest::newRow("right-hand screen")
            << QRect(1920, 0, 1280, 1024) << QSize(340, 300) << QPoint(2390, 239);
        QTest::newRow("screen above the primary")
            << QRect(0, -768, 1024, 768) << QSize(340, 300) << QPoint(342, -626);
        // Raising a panel taller than the frame allows would cut its top off.
        QTest::newRow("panel taller than the raise allows")
            << QRect(0, 0, 800, 600) << QSize(340, 560) << QPoint(230, 0);
        QTest::newRow("panel wider than the screen")
            << QRect(100, 0, 300, 600) << QSize(340, 300) << QPoint(100, 78);
    }
    void quickPanelTopLeft()
    {
        QFETCH(QRect, available);
        QFETCH(QSize, panel);
        QFETCH(QPoint, topLeft);
        QCOMPARE(PanelPlacement::quickPanelTopLeft(available, panel), topLeft);
    }

    void popover_data()
    {
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QPoint>("anchor");
        QTest::addColumn<QSize>("popover");
        QTest::addColumn<QPoint>("topLeft");
        const QSize size(340, 300);
        const int gap = PanelPlacement::popoverGap;
        QTest::newRow("item in a top panel")
            << QRect(0, 28, 1920, 1052) << QPoint(1700, 30) << size << QPoint(1530, 30 + gap);
        // The click lands on the panel itself, outside the available area.
        QTest::newRow("click inside the top panel")
            << QRect(0, 28, 1920, 1052) << QPoint(1700, 12) << size << QPoint(1530, 28);
        QTest::newRow("item in a bottom panel opens above")
            << QRect(0, 0, 1920, 1040) << QPoint(1800, 1060) << size << QPoint(1580, 740);
        QTest::newRow("item low in the area opens above")
            << QRect(0, 0, 1920, 1040) << QPoint(900, 1000) << size
            << QPoint(730, 1000 - gap - 300);
        QTest::newRow("item in a left panel")
            << QRect(48, 0, 1872, 1080) << QPoint(20, 500) << size << QPoint(48, 500 + gap);
        QTest::newRow("popover taller than the screen")
            << QRect(0, 0, 800, 250) << QPoint(400, 10) << size << QPoint(230, 0);
    }
    void popover()
    {
        QFETCH(QRect, available);
        QFETCH(QPoint, anchor);
        QFETCH(QSize, popover);
        QFETCH(QPoint, topLeft);
        QCOMPARE(PanelPlacement::popoverTopLeft(anchor, popover, available), topLeft);
    }
};

QTEST_APPLESS_MAIN(TestPlacement)
#include "tst_placement.moc"
