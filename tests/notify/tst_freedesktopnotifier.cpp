#include "NotificationServerDouble.h"
#include "base/AppNames.h"
#include "platform/linux/FreedesktopNotifier.h"
#include "support/PrivateSessionBus.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;
using testing::NotificationServerDouble;

namespace {
Notifier::Notification note(const QString &identifier, const QString &title = u"t"_s,
                            bool sound = true)
{
    return {identifier, title, u"body of "_s + title, sound};
}
} // namespace

class TestFreedesktopNotifier : public QObject
{
    Q_OBJECT

    struct Rig
    {
        testing::PrivateSessionBus bus;
        NotificationServerDouble server;
        QDBusConnection app = bus.connect(u"app"_s);
        QDBusConnection serverConnection = bus.connect(u"server"_s);
        FreedesktopNotifier notifier{app};
        QList<bool> answers; // to every permission asked, in order

        // Never answered before the request returns.
        void ask()
        {
            const qsizetype before = answers.size();
            notifier.requestPermission(Notifier::Permission::Alert,
                                       [this](bool granted) { answers << granted; });
            QCOMPARE(answers.size(), before);
        }
        // The bus keeps each connection's messages in order: after a ping, all before it is in.
        void settle()
        {
            const QDBusPendingCall ping = app.interface()->asyncCall(u"GetId"_s);
            if (!QTest::qWaitFor([&] { return ping.isFinished(); }, 5000))
                qFatal("the bus did not answer");
            QCoreApplication::processEvents();
        }
    };

private Q_SLOTS:
    // Late at login, serving, gone, back and hung: the app loses notifications, never blocks.
    void aServerThroughItsLife()
    {
        Rig rig;
        if (!rig.bus.isRunning())
            QSKIP("dbus-daemon is not available");
        // Asked before the server is on the bus: no refusal; its arrival grants, once.
        rig.ask();
        rig.settle();
        QVERIFY(rig.answers.isEmpty());
        QVERIFY(rig.server.serveOn(rig.serverConnection));
        QTRY_COMPARE(rig.answers, QList<bool>{true});

        // The same identifier replaces, also back to back before the server answered the first.
        rig.notifier.deliver(note(u"killswitch-on"_s));
        QTRY_COMPARE(rig.server.calls.size(), 1);
        rig.notifier.deliver(note(u"killswitch-off"_s));
        QTRY_COMPARE(rig.server.calls.size(), 2);
        rig.notifier.deliver(note(u"killswitch-on"_s, u"again"_s));
        rig.notifier.deliver(note(u"fill-x"_s, u"first"_s));
        rig.notifier.deliver(note(u"fill-x"_s, u"second"_s));
        rig.notifier.deliver(note(u"fill-x"_s, u"third"_s));
        QTRY_COMPARE(rig.server.calls.constLast().summary, u"third"_s);
        // Calls arrive in order: once the last is in, nothing sent before it is on its way.
        rig.notifier.deliver(note(u"last"_s, u"last"_s, false));
        QTRY_COMPARE(rig.server.calls.constLast().summary, u"last"_s);
        const auto &calls = rig.server.calls;
        QStringList summaries;
        for (const auto &call : calls)
            summaries << call.summary;
        QCOMPARE(summaries,
                 (QStringList{u"t"_s, u"t"_s, u"again"_s, u"first"_s, u"third"_s, u"last"_s}));
        QCOMPARE(calls[2].replacesId, calls[0].returnedId);
        QCOMPARE(calls[4].replacesId, calls[3].returnedId);
        for (const NotificationServerDouble::Call &call : calls) {
            QCOMPARE(call.hints.value(u"desktop-entry"_s).toString(),
                     QLatin1StringView(app_names::appId));
            QCOMPARE(call.hints.value(u"suppress-sound"_s).toBool(), call.summary == u"last"_s);
        }
        QCOMPARE(calls[0].appName, u"Mireo Pulse"_s);
        QCOMPARE(calls[0].hints.value(u"sound-name"_s).toString(), u"message-new-instant"_s);

        // Back, it numbers afresh: old ids are not reused on it.
        rig.server.stop();
        rig.notifier.deliver(note(u"decision-2"_s));
        rig.settle();
        NotificationServerDouble restarted;
        QVERIFY(restarted.serveOn(rig.serverConnection));
        rig.ask();
        QTRY_COMPARE(rig.answers, (QList<bool>{true, true}));
        rig.notifier.deliver(note(u"killswitch-on"_s));
        QTRY_COMPARE(restarted.calls.size(), 1);
        QCOMPARE(restarted.calls.first().replacesId, 0u);
        QCOMPARE(rig.server.calls.size(), 6);

        // Hung: refused when the time-out ends; one queued behind a lost one still goes out.
        restarted.hung = true;
        rig.notifier.setCallTimeout(std::chrono::milliseconds(300));
        QElapsedTimer elapsed;
        elapsed.start();
        rig.notifier.deliver(note(u"fill-y"_s, u"first"_s));
        rig.notifier.deliver(note(u"fill-y"_s, u"second"_s));
        QVERIFY(elapsed.elapsed() < 100);
        rig.ask();
        QTRY_COMPARE(rig.answers, (QList<bool>{true, true, false}));
        QTRY_COMPARE(restarted.calls.size(), 3);
        QCOMPARE(restarted.calls[2].summary, u"second"_s);
        QCOMPARE(restarted.calls[2].replacesId, 0u);
        // Too slow refuses only for now: asked again, the server that has caught up grants.
        restarted.hung = false;
        QTRY_COMPARE_WITH_TIMEOUT(rig.answers, (QList<bool>{true, true, false, true}), 10000);
        restarted.stop();
    }
};

QTEST_GUILESS_MAIN(TestFreedesktopNotifier)
#include "tst_freedesktopnotifier.moc"
