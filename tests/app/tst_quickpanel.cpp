#include "app/PopoverWindow.h"
#include "app/QuickPanel.h"

#include <QApplication>
#include <QLabel>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Stands in for the pulse view: a size of its own, and it takes the focus.
QWidget *placeholderContent(QSize size)
{
    auto *content = new QLabel(u"<b>MIREO</b> +12.3%"_s);
    content->setFocusPolicy(Qt::StrongFocus);
    content->setFixedSize(size);
    return content;
}

} // namespace

class TestQuickPanel : public QObject
{
    Q_OBJECT

    static QRect available() { return QGuiApplication::primaryScreen()->availableGeometry(); }

private Q_SLOTS:
    // It takes its content's size and the focus, and hides when another window takes it.
    void takesItsContentsSizeAndFocus()
    {
        QuickPanel panel;
        panel.setContent(placeholderContent(QSize(360, 220)));
        panel.toggle();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        QCOMPARE(panel.size(), QSize(360, 220));
        QCOMPARE(QApplication::focusWidget(), panel.content());
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
        const QPoint click = available().center();
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
