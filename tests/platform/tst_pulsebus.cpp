#include "platform/linux/PulseBus.h"
#include "platform/linux/PulseBusClient.h"
#include "support/PrivateSessionBus.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

// The app's place on a private session bus: who owns it, what reaches the owner, what it shows.
class TestPulseBus : public QObject
{
    Q_OBJECT

    testing::PrivateSessionBus m_bus;
    int m_connections = 0;

    QDBusConnection connection() { return m_bus.connect(u"c%1"_s.arg(++m_connections)); }

    // A call as a launcher or a stranger would make it, answered while our loop serves the app.
    QDBusMessage call(const QString &interface, const QString &method, const QVariantList &args)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            u"com.mireo.Pulse"_s, u"/com/mireo/Pulse"_s, interface, method);
        message.setArguments(args);
        QDBusPendingCall pending = connection().asyncCall(message, 5000);
        if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 6000))
            return {};
        return pending.reply();
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (!m_bus.isRunning())
            QSKIP("dbus-daemon is not installed");
    }

    void callsReachTheOwner_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<int>("activations");
        QTest::addColumn<QStringList>("links");
        // Activate is the end-to-end test's (a second launch); wrong types and unknown methods
        // are QtDBus's.
        const QVariant none = QVariantMap();
        QTest::newRow("Open, ours and others")
            << u"Open"_s
            << QVariantList{QStringList{u"https://example.com/"_s, u"mireopulse://open"_s,
                                        u"mireopulse://auth#a=1\nb"_s, u"mireopulse://auth#a=1"_s},
                            none}
            << true << 0 << QStringList{u"mireopulse://open"_s, u"mireopulse://auth#a=1"_s};
        QTest::newRow("Open, a link too long")
            << u"Open"_s
            << QVariantList{QStringList{u"mireopulse://auth#"_s + QString(20000, u'a')}, none}
            << true << 0 << QStringList();
        QStringList flood;
        for (int i = 0; i < 1000; ++i)
            flood << u"mireopulse://open"_s;
        QTest::newRow("Open, a flood")
            << u"Open"_s << QVariantList{flood, none} << false << 0 << QStringList();
        QTest::newRow("ActivateAction does nothing")
            << u"ActivateAction"_s << QVariantList{u"quit"_s, QVariantList(), none} << true << 0
            << QStringList();
    }
    void callsReachTheOwner()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        QFETCH(bool, answered);
        QFETCH(int, activations);
        QFETCH(QStringList, links);
        PulseBusService app(connection());
        QCOMPARE(app.claim(), PulseBusService::Claim::Owner);
        app.launchFinished();
        QSignalSpy activated(&app, &PulseBusService::activateRequested);
        QSignalSpy opened(&app, &PulseBusService::linkReceived);

        const QDBusMessage reply = call(u"org.freedesktop.Application"_s, method, arguments);
        QCOMPARE(reply.type(), answered ? QDBusMessage::ReplyMessage : QDBusMessage::ErrorMessage);
        QCOMPARE(activated.size(), activations);
        QStringList received;
        for (const QList<QVariant> &signal : opened)
            received << signal.constFirst().toString();
        QCOMPARE(received, links);
    }

    // A launcher's focus tokens reach the app before the request they came with; only short
    // printable strings. A second launch passes on the ones it was started with.
    void focusTokens_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantMap>("platformData");
        QTest::addColumn<QString>("expected");
        const QString longToken(600, u'a');
        QTest::newRow("Activate, both") << u"Activate"_s
                                        << QVariantMap{{u"activation-token"_s, u"w-1"_s},
                                                       {u"desktop-startup-id"_s, u"x_TIME5"_s}}
                                        << u"w-1|x_TIME5"_s;
        QTest::newRow("Open, Wayland's")
            << u"Open"_s << QVariantMap{{u"activation-token"_s, u"w-2"_s}} << u"w-2|"_s;
        QTest::newRow("wrong type, control character, too long")
            << u"Activate"_s
            << QVariantMap{{u"activation-token"_s, 7}, {u"desktop-startup-id"_s, u"a\nb"_s}}
            << u"|"_s;
        QTest::newRow("too long") << u"Activate"_s
                                  << QVariantMap{{u"activation-token"_s, longToken}} << u"|"_s;
        QTest::newRow("second launch") << u"hand over"_s << QVariantMap() << u"w-3|x-3"_s;
    }
    void focusTokens()
    {
        QFETCH(QString, method);
        QFETCH(QVariantMap, platformData);
        QFETCH(QString, expected);
        PulseBusService app(connection());
        QCOMPARE(app.claim(), PulseBusService::Claim::Owner);
        app.launchFinished();
        QSignalSpy tokens(&app, &PulseBusService::focusTokensReceived);
        if (method == u"hand over") {
            // What a second launch passes on (it calls from another process, so blocking).
            qputenv("XDG_ACTIVATION_TOKEN", "w-3");
            qputenv("DESKTOP_STARTUP_ID", "x-3");
            platformData = focus_token::inherited();
            qunsetenv("XDG_ACTIVATION_TOKEN");
            qunsetenv("DESKTOP_STARTUP_ID");
            method = u"Activate"_s;
        }
        const QVariantList arguments =
            method == u"Open" ? QVariantList{QStringList{u"mireopulse://open"_s}, platformData}
                              : QVariantList{platformData};
        QCOMPARE(call(u"org.freedesktop.Application"_s, method, arguments).type(),
                 QDBusMessage::ReplyMessage);
        QCOMPARE(tokens.size(), 1);
        const auto received = tokens.first().first().value<focus_token::Tokens>();
        QCOMPARE(received.wayland + u'|' + received.x11, expected);
    }

    // Who owns the name, hand-over during a launch, the app's comings and goings and what the
    // surfaces read back are the end-to-end test's; here, what a change announces.
    void onlyChangesAreAnnounced()
    {
        PulseBusWatcher watcher(connection());
        QSignalSpy changed(&watcher, &PulseBusWatcher::stateChanged);
        PulseBusService app(connection());
        QCOMPARE(app.claim(), PulseBusService::Claim::Owner);
        pulse_bus::State state{u"M +1.0%"_s, u"{}"_s, u"M +1.0%\nas of 2:30 PM"_s,
                               u"gain"_s,    false,   u"book"_s};
        app.publish(state);
        app.publish(state); // nothing new
        state.status = u"{\"x\":1}"_s;
        state.stale = true;
        app.publish(state);
        QTRY_COMPARE(changed.size(), 2);
        const auto names = [&changed](int i) { return changed.at(i).at(0).toMap().keys(); };
        QCOMPARE(names(0), (QStringList{u"Title"_s, u"Tone"_s, u"ToolTip"_s}));
        QCOMPARE(names(1), (QStringList{u"Stale"_s, u"Status"_s}));
    }
};

QTEST_GUILESS_MAIN(TestPulseBus)
#include "tst_pulsebus.moc"
