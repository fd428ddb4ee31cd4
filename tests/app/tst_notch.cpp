#include "app/NotchCheck.h"
#include "platform/linux/QtScreen.h"

#include <QGuiApplication>
#include <QTest>

namespace {
// A display with a camera housing between x = 620 and x = 820.
ScreenGeometry notched(double inset = 32)
{
    return {QRectF(0, 32, 1512, 912), inset, QRectF(0, 0, 620, 32), QRectF(820, 0, 692, 32)};
}
QRectF itemSpanning(double from, double to)
{
    return QRectF(from, 0, to - from, 24);
}
} // namespace

class TestNotch : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Hidden when any of the item reaches between the two areas beside the housing.
    void hidden()
    {
        QVERIFY(notch::isHidden(itemSpanning(600, 660), notched()));
        QVERIFY(notch::isHidden(itemSpanning(700, 760), notched()));
        QVERIFY(!notch::isHidden(itemSpanning(560, 620), notched()));
        QVERIFY(!notch::isHidden(itemSpanning(820, 880), notched()));
        QVERIFY(!notch::isHidden(itemSpanning(600, 660), notched(0)));
        QVERIFY(!notch::isHidden(itemSpanning(600, 660), std::nullopt));
    }

    // The Linux screens report no housing, so the warning never fires there.
    void linuxScreensNeverWarn()
    {
        const QtScreen screens;
        const std::optional<ScreenGeometry> main = screens.mainScreen();
        QVERIFY(main.has_value());
        QCOMPARE(main->safeAreaTopInset, 0.0);
        const QRectF item(main->visibleFrame.center(), QSizeF(60, 24));
        QVERIFY(!notch::isHidden(item, screens.screenAt(item.center())));
        QVERIFY(!screens.screenAt(QPointF(-100000, -100000)).has_value());
    }
};

QTEST_MAIN(TestNotch)
#include "tst_notch.moc"
