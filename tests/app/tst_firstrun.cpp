#include "app/FirstRun.h"
#include "support/TestSupport.h"

#include <QTest>

class TestFirstRun : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void onceAcrossLaunches()
    {
        testing::TempDefaults defaults;
        QVERIFY(firstRun::claim(*defaults));
        // Quitting while the window is open: the mark is already on disk.
        QCOMPARE(Defaults(defaults.path()).boolean("onboarded"), std::optional<bool>(true));

        defaults.reopen();
        QVERIFY(!firstRun::claim(*defaults));
        defaults.reopen();
        QVERIFY(!firstRun::claim(*defaults));
    }

    void removingTheMarkBringsItBack()
    {
        testing::TempDefaults defaults;
        QVERIFY(firstRun::claim(*defaults));
        defaults->remove("onboarded");
        defaults.reopen();
        QVERIFY(firstRun::claim(*defaults));
    }

    void anExplicitFalseStillCounts()
    {
        testing::TempDefaults defaults;
        defaults->setBoolean("onboarded", false);
        QVERIFY(firstRun::claim(*defaults));
        QVERIFY(!firstRun::claim(*defaults));
    }
};

QTEST_GUILESS_MAIN(TestFirstRun)
#include "tst_firstrun.moc"
