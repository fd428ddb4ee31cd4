#include "PulseBinary.h"
#include "SettingsCheck.h"
#include "account/AuthStore.h"
#include "notify/NotificationServerDouble.h"
#include "platform/linux/KeychainSecretStore.h"
#include "settings/MireoConfig.h"
#include "support/PrivateKeyring.h"
#include "support/StandinFixture.h"

#include <QDBusConnection>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTest>
#include <cstdio>

using namespace Qt::StringLiterals;

// kill -9 of a live `mireo-pulse --follow` at random moments, while the book moves and new
// decisions and fills arrive: whatever moment it dies at, the settings file parses, the caches
// are whole, and no notification is ever announced twice. MIREO_CRASH_ROUNDS sets the number
// of rounds, MIREO_CRASH_SEED the random moments.
class TestCrashConsistency : public QObject
{
    Q_OBJECT

    testing::PrivateKeyring m_keyring;
    testing::NotificationServerDouble m_notifications;
    const QString m_key = QString::fromLatin1(AuthStore::refreshTokenKey);

    static int fromEnvironment(const char *name, int fallback)
    {
        bool ok = false;
        const int value = qEnvironmentVariableIntValue(name, &ok);
        return ok && value > 0 ? value : fallback;
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
        const int rounds = fromEnvironment("MIREO_CRASH_ROUNDS", 12);
        const auto seed = quint32(fromEnvironment("MIREO_CRASH_SEED", 20251122));
        QRandomGenerator random(seed);

        testing::StandinFixture standin;
        standin.server.book().setStepSeconds(0.05);
        QProcessEnvironment env = m_keyring.environment();
        // Account loads and notification checks every half second or so, not every minute.
        env.insert(u"MIREO_POLL_INTERVAL_MS"_s, u"100"_s);
        testing::PulseBinary binary(env);
        KeychainSecretStore keychain(MireoConfig::keychainService());
        const QDateTime start = QDateTime::currentDateTimeUtc().addDays(1);

        int failures = 0, sessionsLost = 0, withPortfolio = 0;
        QStringList problemsSeen;
        for (int round = 0; round < rounds; ++round) {
            if (!keychain.read(m_key)) {
                sessionsLost += round > 0;
                keychain.replace(m_key, standin.server.issueSession().refreshToken);
            }
            // Something new to announce in every round.
            const QString when = start.addSecs(round).toString(Qt::ISODateWithMs);
            standin.server.publishDecision(when, {u"D%1"_s.arg(round)});
            standin.server.addFill(QJsonObject{{u"symbol"_s, u"F%1"_s.arg(round)},
                                               {u"side"_s, u"buy"_s},
                                               {u"status"_s, u"filled"_s},
                                               {u"filled_at"_s, when},
                                               {u"fill_price"_s, 100 + round}});

            QProcess follow;
            follow.setProcessEnvironment(binary.environment(standin.url()));
            follow.start(binary.program(), {u"--follow"_s});
            QVERIFY(follow.waitForStarted());
            QTest::qWait(int(random.bounded(50, 2500)));
            follow.kill();
            QVERIFY(follow.waitForFinished(5000));

            const QStringList problems = testing::settingsProblems(binary.settingsPath());
            QSettings settings(binary.settingsPath(), QSettings::IniFormat);
            withPortfolio += settings.contains(u"cache.portfolio.json"_s);
            if (!problems.isEmpty()) {
                ++failures;
                problemsSeen += u"round %1: "_s.arg(round) + problems.join(u"; "_s);
            }
        }
        // A last run that is not killed catches up with what the kills cut short.
        QCOMPARE(binary.run(standin.url(), {u"--status-json"_s}).exitCode, 0);

        QHash<QString, int> announced;
        for (const auto &call : std::as_const(m_notifications.calls))
            ++announced[call.summary + u" | "_s + call.body];
        int duplicates = 0;
        for (auto it = announced.cbegin(); it != announced.cend(); ++it) {
            if (it.value() > 1) {
                ++duplicates;
                problemsSeen += u"announced %1 times: "_s.arg(it.value()) + it.key();
            }
        }

        std::fprintf(stdout,
                     "crash rounds: %d (seed %u), settings intact after %d, portfolio cached after "
                     "%d, notifications %d (%d twice), sessions lost to a kill mid-renewal %d\n"
                     "%d passed, %d failed\n",
                     rounds, seed, rounds - failures, withPortfolio,
                     int(m_notifications.calls.size()), duplicates, sessionsLost, rounds - failures,
                     failures + (duplicates > 0));
        std::fflush(stdout);
        QVERIFY2(problemsSeen.isEmpty(), qPrintable(problemsSeen.join(u"\n"_s)));
        QVERIFY(!m_notifications.calls.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestCrashConsistency)
#include "tst_crashconsistency.moc"
