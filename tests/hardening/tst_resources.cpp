#include "pulse/PulseStore.h"
#include "support/AccountRig.h"

#include <QCoroTask>
#include <QDir>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#include <malloc.h>
#include <unistd.h>
#ifdef __SANITIZE_ADDRESS__
// From the sanitizer runtime; GCC installs no header for it.
extern "C" size_t __sanitizer_get_current_allocated_bytes();
#endif

using namespace Qt::StringLiterals;

namespace {

struct Usage
{
    qsizetype descriptors = 0;
    qint64 residentKiB = 0;
    qint64 liveHeapKiB = 0; // allocated and not freed; under ASan, not counting its quarantine
};

Usage usage()
{
    Usage now;
    now.descriptors = QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size();
    QFile statm(u"/proc/self/statm"_s);
    if (statm.open(QIODevice::ReadOnly))
        now.residentKiB =
            statm.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE) / 1024;
#ifdef __SANITIZE_ADDRESS__
    now.liveHeapKiB = qint64(__sanitizer_get_current_allocated_bytes() / 1024);
#else
    now.liveHeapKiB = qint64(mallinfo2().uordblks / 1024);
#endif
    return now;
}

} // namespace

// Many refresh cycles of both stores against the stand-in, good answers mixed with cut
// connections, errors, oversized and slow bodies: no descriptor and no memory is left behind.
// MIREO_RESOURCE_CYCLES sets the number of measured cycles.
class TestResources : public QObject
{
    Q_OBJECT

    testing::AccountRig m_account;
    testing::StandinFixture &m_standin = m_account.standin;
    std::unique_ptr<PulseStore> m_pulse;

    void cycle(int index)
    {
        m_standin.server.clearRequests();
        standin::Override fault;
        switch (index % 10) {
        case 2:
            fault.drop = true;
            fault.body = QByteArray(4096, ' ');
            break;
        case 4:
            fault.status = 500;
            break;
        case 6:
            fault.body = QByteArray(4 * 1024 * 1024, ' ');
            break; // past the 1 MiB cap
        case 8:
            fault.delayMs = 400;
            break; // past the time-out
        default:
            break;
        }
        static const QStringList paths = {u"/api/public/track-record"_s, u"/api/public/stats"_s,
                                          u"/api/mobile/portfolio"_s, u"/api/mobile/positions"_s};
        if (index % 2 == 0)
            m_standin.server.overrideNext(paths[(index / 2) % paths.size()], fault);
        // Every cycle renews the session too.
        m_account.clock.set(m_account.clock.now().addSecs(7200));
        QSignalSpy finished(m_pulse.get(), &PulseStore::refreshFinished);
        m_pulse->refresh();
        QCoro::waitFor(m_account.store->loadPortfolio());
        QVERIFY(QTest::qWaitFor([&] { return !finished.isEmpty(); }, 5000));
        // Let the replies and sockets that were aborted be deleted, as the event loop would.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private Q_SLOTS:
    void initTestCase()
    {
        Defaults::shared().setString(u"app.language"_s, u"en"_s);
        m_account.secrets.items.insert(QString::fromLatin1(AuthStore::refreshTokenKey),
                                       m_standin.server.issueSession().refreshToken);
        m_pulse = std::make_unique<PulseStore>(m_account.http, *m_account.defaults, m_account.clock,
                                               m_standin.url());
        QVERIFY(m_account.startAndRestore().isSignedIn());
    }

    void refreshCyclesLeaveNothingBehind()
    {
        const int cycles = testing::countFromEnvironment("MIREO_RESOURCE_CYCLES", 100);
        for (int i = 0; i < 40; ++i)
            cycle(i);
        const Usage before = usage();
        for (int i = 0; i < cycles; ++i)
            cycle(i);
        const Usage after = usage();

        std::fprintf(
            stdout,
            "refresh cycles: %d after 40 to warm up (each: both public requests, a session "
            "renewal, three account loads; faults every other cycle)\n"
            "descriptors %lld -> %lld, live heap %lld -> %lld KiB, resident %lld -> %lld "
            "KiB\n",
            cycles, qlonglong(before.descriptors), qlonglong(after.descriptors), before.liveHeapKiB,
            after.liveHeapKiB, before.residentKiB, after.residentKiB);
        std::fflush(stdout);

        // Still working after all that.
        QVERIFY(m_account.store->isSignedIn());
        QVERIFY(m_pulse->returnPct().has_value());
        // A connection or two may be open or closing at either moment; never one per cycle.
        QVERIFY(after.descriptors <= before.descriptors + 2);
        // The stand-in in this process keeps every access token it issued (about 100 bytes a
        // cycle); anything near a body per cycle would be a leak.
        QVERIFY2(
            after.liveHeapKiB - before.liveHeapKiB < 512,
            qPrintable(u"live heap grew by %1 KiB"_s.arg(after.liveHeapKiB - before.liveHeapKiB)));
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestResources)
#include "tst_resources.moc"
