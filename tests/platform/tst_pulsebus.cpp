#include "platform/linux/DBusMenuTypes.h"
#include "platform/linux/PulseBus.h"
#include "platform/linux/PulseBusClient.h"
#include "platform/linux/StatusNotifierItem.h"
#include "platform/linux/StatusNotifierItemOrTray.h"
#include "platform/linux/StatusNotifierItemTypes.h"
#include "support/PrivateSessionBus.h"
#include "support/SniWatcher.h"

#include <QApplication>
#include <QCursor>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using namespace Qt::StringLiterals;

// Each signal the item sends, with its text arguments, as a panel on the bus hears it.
class Announcements : public QObject
{
    Q_OBJECT
public:
    QStringList heard;

public Q_SLOTS:
    void hear(const QDBusMessage &message)
    {
        QStringList words{message.member()};
        for (const QVariant &argument : message.arguments())
            words << argument.toString();
        heard << words.join(u' ');
    }
};

// The app's name and its panel item on a private bus, with a panel's watcher on another connection.
class TestPulseBus : public QObject
{
    Q_OBJECT

    std::unique_ptr<testing::PrivateSessionBus> m_bus;
    int m_connections = 0;

    QDBusConnection appConnection() { return m_bus->connect(u"app-%1"_s.arg(++m_connections)); }

    struct Desktop
    {
        SniWatcher watcher;
        StatusNotifierItem item;
        Desktop(const QString &address, const QDBusConnection &app) : watcher(address), item(app) {}
        bool show()
        {
            return watcher.start() && QTest::qWaitFor([this] { return item.isVisible(); }, 5000);
        }
        QDBusMessage call(const QString &interface, const QString &method,
                          const QVariantList &arguments = {},
                          const QString &path = u"/StatusNotifierItem"_s)
        {
            QDBusMessage message =
                QDBusMessage::createMethodCall(item.serviceName(), path, interface, method);
            message.setArguments(arguments);
            QDBusPendingCall pending = watcher.connection().asyncCall(message);
            if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 5000))
                return {};
            return pending.reply();
        }
        QVariant property(const QString &name)
        {
            const QDBusMessage reply =
                call(u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {kItem, name});
            return reply.arguments().value(0).value<QDBusVariant>().variant();
        }
    };
    std::unique_ptr<Desktop> desktop(const QString &title)
    {
        auto desktop = std::make_unique<Desktop>(m_bus->address(), appConnection());
        desktop->item.setTitle(title);
        return desktop;
    }
    static inline const QString kItem = u"org.kde.StatusNotifierItem"_s;

    // As a launcher or a stranger calls; our loop serves the app meanwhile.
    QDBusMessage call(const QString &method, const QVariantList &args)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            QLatin1StringView(app_names::busName), QLatin1StringView(app_names::objectPath),
            u"org.freedesktop.Application"_s, method);
        message.setArguments(args);
        QDBusPendingCall pending = appConnection().asyncCall(message, 5000);
        if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 6000))
            return {};
        return pending.reply();
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus = std::make_unique<testing::PrivateSessionBus>();
        if (!m_bus->isRunning())
            QSKIP("dbus-daemon is not available");
        sni::registerTypes();
    }

    // Only our own links, whole and of a sane length; a flood is refused; ActivateAction is inert.
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
        PulseBusService app(appConnection());
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

    void onlyChangesAreAnnounced()
    {
        PulseBusWatcher watcher(appConnection());
        QSignalSpy changed(&watcher, &PulseBusWatcher::stateChanged);
        PulseBusService app(appConnection());
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
    void titleChangesAreAnnouncedOnce()
    {
        const auto d = desktop(u"M·"_s);
        QVERIFY(d->show());
        Announcements panel;
        QVERIFY(d->watcher.connection().connect(d->item.serviceName(), u"/StatusNotifierItem"_s,
                                                kItem, QString(), &panel,
                                                SLOT(hear(QDBusMessage))));
        d->item.setTitle(u"M +12.3%"_s);
        d->item.setTitle(u"M +12.3%"_s);
        d->item.setTitle(u"M -0.4%"_s);
        QTRY_COMPARE(panel.heard.size(), 4);
        QCOMPARE(d->property(u"Title"_s), QVariant(u"M -0.4%"_s));
        // No icon theme holds ours here: the pixmaps go out as big-endian ARGB on any CPU.
        QCOMPARE(d->property(u"IconName"_s), QVariant(QString()));
        const auto pixmaps =
            qdbus_cast<sni::IconPixmaps>(d->property(u"IconPixmap"_s).value<QDBusArgument>());
        QVERIFY(pixmaps.size() >= 3);
        for (const sni::IconPixmap &pixmap : pixmaps) {
            QCOMPARE(pixmap.argb.size(), qsizetype(pixmap.width) * pixmap.height * 4);
            const qsizetype mid =
                (qsizetype(pixmap.width / 2) * pixmap.width + pixmap.width / 2) * 4;
            QCOMPARE(pixmap.argb.mid(mid, 4), QByteArray::fromHex("ffd4a843"));
            QCOMPARE(pixmap.argb.at(0), '\0');
        }

        // Worded when read; the rest is escaped markup for Pango (waybar's).
        QString age = u"live · 5s"_s;
        d->item.setToolTipSource([&age] { return "M -0.4%\nvs S&P 500\n" + age; });
        QTRY_COMPARE(panel.heard,
                     (QStringList{"NewTitle", "XAyatanaNewLabel M +12.3% M +000.0%", "NewTitle",
                                  "XAyatanaNewLabel M -0.4% M +000.0%", "NewToolTip"}));
        age = u"as of 2 minutes ago"_s;
        const auto toolTip =
            qdbus_cast<sni::ToolTip>(d->property(u"ToolTip"_s).value<QDBusArgument>());
        QCOMPARE(toolTip.title, u"M -0.4%"_s);
        QCOMPARE(toolTip.description, u"<span>vs S&amp;P 500\u2029as of 2 minutes ago</span>"_s);
    }

    // A click at (0, 0) is at the cursor; a panel back, or no longer kept away, finds the item.
    void activationAndPanelRestart()
    {
        const auto d = desktop(u"M +1.0%"_s);
        QVERIFY(d->show());
        const QString menu = d->property(u"Menu"_s).value<QDBusObjectPath>().path();
        const QDBusMessage layout =
            d->call(u"com.canonical.dbusmenu"_s, u"GetLayout"_s, {0, -1, QStringList()}, menu);
        QCOMPARE(qdbus_cast<dbusmenu::LayoutItem>(layout.arguments().value(1)).children.size(), 3);
        QSignalSpy activated(&d->item, &StatusItem::activated);
        QCOMPARE(d->call(kItem, u"ContextMenu"_s, {40, 1060}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(d->call(kItem, u"SecondaryActivate"_s, {0, 0}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(activated.count(), 2);
        QCOMPARE(activated.at(0).at(0).toPoint(), QPoint(40, 1060));
        QCOMPARE(activated.at(1).at(0).toPoint(), QCursor::pos());

        QSignalSpy registered(&d->item, &StatusNotifierItem::registered);
        d->watcher.stop();
        QTRY_VERIFY(!d->item.isVisible());
        QVERIFY(d->show());
        QCOMPARE(registered.count(), 1);
        const QString service = d->item.serviceName();
        QCOMPARE(d->watcher.registrations(), (QStringList{service, service}));
        QCOMPARE(d->property(u"Title"_s), QVariant(u"M +1.0%"_s));

        QDBusConnection shell = d->watcher.connection();
        const QString title = QString::fromLatin1(StatusNotifierItem::titleShownElsewhere);
        QVERIFY(shell.registerService(title));
        QTRY_VERIFY(!d->item.isVisible());
        QTRY_VERIFY(!shell.interface()->isServiceRegistered(service).value());
        QVERIFY(shell.unregisterService(title));
        QTRY_VERIFY(d->item.isVisible());
        QCOMPARE(d->watcher.registrations().size(), 3);
    }

    // Only an XEmbed tray without a panel's watcher gets the tray icon.
    void choosesTheTrayOnlyWithoutAWatcher()
    {
        QVERIFY(!statusNotifierWatcherPresent(appConnection()));
        QCOMPARE(chooseStatusItemKind(false, true), StatusItemKind::TrayIcon);
        QCOMPARE(chooseStatusItemKind(false, false), StatusItemKind::StatusNotifierItem);
    }
};

int main(int argc, char *argv[])
{
    // No icon theme of this machine may answer for ours.
    QTemporaryDir data;
    qputenv("XDG_DATA_HOME", data.filePath(u"home"_s).toUtf8());
    qputenv("XDG_DATA_DIRS", data.filePath(u"dirs"_s).toUtf8());
    QApplication app(argc, argv);
    TestPulseBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_pulsebus.moc"
