#include "pulse/PulseStore.h"
#include "support/AccountRig.h"

#include <QCoroTask>
#include <QDir>
#include <QSignalSpy>
#include <QTest>
#include <cstdio>
#ifdef __SANITIZE_ADDRESS__
extern "C" size_t __sanitizer_get_current_allocated_bytes(); // GCC installs no header for it
static size_t liveHeap()
{
    return __sanitizer_get_current_allocated_bytes();
}
#else
#include <malloc.h>
static size_t liveHeap()
{
    return mallinfo2().uordblks;
}
#endif

using namespace Qt::StringLiterals;

// Refresh cycles of both stores, faults mixed in, leave no descriptor and no memory behind.
// MIREO_RESOURCE_CYCLES sets the number of measured cycles.
class TestResources : public QObject
{
    Q_OBJECT

    testing::AccountRig m_account;
    std::unique_ptr<PulseStore> m_pulse;

    // Open descriptors and the live heap in KiB (under ASan, not counting its quarantine).
    static std::pair<qsizetype, qint64> usage()
    {
        const auto heap = qint64(liveHeap() / 1024);
        return {QDir(u"/proc/self/fd"_s).entryList(QDir::Files | QDir::System).size(), heap};
    }

    // Every other cycle: a cut connection, an error, a body past the 1 MiB cap or a time-out.
    void cycle(int index)
    {
        static const QList<standin::Override> faults = {
            {},
            {.body = QByteArray(4096, ' '), .drop = true},
            {.status = 500},
            {.body = QByteArray(4 << 20, ' ')},
            {.delayMs = 400}};
        static const QStringList paths = {u"/api/public/track-record"_s, u"/api/public/stats"_s,
                                          u"/api/mobile/portfolio"_s, u"/api/mobile/positions"_s};
        m_account.standin.server.clearRequests();
        if (index % 2 == 0)
            m_account.standin.server.overrideNext(paths[index / 2 % 4], faults[index % 10 / 2]);
        m_account.clock.set(m_account.clock.now().addSecs(7200)); // and a renewal
        QSignalSpy finished(m_pulse.get(), &PulseStore::refreshFinished);
        m_pulse->refresh();
        QCoro::waitFor(m_account.store->loadPortfolio());
        QVERIFY(finished.count() || finished.wait(5000));
        // Aborted replies and sockets are deleted later, as the event loop would.
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private Q_SLOTS:
    void refreshCyclesLeaveNothingBehind()
    {
        Defaults::shared().setString(u"app.language"_s, u"en"_s);
        m_account.secrets.items.insert(QString::fromLatin1(AuthStore::refreshTokenKey),
                                       m_account.standin.server.issueSession().refreshToken);
        m_pulse = std::make_unique<PulseStore>(m_account.http, *m_account.defaults, m_account.clock,
                                               m_account.standin.url());
        QVERIFY(m_account.startAndRestore().isSignedIn());
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
        QVERIFY(m_account.store->isSignedIn() && m_pulse->returnPct()); // still working
        QVERIFY(descriptorsAfter <= descriptorsBefore + 2);             // one or two may be closing
        // The stand-in keeps each access token it issued (~100 bytes a cycle), nothing more.
        QVERIFY(heapAfter - heapBefore < 512);
    }
};

MIREO_TEST_MAIN_WITH_PRIVATE_CONFIG(TestResources)
#include "tst_resources.moc"
