#include "app/Probe.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>
#include <limits>
#include <memory>

using namespace std::chrono_literals;

// Timers fire in order: once one due after `delay` has fired, an earlier one has too.
void passBeyond(std::chrono::milliseconds delay)
{
    bool fired = false;
    QTimer::singleShot(delay + 1ms, [&fired] { fired = true; });
    QTRY_VERIFY(fired);
}

class TestProbe : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void line_data()
    {
        QTest::addColumn<bool>("visible");
        QTest::addColumn<QRectF>("frame");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("whole numbers get .0")
            << true << QRectF(1183, 945, 62, 24)
            << QByteArray("probe visible=true frame=(1183.0, 945.0, 62.0, 24.0)\n");
        QTest::newRow("gone: zero rectangle")
            << false << QRectF() << QByteArray("probe visible=false frame=(0.0, 0.0, 0.0, 0.0)\n");
        QTest::newRow("shortest round trip")
            << true << QRectF(0.1 + 0.2, 1.5, 62.25, 1.0 / 3)
            << QByteArray("probe visible=true frame=(0.30000000000000004, 1.5, 62.25, "
                          "0.3333333333333333)\n");
        QTest::newRow("negative and negative zero")
            << true << QRectF(-1512, -0.0, 10, 24)
            << QByteArray("probe visible=true frame=(-1512.0, -0.0, 10.0, 24.0)\n");
    }
    void line()
    {
        QFETCH(bool, visible);
        QFETCH(QRectF, frame);
        QFETCH(QByteArray, expected);
        QCOMPARE(probe::line(visible, frame), expected);
    }

    void enabling_data()
    {
        QTest::addColumn<bool>("set");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("prints");
        QTest::newRow("1") << true << QByteArray("1") << true;
        QTest::newRow("true") << true << QByteArray("true") << false;
        QTest::newRow("1 with a space") << true << QByteArray(" 1") << false;
        QTest::newRow("empty") << true << QByteArray() << false;
        QTest::newRow("unset") << false << QByteArray() << false;
    }
    // Through the real environment, the way the shell schedules it.
    void enabling()
    {
        QFETCH(bool, set);
        QFETCH(QByteArray, value);
        QFETCH(bool, prints);
        if (set)
            qputenv(probe::environmentVariable, value);
        else
            qunsetenv(probe::environmentVariable);

        QObject owner;
        QList<QByteArray> written;
        probe::schedule(&owner,
                        {[] { return true; }, [] { return QRectF(1, 2, 3, 4); },
                         [&](const QByteArray &text) { written.append(text); }},
                        20ms);
        passBeyond(20ms);
        QCOMPARE(written, prints
                              ? QList<QByteArray>{"probe visible=true frame=(1.0, 2.0, 3.0, 4.0)\n"}
                              : QList<QByteArray>{});
    }

    // Once, after its delay; nothing once its owner is gone.
    void waitsItsDelay()
    {
        QObject owner;
        auto gone = std::make_unique<QObject>();
        int written = 0;
        QElapsedTimer clock;
        clock.start();
        probe::schedule(&owner, {{}, {}, [&](const QByteArray &) { ++written; }}, 300ms, true);
        probe::schedule(gone.get(), {{}, {}, [&](const QByteArray &) { ++written; }}, 20ms, true);
        gone.reset();
        QTRY_COMPARE(written, 1);
        QVERIFY(clock.elapsed() >= 300);
        passBeyond(300ms);
        QCOMPARE(written, 1);
    }
};

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
