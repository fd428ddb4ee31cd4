#include "NotificationServerDouble.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "support/PrivateSessionBus.h"

#include <QElapsedTimer>
#include <QTest>
#include <memory>

using testing::NotificationServerDouble;

namespace {
Notifier::Notification note(const QString &identifier, const QString &title = QStringLiteral("t"),
                            bool sound = true)
{
    return {identifier, title, QStringLiteral("body of ") + title, sound};
}
} // namespace

class TestFreedesktopNotifier : public QObject
{
    Q_OBJECT

    // A private bus with the server double on its own connection and the notifier on another.
    struct Rig
    {
        testing::PrivateSessionBus bus;
        NotificationServerDouble server;
        std::unique_ptr<FreedesktopNotifier> notifier;
        QDBusConnection serverConnection{QString()};

        bool start()
        {
            if (!bus.isRunning())
                return false;
            serverConnection = bus.connect(QStringLiteral("server"));
            if (!server.serveOn(serverConnection))
                return false;
            notifier = std::make_unique<FreedesktopNotifier>(bus.connect(QStringLiteral("app")));
            return true;
        }
        // The answer, or nothing when none came within five seconds.
        std::optional<bool> permission()
        {
            auto answer = std::make_shared<std::optional<bool>>();
            notifier->requestPermission(Notifier::Permission::Alert | Notifier::Permission::Sound,
                                        [answer](bool granted) { *answer = granted; });
            if (answer->has_value()) // the answer must never arrive before the request returns
                return std::nullopt;
            if (!QTest::qWaitFor([&answer] { return answer->has_value(); }, 5000))
                return std::nullopt;
            return *answer;
        }
        bool waitForCalls(qsizetype count)
        {
            return QTest::qWaitFor([&] { return server.calls.size() >= count; }, 5000);
        }
    };

private Q_SLOTS:
    void init()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty())
            QSKIP("dbus-daemon is not installed");
    }

    void noBusAtAllRefusesWithoutBlocking()
    {
        FreedesktopNotifier notifier(QDBusConnection::connectToBus(
            QStringLiteral("unix:path=/nonexistent/mireo-bus"), QStringLiteral("nowhere")));
        std::optional<bool> answer;
        notifier.requestPermission(Notifier::Permission::Alert,
                                   [&answer](bool granted) { answer = granted; });
        QVERIFY(!answer);
        notifier.deliver(note(QStringLiteral("lost")));
        QVERIFY(QTest::qWaitFor([&answer] { return answer.has_value(); }, 5000));
        QCOMPARE(*answer, false);
        QDBusConnection::disconnectFromBus(QStringLiteral("nowhere"));
    }

    void notifyCarriesTheAppsIdentity_data()
    {
        QTest::addColumn<bool>("sound");
        QTest::newRow("with sound") << true;
        QTest::newRow("silent") << false;
    }
    void notifyCarriesTheAppsIdentity()
    {
        QFETCH(bool, sound);
        Rig rig;
        QVERIFY(rig.start());
        rig.notifier->deliver(
            note(QStringLiteral("decision-1"), QStringLiteral("Mireo decided"), sound));
        QVERIFY(rig.waitForCalls(1));
        const NotificationServerDouble::Call &call = rig.server.calls.first();
        QCOMPARE(call.appName, QStringLiteral("Mireo Pulse"));
        QCOMPARE(call.appIcon, QStringLiteral("mireo-pulse"));
        QCOMPARE(call.replacesId, 0u);
        QCOMPARE(call.summary, QStringLiteral("Mireo decided"));
        QCOMPARE(call.body, QStringLiteral("body of Mireo decided"));
        QCOMPARE(call.actions, QStringList());
        QCOMPARE(call.expireTimeout, -1);
        QCOMPARE(call.hints.value(QStringLiteral("desktop-entry")).toString(),
                 QStringLiteral("mireo-pulse"));
        QCOMPARE(call.hints.value(QStringLiteral("sound-name")).toString(),
                 sound ? QStringLiteral("message-new-instant") : QString());
        QCOMPARE(call.hints.contains(QStringLiteral("suppress-sound")), !sound);
        QCOMPARE(call.hints.value(QStringLiteral("suppress-sound")).toBool(), !sound);
    }

    void sameIdentifierReplaces()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.notifier->deliver(note(QStringLiteral("killswitch-on")));
        QVERIFY(rig.waitForCalls(1));
        rig.notifier->deliver(note(QStringLiteral("killswitch-off")));
        QVERIFY(rig.waitForCalls(2));
        rig.notifier->deliver(note(QStringLiteral("killswitch-on"), QStringLiteral("again")));
        QVERIFY(rig.waitForCalls(3));

        const auto &calls = rig.server.calls;
        QCOMPARE(calls[1].replacesId, 0u);
        QVERIFY(calls[1].returnedId != calls[0].returnedId);
        QCOMPARE(calls[2].replacesId, calls[0].returnedId);
        QCOMPARE(calls[2].summary, QStringLiteral("again"));
    }

    // Fills with the same time and symbol are posted back to back, before the server has
    // answered the first: the last one still replaces it rather than showing beside it.
    void sameIdentifierInQuickSuccessionReplaces()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.notifier->deliver(note(QStringLiteral("fill-x"), QStringLiteral("first")));
        rig.notifier->deliver(note(QStringLiteral("fill-x"), QStringLiteral("second")));
        rig.notifier->deliver(note(QStringLiteral("fill-x"), QStringLiteral("third")));
        QVERIFY(rig.waitForCalls(2));
        QTest::qWait(100);
        const auto &calls = rig.server.calls;
        QCOMPARE(calls.size(), 2);
        QCOMPARE(calls[0].summary, QStringLiteral("first"));
        QCOMPARE(calls[1].summary, QStringLiteral("third"));
        QCOMPARE(calls[1].replacesId, calls[0].returnedId);
    }

    // A hung server blocks nothing: the call returns at once, the permission is refused when the
    // time-out ends, and a notification queued behind a lost one still goes out.
    void hungServerBlocksNothing()
    {
        Rig rig;
        QVERIFY(rig.start());
        rig.server.hung = true;
        rig.notifier->setCallTimeout(std::chrono::milliseconds(300));
        QElapsedTimer elapsed;
        elapsed.start();
        rig.notifier->deliver(note(QStringLiteral("fill-x"), QStringLiteral("first")));
        rig.notifier->deliver(note(QStringLiteral("fill-x"), QStringLiteral("second")));
        QVERIFY(elapsed.elapsed() < 100);
        QCOMPARE(rig.permission(), std::optional(false));
        QVERIFY(rig.waitForCalls(2));
        QCOMPARE(rig.server.calls[1].summary, QStringLiteral("second"));
        QCOMPARE(rig.server.calls[1].replacesId, 0u);
    }

    // At login the app may ask before the desktop's notification server is on the bus: that is
    // no answer yet, not a refusal. The server's arrival answers, once, with a grant.
    void aServerThatAppearsLaterAnswers()
    {
        Rig rig;
        QVERIFY(rig.bus.isRunning());
        rig.notifier =
            std::make_unique<FreedesktopNotifier>(rig.bus.connect(QStringLiteral("app")));
        int answers = 0;
        std::optional<bool> answer;
        rig.notifier->requestPermission(Notifier::Permission::Alert, [&](bool granted) {
            ++answers;
            answer = granted;
        });
        QTest::qWait(300);
        QVERIFY(!answer);

        rig.serverConnection = rig.bus.connect(QStringLiteral("server"));
        QVERIFY(rig.server.serveOn(rig.serverConnection));
        QTRY_COMPARE(answer, std::optional(true));
        // Going and coming again answers nothing more.
        rig.server.stop();
        QVERIFY(rig.server.serveOn(rig.serverConnection));
        QTest::qWait(200);
        QCOMPARE(answers, 1);
    }

    // A notifier destroyed while it waits for a server never answers.
    void noAnswerAfterTheNotifierIsGone()
    {
        Rig rig;
        QVERIFY(rig.bus.isRunning());
        rig.notifier =
            std::make_unique<FreedesktopNotifier>(rig.bus.connect(QStringLiteral("app")));
        bool answered = false;
        rig.notifier->requestPermission(Notifier::Permission::Alert,
                                        [&answered](bool) { answered = true; });
        QTest::qWait(200);
        rig.notifier.reset();
        rig.serverConnection = rig.bus.connect(QStringLiteral("server"));
        QVERIFY(rig.server.serveOn(rig.serverConnection));
        QTest::qWait(200);
        QVERIFY(!answered);
    }

    // The permission follows the server. One that goes away loses notifications, not the app;
    // one that comes back numbers afresh, so old ids are not reused on it.
    void serverGoneAndBack()
    {
        Rig rig;
        QVERIFY(rig.start());
        QCOMPARE(rig.permission(), std::optional(true));
        rig.notifier->deliver(note(QStringLiteral("decision-1")));
        QVERIFY(rig.waitForCalls(1));

        rig.server.stop();
        rig.notifier->deliver(note(QStringLiteral("decision-2")));
        QTest::qWait(100);
        QCOMPARE(rig.server.calls.size(), 1);

        NotificationServerDouble restarted;
        QVERIFY(restarted.serveOn(rig.serverConnection));
        QCOMPARE(rig.permission(), std::optional(true));
        rig.notifier->deliver(note(QStringLiteral("decision-1")));
        QVERIFY(QTest::qWaitFor([&] { return restarted.calls.size() == 1; }, 5000));
        QCOMPARE(restarted.calls.first().replacesId, 0u);
        restarted.stop();
    }
};

QTEST_GUILESS_MAIN(TestFreedesktopNotifier)
#include "tst_freedesktopnotifier.moc"
