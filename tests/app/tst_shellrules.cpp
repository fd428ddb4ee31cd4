#include "app/ShellRules.h"

#include <QTest>

// When the shell reloads the account on its own, and when opening a surface refreshes.
class TestShellRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void polling_data()
    {
        QTest::addColumn<bool>("marketOpen");
        QTest::addColumn<QList<qint64>>("pollingTicks"); // among ticks 1 to 12

        QTest::newRow("market open: every tick")
            << true << QList<qint64>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        QTest::newRow("market closed: every fifth, from launch") << false << QList<qint64>{5, 10};
    }
    void polling()
    {
        QFETCH(bool, marketOpen);
        QFETCH(QList<qint64>, pollingTicks);
        QList<qint64> polled;
        for (qint64 tick = 1; tick <= 12; ++tick)
            if (ShellRules::pollsAccount(tick, marketOpen))
                polled.append(tick);
        QCOMPARE(polled, pollingTicks);
    }

    void refreshOnOpen_data()
    {
        QTest::addColumn<std::optional<qint64>>("secondsSinceFetch");
        QTest::addColumn<bool>("refreshing");
        QTest::addColumn<bool>("refreshes");

        QTest::newRow("never fetched") << std::optional<qint64>() << false << true;
        QTest::newRow("120 s") << std::optional<qint64>(120) << false << false;
        QTest::newRow("121 s") << std::optional<qint64>(121) << false << true;
        QTest::newRow("121 s, refreshing") << std::optional<qint64>(121) << true << false;
        QTest::newRow("fetched in the future") << std::optional<qint64>(-600) << false << false;
    }
    void refreshOnOpen()
    {
        QFETCH(std::optional<qint64>, secondsSinceFetch);
        QFETCH(bool, refreshing);
        QFETCH(bool, refreshes);
        const QDateTime now(QDate(2025, 3, 7), QTime(14, 30), Qt::UTC);
        const auto fetchedAt =
            secondsSinceFetch ? std::optional(now.addSecs(-*secondsSinceFetch)) : std::nullopt;
        QCOMPARE(ShellRules::refreshesOnOpen(fetchedAt, refreshing, now), refreshes);
    }
};

QTEST_GUILESS_MAIN(TestShellRules)
#include "tst_shellrules.moc"
