#include "pulse/PulseStore.h"
#include "support/AccountRig.h"

#include <QCoroTask>
#include <QDir>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#ifdef __SANITIZE_ADDRESS__
extern "C" size_t __sanitizer_get_current_allocated_bytes(); // GCC installs no header for it
#else
#include <malloc.h>
#endif

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {
const QString trackRecordPath = u"/api/public/track-record"_s;
const QString statsPath = u"/api/public/stats"_s;
const QByteArray goodRecord = R"({"has_data":true,"consolidated":{"return_pct":12.345,
    "return_vs_spy_pct":-1.25,"total_equity":112345.0},"accounts":[{"positions":2},{"positions":3}],
    "last_update":"2025-03-07T14:30:05.123Z"})";

QByteArray series(int length)
{
    QByteArray body = "{\"sparkline\":[";
    for (int i = 0; i < length; ++i)
        body += (i ? "," : "") + QByteArray::number(i);
    return body + "]}";
}

QList<double> range(int from, int to)
{
    QList<double> values;
    for (int i = from; i < to; ++i)
        values.append(i);
    return values;
}
} // namespace

class TestPulseStore : public QObject
{
    Q_OBJECT

    // The public book's store beside the account's.
    struct Rig : testing::AccountRig
    {
        std::unique_ptr<PulseStore> pulse;

        PulseStore &startPulse()
        {
            pulse = std::make_unique<PulseStore>(http, *defaults, clock, standin.url());
            return *pulse;
        }
        // A store whose launch refresh got `record` and is over.
        PulseStore &started(const QByteArray &record = goodRecord)
        {
            standin.answer(trackRecordPath, 200, record);
            startPulse();
            if (!settle())
                qFatal("the launch refresh never finished");
            return *pulse;
        }
        // Waits for the refresh under way (the creation's included) to finish.
        bool settle()
        {
            QSignalSpy finished(pulse.get(), &PulseStore::refreshFinished);
            return QTest::qWaitFor([&] { return !finished.isEmpty(); }, 5000);
        }
        bool refreshAndSettle()
        {
            pulse->refresh();
            return settle();
        }
    };

private Q_SLOTS:
    void init() { Defaults::shared().setString(u"app.language"_s, u"en"_s); }

    // The cache under its fixed names (the file outlives a release); the series cut to its last 30.
    void successCachesAndTrims()
    {
        Rig rig;
        rig.standin.answer(statsPath, 200, series(45));
        PulseStore &store = rig.started();
        QCOMPARE(store.sparkline(), range(15, 45));

        rig.defaults.reopen();
        QCOMPARE(rig.defaults->date(u"cache.pulse.fetchedAt"_s), rig.clock.now());
        QCOMPARE(rig.defaults->number(u"cache.pulse.returnPct"_s), 12.345);
        QCOMPARE(rig.defaults->number(u"cache.pulse.vsSpy"_s), -1.25);
        QCOMPARE(rig.defaults->integer(u"cache.pulse.positions"_s), 5);
        QCOMPARE(rig.defaults->date(u"cache.pulse.lastUpdate"_s), store.lastUpdate());
        // The public book is public: no credential goes with it.
        for (const auto &request : rig.standin.server.requests())
            QVERIFY(request.header("Authorization").isNull());
    }

    // What the fault matrix cannot see: a record still being built, and lines in Portuguese.
    void failureKeepsTheLastNumbers_data()
    {
        QTest::addColumn<QByteArray>("record");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("line");
        QTest::newRow("not JSON, pt") << "nope"_ba
                                      << "pt"
                                      << "offline \u2014 a mostrar os \u00FAltimos n\u00FAmeros";
        QTest::newRow("building") << R"({"has_data":false})"_ba
                                  << "en"
                                  << "building the record";
    }
    void failureKeepsTheLastNumbers()
    {
        QFETCH(QByteArray, record);
        QFETCH(QString, language);
        QFETCH(QString, line);

        Rig rig;
        rig.standin.answer(statsPath, 200, series(5));
        PulseStore &store = rig.started();
        const auto fetchedAt = store.fetchedAt();

        Defaults::shared().setString(u"app.language"_s, language);
        rig.standin.server.overrideNext(trackRecordPath, {.body = record});
        rig.clock.set(rig.clock.now().addSecs(600));
        QVERIFY(rig.refreshAndSettle());

        QCOMPARE(store.lastError(), line);
        QCOMPARE(store.returnPct(), 12.345);
        QCOMPARE(store.openPositions(), 5);
        QCOMPARE(store.fetchedAt(), fetchedAt);
        QCOMPARE(store.sparkline(), range(0, 5));
    }

    // A new series shows once it has three values; a failed one leaves the old in place.
    void statsRules_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("stats");
        QTest::addColumn<QList<double>>("expected");

        const QList<double> before = range(100, 110);
        QTest::newRow("two values keep the old series") << 200 << series(2) << before;
        QTest::newRow("three values are enough") << 200 << series(3) << range(0, 3);
        QTest::newRow("failed stats are silent") << 500 << series(10) << before;
    }
    void statsRules()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, stats);
        QFETCH(QList<double>, expected);
        Rig rig;
        rig.standin.answer(statsPath, 200,
                           R"({"sparkline":[100,101,102,103,104,105,106,107,108,109]})");
        PulseStore &store = rig.started();
        rig.standin.answer(trackRecordPath, 200, goodRecord);
        rig.standin.answer(statsPath, status, stats);
        QVERIFY(rig.refreshAndSettle());
        QCOMPARE(store.sparkline(), expected);
        QCOMPARE(store.lastError(), std::nullopt);
    }

    void aStoreGoneMidRequestIsLeftAlone()
    {
        Rig rig;
        rig.standin.server.overrideNext(trackRecordPath, {.body = goodRecord, .delayMs = 100}, 2);
        rig.startPulse();
        QTRY_COMPARE(rig.standin.server.requests().size(), 1);
        rig.pulse.reset();
        // The same answer to a later request comes after the one that arrives for nobody.
        bool answered = false;
        QCoro::connect(rig.http.get(rig.standin.url().resolved(QUrl(trackRecordPath)), 5s),
                       &rig.http, [&answered](const net::HttpResponse &) { answered = true; });
        QTRY_VERIFY(answered);
        QVERIFY(!rig.defaults->date(u"cache.pulse.fetchedAt"_s));
    }

    void title_data()
    {
        QTest::addColumn<QVariant>("returnPct");
        QTest::addColumn<QString>("title");
        QTest::newRow("positive") << QVariant(12.345) << "M +12.3%";
        QTest::newRow("negative") << QVariant(-3.21) << "M -3.2%";
        QTest::newRow("negative zero") << QVariant(-0.0) << "M +-0.0%";
        QTest::newRow("rounds to negative zero") << QVariant(-0.04) << "M -0.0%";
        QTest::newRow("absent") << QVariant() << "M\u00B7";
    }
    void title()
    {
        QFETCH(QVariant, returnPct);
        QFETCH(QString, title);
        const auto value = returnPct.isValid() ? std::optional(returnPct.toDouble()) : std::nullopt;
        QCOMPARE(PulseStore::titleFor(value), title);
        // The same in Portuguese and under a comma-decimal locale.
        Defaults::shared().setString(u"app.language"_s, u"pt"_s);
        QLocale::setDefault(QLocale(QLocale::Portuguese, QLocale::Portugal));
        QCOMPARE(PulseStore::titleFor(value), title);
        QLocale::setDefault(QLocale::c());
    }

    // Refresh cycles of both stores, faults mixed in, leave no descriptor and no memory behind.
    // MIREO_RESOURCE_CYCLES sets the number of measured cycles (scripts/harden resources).
    void refreshCyclesLeaveNothingBehind()
    {
        Rig rig;
        rig.secrets.items.insert(QString::fromLatin1(AuthStore::refreshTokenKey),
                                 rig.standin.server.issueSession().refreshToken);
        QVERIFY(rig.startAndRestore().isSignedIn());
        rig.startPulse();
        // Every other cycle: a cut connection, an error, a body past the 1 MiB cap or a time-out.
        static const QList<standin::Override> faults = {
            {},
            {.body = QByteArray(4096, ' '), .drop = true},
            {.status = 500},
            {.body = QByteArray(4 << 20, ' ')},
            {.delayMs = 400}};
        static const QStringList paths = {trackRecordPath, statsPath, u"/api/mobile/portfolio"_s,
                                          u"/api/mobile/positions"_s};
        const auto cycle = [&rig](int index) {
            rig.standin.server.clearRequests();
            if (index % 2 == 0)
                rig.standin.server.overrideNext(paths[index / 2 % 4], faults[index % 10 / 2]);
            rig.clock.set(rig.clock.now().addSecs(7200)); // and a renewal
            QSignalSpy finished(rig.pulse.get(), &PulseStore::refreshFinished);
            rig.pulse->refresh();
            QCoro::waitFor(rig.store->loadPortfolio());
            QVERIFY(finished.count() || finished.wait(5000));
            // Aborted replies and sockets are deleted later, as the event loop would.
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        };
        // Open descriptors and the live heap in KiB (under ASan, not counting its quarantine).
        const auto usage = [] {
#ifdef __SANITIZE_ADDRESS__
            const auto heap = qint64(__sanitizer_get_current_allocated_bytes() / 1024);
#else
            const auto heap = qint64(mallinfo2().uordblks / 1024);
#endif
            return std::pair(QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size(),
                             heap);
        };
        const int cycles = testing::countFromEnvironment("MIREO_RESOURCE_CYCLES", 100);
        for (int i = 0; i < 40; ++i)
            cycle(i);
        const auto [descriptorsBefore, heapBefore] = usage();
        for (int i = 0; i < cycles; ++i)
            cycle(i);
        const auto [descriptorsAfter, heapAfter] = usage();
        std::fprintf(
            stdout, "refresh cycles: %d; descriptors %lld -> %lld, heap %lld -> %lld KiB\n", cycles,
            qlonglong(descriptorsBefore), qlonglong(descriptorsAfter), heapBefore, heapAfter);
        QVERIFY(rig.store->isSignedIn() && rig.pulse->returnPct()); // still working
        QVERIFY(descriptorsAfter <= descriptorsBefore + 2);         // one or two may be closing
        // The stand-in keeps each access token it issued (~100 bytes a cycle), nothing more.
        QVERIFY(heapAfter - heapBefore < 512);
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestPulseStore)
#include "tst_pulsestore.moc"
