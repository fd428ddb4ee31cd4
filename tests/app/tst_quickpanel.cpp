#include "app/PopoverWindow.h"
#include "app/PulseSurfaces.h"
#include "app/QuickPanel.h"
#include "app/StatusItem.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

namespace {

// Stands in for the pulse view: a size of its own, and it takes the focus.
QWidget *placeholderContent(QSize size)
{
    auto *content = new QLabel(QStringLiteral("<b>MIREO</b> +12.3%"));
    content->setFocusPolicy(Qt::StrongFocus);
    content->setFixedSize(size);
    return content;
}

void saveArtifact(QWidget &window, const QString &name)
{
    const QString dir = qEnvironmentVariable("MIREO_ARTIFACTS", QDir::currentPath());
    QDir().mkpath(dir);
    QVERIFY(window.grab().save(dir + u'/' + name));
}

class FakeStatusItem : public StatusItem
{
public:
    void setTitle(const QString &title) override { m_title = title; }
    QString title() const override { return m_title; }
    bool isVisible() const override { return true; }

private:
    QString m_title;
};

} // namespace

class TestQuickPanel : public QObject
{
    Q_OBJECT

    static QRect available() { return QGuiApplication::primaryScreen()->availableGeometry(); }

private Q_SLOTS:
    void emptyPanelIsSizedAndRaisedOnThePrimaryScreen()
    {
        QuickPanel panel;
        QSignalSpy shown(&panel, &QuickPanel::shown);
        panel.toggle();
        QVERIFY(QTest::qWaitForWindowExposed(&panel));
        QCOMPARE(panel.size(), QSize(340, 300));
        QCOMPARE(shown.count(), 1);
        // Centred, and raised above the centre.
        QCOMPARE(panel.x() + panel.width() / 2, available().x() + available().width() / 2);
        QVERIFY(panel.geometry().center().y() < available().center().y());
        QVERIFY(panel.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
        QVERIFY(panel.windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(panel.windowType(), Qt::Tool);

        panel.toggle();
        QVERIFY(panel.isHidden());
        QCOMPARE(shown.count(), 1);
    }

    void takesItsContentsSize()
    {
        QuickPanel panel;
        panel.setContent(placeholderContent(QSize(360, 220)));
        panel.toggle();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        QCOMPARE(panel.size(), QSize(360, 220));
        QCOMPARE(QApplication::focusWidget(), panel.content());
        saveArtifact(panel, QStringLiteral("quickpanel.png"));
        // Outside the rounded corner the panel is see-through; inside it is painted.
        const QImage image = panel.grab().toImage();
        QCOMPARE(qAlpha(image.pixel(0, 0)), 0);
        QVERIFY(qAlpha(image.pixel(QuickPanel::cornerRadius, QuickPanel::cornerRadius)) > 200);
    }

    void hidesOnEscapeFromItsContent()
    {
        QuickPanel panel;
        panel.setContent(placeholderContent(QSize(340, 300)));
        panel.toggle();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        QTest::keyClick(panel.content(), Qt::Key_A);
        QVERIFY(panel.isVisible());
        QTest::keyClick(panel.content(), Qt::Key_Escape);
        QVERIFY(panel.isHidden());
        // The hot key brings it back.
        panel.toggle();
        QVERIFY(panel.isVisible());
    }

    void hidesWhenAnotherWindowTakesFocus()
    {
        QuickPanel panel;
        panel.toggle();
        QVERIFY(QTest::qWaitForWindowActive(&panel));
        QWidget other;
        other.resize(200, 100);
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QTRY_VERIFY(panel.isHidden());
    }

    void popoverOpensUnderTheClickAndCloses()
    {
        PopoverWindow popover;
        popover.setContent(placeholderContent(QSize(320, 260)));
        QSignalSpy shown(&popover, &PopoverWindow::shown);
        const QPoint click(available().center().x(), available().top() + 4);
        popover.toggle(click);
        QVERIFY(QTest::qWaitForWindowExposed(&popover));
        QCOMPARE(shown.count(), 1);
        QCOMPARE(popover.size(), QSize(322, 262)); // and a hairline border
        QCOMPARE(popover.x() + popover.width() / 2, click.x());
        QVERIFY(popover.geometry().top() > click.y());
        QVERIFY(available().contains(popover.geometry()));
        QVERIFY(popover.windowFlags().testFlag(Qt::FramelessWindowHint));
        QCOMPARE(popover.windowType(), Qt::Popup);
        saveArtifact(popover, QStringLiteral("popover.png"));

        popover.toggle(click);
        QVERIFY(popover.isHidden());
        // Escape closes it too.
        popover.showAt(available().center());
        QVERIFY(QTest::qWaitForWindowExposed(&popover));
        QTest::keyClick(popover.content(), Qt::Key_Escape);
        QVERIFY(popover.isHidden());
    }

    // The click on the item that closed the popover from outside must not open it again.
    void closingClickDoesNotReopen()
    {
        PopoverWindow popover;
        const QPoint click = available().center();
        popover.toggle(click);
        QVERIFY(QTest::qWaitForWindowExposed(&popover));
        QCOMPARE(popover.size(), QSize(340, 300));
        popover.close(); // what Qt does on a press outside a popup
        popover.toggle(click);
        QVERIFY(popover.isHidden());
        QTest::qWait(350);
        popover.toggle(click);
        QVERIFY(popover.isVisible());
    }

    // Each surface builds its view when first shown, and only then.
    void surfacesBuildTheirViewsOnFirstUse()
    {
        int built = 0;
        PulseSurfaces surfaces([&] {
            ++built;
            return placeholderContent(QSize(300, 200));
        });
        QSignalSpy opened(&surfaces, &PulseSurfaces::opened);
        QCOMPARE(built, 0);
        QVERIFY(!surfaces.quickPanel());

        FakeStatusItem item;
        surfaces.attach(item);
        const QPoint click(available().center().x(), available().top() + 2);
        Q_EMIT item.activated(click);
        QVERIFY(QTest::qWaitForWindowExposed(&surfaces.popover()));
        QCOMPARE(built, 1);
        QCOMPARE(surfaces.popover().x() + surfaces.popover().width() / 2, click.x());

        surfaces.toggleQuickPanel();
        QVERIFY(surfaces.quickPanel());
        QVERIFY(QTest::qWaitForWindowExposed(surfaces.quickPanel()));
        QCOMPARE(built, 2);
        QCOMPARE(surfaces.quickPanel()->size(), QSize(300, 200));
        // Both can be open at once.
        QVERIFY(surfaces.popover().isVisible());
        QCOMPARE(opened.count(), 2);

        // Closing opens nothing and builds nothing.
        surfaces.toggleQuickPanel();
        QVERIFY(surfaces.quickPanel()->isHidden());
        surfaces.toggleQuickPanel();
        QCOMPARE(built, 2);
        QCOMPARE(opened.count(), 3);
    }
};

QTEST_MAIN(TestQuickPanel)
#include "tst_quickpanel.moc"
