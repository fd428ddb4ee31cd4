#include "app/PanelPlacement.h"
#include "app/PopoverWindow.h"
#include "app/QuickPanel.h"

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;

// Where the quick panel and the popover go, and how they open and close.
class TestQuickPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The quick panel (no anchor) centred, raised above the centre, never cut off; the popover
    // under or over the item that was clicked, inside the screen's available area.
    void topLeft_data()
    {
        QTest::addColumn<QPoint>("placed");
        QTest::addColumn<QPoint>("expected");
        const auto row = [](const char *name, QRect available, std::optional<QPoint> anchor,
                            QSize size, QPoint expected) {
            QTest::newRow(name) << (anchor
                                        ? PanelPlacement::popoverTopLeft(*anchor, size, available)
                                        : PanelPlacement::quickPanelTopLeft(available, size))
                                << expected;
        };
        const QSize size(340, 300);
        const int gap = PanelPlacement::popoverGap;
        const std::optional<QPoint> quickPanel;
        row("panel: laptop frame", QRect(0, 0, 1512, 944), quickPanel, size, QPoint(586, 209));
        row("panel: taller than the raise allows", QRect(0, 0, 800, 600), quickPanel,
            QSize(340, 560), QPoint(230, 0));
        row("panel: wider than the screen", QRect(100, 0, 300, 600), quickPanel, size,
            QPoint(100, 78));
        row("popover: item in a top panel", QRect(0, 28, 1920, 1052), QPoint(1700, 30), size,
            QPoint(1530, 30 + gap));
        // The click lands on the panel itself, outside the available area.
        row("popover: click inside the top panel", QRect(0, 28, 1920, 1052), QPoint(1700, 12), size,
            QPoint(1530, 28));
        row("popover: bottom panel opens above", QRect(0, 0, 1920, 1040), QPoint(1800, 1060), size,
            QPoint(1580, 740));
        row("popover: item low in the area opens above", QRect(0, 0, 1920, 1040), QPoint(900, 1000),
            size, QPoint(730, 1000 - gap - 300));
        row("popover: left panel", QRect(48, 0, 1872, 1080), QPoint(20, 500), size,
            QPoint(48, 500 + gap));
        row("popover: widget-local point goes top right", QRect(0, 0, 1280, 800), QPoint(11, 17),
            size, QPoint(940, 34 + gap));
        row("popover: taller than the screen", QRect(0, 0, 800, 250), QPoint(400, 10), size,
            QPoint(230, 0));
    }
    void topLeft()
    {
        QFETCH(QPoint, placed);
        QFETCH(QPoint, expected);
        QCOMPARE(placed, expected);
    }

    // It takes its content's size and the focus, and hides when another window takes it.
    void takesItsContentsSizeAndFocus()
    {
        QuickPanel panel;
        auto *content = new QLabel(u"<b>MIREO</b> +12.3%"_s);
        content->setFocusPolicy(Qt::StrongFocus);
        content->setFixedSize(360, 220);
        panel.setContent(content);
        panel.toggle();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        QCOMPARE(panel.size(), QSize(360, 220));
        QCOMPARE(QApplication::focusWidget(), content);
        QWidget other;
        other.resize(200, 100);
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QTRY_VERIFY(panel.isHidden());
    }

    // The click on the item that closed the popover from outside must not open it again.
    void closingClickDoesNotReopen()
    {
        PopoverWindow popover;
        const QPoint click = QGuiApplication::primaryScreen()->availableGeometry().center();
        popover.toggle(click);
        QVERIFY(QTest::qWaitForWindowExposed(&popover));
        popover.close(); // what Qt does on a press outside a popup
        popover.toggle(click);
        QVERIFY(popover.isHidden());
        // A later click opens it again.
        QTRY_VERIFY(popover.isVisible() || (popover.toggle(click), false));
    }
};

QTEST_MAIN(TestQuickPanel)
#include "tst_quickpanel.moc"
