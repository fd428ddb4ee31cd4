#include "app/ShellRules.h"

#include <QTest>

// When the shell reloads the account on its own, and when opening a surface refreshes.
class TestShellRules : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Every tick while the market is open; every fifth, counted from launch, while it is closed.
    void polling()
    {
        QList<qint64> open, closed;
        for (qint64 tick = 1; tick <= 12; ++tick) {
            if (ShellRules::pollsAccount(tick, true))
                open.append(tick);
            if (ShellRules::pollsAccount(tick, false))
                closed.append(tick);
        }
        QCOMPARE(open, (QList<qint64>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
        QCOMPARE(closed, (QList<qint64>{5, 10}));
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
        QCOMPARE(ShellRules::refreshesOnOpen(secondsSinceFetch
                                                 ? std::optional(now.addSecs(-*secondsSinceFetch))
                                                 : std::nullopt,
                                             refreshing, now),
                 refreshes);
    }
};

QTEST_GUILESS_MAIN(TestShellRules)
#include "tst_shellrules.moc"
