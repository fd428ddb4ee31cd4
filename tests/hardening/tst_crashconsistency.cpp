#include "PulseBinary.h"
#include "SettingsCheck.h"
#include "notify/NotificationServerDouble.h"
#include "support/PrivateSessionBus.h"
#include "support/StandinFixture.h"
#include "support/TestSupport.h"

#include <QDBusConnection>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>
#include <cstdio>

using namespace Qt::StringLiterals;

// kill -9 of a live `--follow` at random moments while decisions and fills arrive: the settings
// stay whole and nothing is announced twice. MIREO_CRASH_ROUNDS and MIREO_CRASH_SEED vary it.
class TestCrashConsistency : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;
    testing::NotificationServerDouble m_notifications;

    // A stored session for the next start, unless the last one left it in place.
    static bool ensureSession(testing::StandinFixture &standin)
    {
        if (testing::appKeychain().read(testing::refreshTokenKey))
            return true;
        testing::appKeychain().replace(testing::refreshTokenKey,
                                       standin.server.issueSession().refreshToken);
        return false;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (const QString why = m_keyring.start(); !why.isEmpty())
            QSKIP(qPrintable(why));
        QVERIFY(m_notifications.serveOn(QDBusConnection::sessionBus()));
    }

    void killsLeaveConsistentState()
    {
        const int rounds = testing::countFromEnvironment("MIREO_CRASH_ROUNDS", 12);
        const auto seed = quint32(testing::countFromEnvironment("MIREO_CRASH_SEED", 20251122));
        QRandomGenerator random(seed);

        testing::StandinFixture standin;
        standin.server.book().setStepSeconds(0.05);
        QProcessEnvironment env = m_keyring.environment();
        // Account loads and notification checks every half second or so, not every minute.
        env.insert(u"MIREO_POLL_INTERVAL_MS"_s, u"100"_s);
        testing::PulseBinary binary(env);
        const QDateTime start = QDateTime::currentDateTimeUtc().addDays(1);

        int sessionsLost = 0;
        QStringList problemsSeen;
        for (int round = 0; round < rounds; ++round) {
            sessionsLost += !ensureSession(standin) && round > 0;
            // Something new to announce in every round.
            const QString when = start.addSecs(round).toString(Qt::ISODateWithMs);
            standin.server.publishDecision(when, {u"D%1"_s.arg(round)});
            standin.server.addFill(QJsonObject{{u"symbol"_s, u"F%1"_s.arg(round)},
                                               {u"side"_s, u"buy"_s},
                                               {u"status"_s, u"filled"_s},
                                               {u"filled_at"_s, when},
                                               {u"fill_price"_s, 100 + round}});

            QProcess follow;
            binary.start(follow, standin.url(), {u"--follow"_s});
            QVERIFY(follow.waitForStarted());
            QTest::qWait(int(random.bounded(50, 2500)));
            follow.kill();
            QVERIFY(follow.waitForFinished(5000));

            for (const QString &problem : testing::settingsProblems(binary.settingsPath()))
                problemsSeen += u"round %1: "_s.arg(round) + problem;
        }
        // A last run that is not killed catches up with what the kills cut short.
        QCOMPARE(binary.run(standin.url(), {u"--status-json"_s}).exitCode, 0);

        QStringList announced;
        for (const auto &call : std::as_const(m_notifications.calls))
            announced += call.summary + u" | "_s + call.body;
        const qsizetype repeats = announced.removeDuplicates();
        if (repeats > 0)
            problemsSeen += u"%1 notifications announced again"_s.arg(repeats);
        std::fprintf(stdout,
                     "crash rounds: %d (seed %u), notifications %d, sessions lost to a kill "
                     "mid-renewal %d\n",
                     rounds, seed, int(m_notifications.calls.size()), sessionsLost);
        std::fflush(stdout);
        QVERIFY2(problemsSeen.isEmpty(), qPrintable(problemsSeen.join(u"\n"_s)));
        QVERIFY(!m_notifications.calls.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCrashConsistency)
#include "tst_crashconsistency.moc"
