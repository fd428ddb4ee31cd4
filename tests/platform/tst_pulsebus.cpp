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
    QDBusMessage call(const QString &method, const QVariantList &args)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            u"com.mireo.Pulse"_s, u"/com/mireo/Pulse"_s, u"org.freedesktop.Application"_s, method);
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

    // Open passes on our own links only, each whole and of a sane length; a flood is refused,
    // and ActivateAction does nothing. Activate is the end-to-end test's (a second launch).
    void openPassesOnlyOurLinks_data()
    {
        QTest::addColumn<QStringList>("links");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<QStringList>("received");
        const QString ours = u"mireopulse://auth#a=1"_s;
        QTest::newRow("ours and others")
            << QStringList{u"https://example.com/"_s, u"mireopulse://open"_s, ours + u"\nb"_s, ours}
            << true << QStringList{u"mireopulse://open"_s, ours};
        QTest::newRow("too long") << QStringList{ours + QString(20000, u'a')} << true
                                  << QStringList();
        QTest::newRow("a flood") << QStringList(1000, u"mireopulse://open"_s) << false
                                 << QStringList();
    }
    void openPassesOnlyOurLinks()
    {
        QFETCH(QStringList, links);
        QFETCH(bool, answered);
        QFETCH(QStringList, received);
        PulseBusService app(connection());
        QCOMPARE(app.claim(), PulseBusService::Claim::Owner);
        app.launchFinished();
        QSignalSpy activated(&app, &PulseBusService::activateRequested);
        QSignalSpy opened(&app, &PulseBusService::linkReceived);
        QCOMPARE(call(u"Open"_s, {links, QVariantMap()}).type(),
                 answered ? QDBusMessage::ReplyMessage : QDBusMessage::ErrorMessage);
        QCOMPARE(call(u"ActivateAction"_s, {u"quit"_s, QVariantList(), QVariantMap()}).type(),
                 QDBusMessage::ReplyMessage);
        QCOMPARE(activated.size(), 0);
        QStringList got;
        for (const QList<QVariant> &signal : opened)
            got << signal.constFirst().toString();
        QCOMPARE(got, received);
    }

    // A launcher's focus tokens reach the app with its request; only short printable strings.
    void focusTokens_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantMap>("platformData");
        QTest::addColumn<QString>("expected");
        const QString wayland = u"activation-token"_s, x11 = u"desktop-startup-id"_s;
        QTest::newRow("Activate, both")
            << u"Activate"_s << QVariantMap{{wayland, u"w-1"_s}, {x11, u"x_TIME5"_s}}
            << u"w-1|x_TIME5"_s;
        QTest::newRow("Open, Wayland's")
            << u"Open"_s << QVariantMap{{wayland, u"w-2"_s}} << u"w-2|"_s;
        QTest::newRow("wrong type, control character")
            << u"Activate"_s << QVariantMap{{wayland, 7}, {x11, u"a\nb"_s}} << u"|"_s;
        QTest::newRow("too long") << u"Activate"_s << QVariantMap{{wayland, QString(600, u'a')}}
                                  << u"|"_s;
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
        const QVariantList arguments =
            method == u"Open" ? QVariantList{QStringList{u"mireopulse://open"_s}, platformData}
                              : QVariantList{platformData};
        QCOMPARE(call(method, arguments).type(), QDBusMessage::ReplyMessage);
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
