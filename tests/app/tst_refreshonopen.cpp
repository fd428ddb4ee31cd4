#include "account/AuthStore.h"
#include "app/RefreshOnOpen.h"
#include "net/HttpClient.h"
#include "pulse/PulseStore.h"
#include "settings/MireoConfig.h"
#include "support/AccountFakes.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"

#include <QCoroTask>
#include <QSignalSpy>
#include <QTest>

// What opening the popover or the quick panel refreshes, against the stand-in.
class TestRefreshOnOpen : public QObject
{
    Q_OBJECT

    struct Rig
    {
        testing::StandinFixture standin;
        net::HttpClient http{QByteArray(MireoConfig::userAgent)};
        testing::TempDefaults defaults;
        testing::ManualClock clock;
        testing::InMemorySecretStore secrets;
        testing::RecordingBrowser browser;
        std::unique_ptr<PulseStore> pulse;
        std::unique_ptr<AuthStore> auth;

        // Both stores started, the first public refresh done, the request log empty.
        Rig()
        {
            http.setTimeoutLimit(testing::shortTimeout);
            pulse = std::make_unique<PulseStore>(http, *defaults, clock, standin.url());
            QSignalSpy refreshed(pulse.get(), &PulseStore::refreshFinished);
            auth = std::make_unique<AuthStore>(
                http, *defaults, clock, secrets, browser,
                AuthStore::Endpoints{standin.url(), standin.url(), QByteArray("anon")});
            if (!QTest::qWaitFor([&] { return refreshed.count() > 0; }, 5000))
                qFatal("the first refresh did not finish");
            standin.server.clearRequests();
        }
        qsizetype publicRequests() const { return standin.requestsTo(u"/api/public/track-record"); }
    };

private Q_SLOTS:
    void opening_data()
    {
        QTest::addColumn<int>("openedAfterSeconds");
        QTest::addColumn<qsizetype>("requests");
        QTest::newRow("120 s after the fetch") << 120 << qsizetype(0);
        QTest::newRow("121 s after the fetch") << 121 << qsizetype(1);
    }
    void opening()
    {
        QFETCH(int, openedAfterSeconds);
        QFETCH(qsizetype, requests);
        Rig rig;
        QVERIFY(rig.pulse->fetchedAt());
        rig.clock.set(*rig.pulse->fetchedAt() + std::chrono::seconds(openedAfterSeconds));
        QCoro::waitFor(refreshOnOpen(*rig.pulse, *rig.auth, rig.clock));
        QCOMPARE(rig.publicRequests(), requests);
        QVERIFY(!rig.pulse->refreshing());
    }

    void openingDuringARefreshStartsNothing()
    {
        Rig rig;
        rig.clock.set(rig.clock.now().addSecs(600));
        QSignalSpy finished(rig.pulse.get(), &PulseStore::refreshFinished);
        rig.pulse->refresh(); // what the ten-minute timer does
        QVERIFY(rig.pulse->refreshing());
        QCoro::waitFor(refreshOnOpen(*rig.pulse, *rig.auth, rig.clock));
        QVERIFY(finished.wait());
        QCOMPARE(rig.publicRequests(), qsizetype(1));
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestRefreshOnOpen)
#include "tst_refreshonopen.moc"
