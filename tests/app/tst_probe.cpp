#include "app/Probe.h"

#include <QTest>
#include <QTimer>
#include <limits>

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
    // Shortest round-trip decimals, whole numbers with ".0", the sign of zero kept.
    void line()
    {
        QCOMPARE(probe::line(true, QRectF(1183, 945, 62, 24)),
                 "probe visible=true frame=(1183.0, 945.0, 62.0, 24.0)\n");
        QCOMPARE(probe::line(false, QRectF()), "probe visible=false frame=(0.0, 0.0, 0.0, 0.0)\n");
        QCOMPARE(probe::line(true, QRectF(0.1 + 0.2, -0.0, 62.25, 1.0 / 3)),
                 "probe visible=true frame=(0.30000000000000004, -0.0, 62.25, "
                 "0.3333333333333333)\n");
    }

    // Only "1" exactly turns it on, through the real environment as the shell schedules it.
    void enabling()
    {
        for (const char *value :
             std::initializer_list<const char *>{"1", "true", " 1", "", nullptr}) {
            if (value)
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
            QCOMPARE(written.size(), value && qstrcmp(value, "1") == 0 ? 1 : 0);
        }
    }
};

QTEST_GUILESS_MAIN(TestProbe)
#include "tst_probe.moc"
