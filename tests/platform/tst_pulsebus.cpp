#include "app/PulseSurfaces.h"
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

// What the item announces, as a panel listening on the bus hears it: each signal's name and
// its text arguments.
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

// The app on a private session bus: what reaches the owner of its name, what the name announces,
// and its panel item end to end, with a panel's watcher on another connection as on a desktop.
class TestPulseBus : public QObject
{
    Q_OBJECT

    std::unique_ptr<testing::PrivateSessionBus> m_bus;
    int m_connections = 0;

    QDBusConnection appConnection() { return m_bus->connect(u"app-%1"_s.arg(++m_connections)); }

    // A panel's watcher and the item registered with it.
    struct Desktop
    {
        SniWatcher watcher;
        StatusNotifierItem item;
        Desktop(const QString &address, const QDBusConnection &app) : watcher(address), item(app) {}
        bool show()
        {
            return watcher.start() && QTest::qWaitFor([this] { return item.isVisible(); }, 5000);
        }
        // The item and we share one thread: wait on the event loop, never block.
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
    std::unique_ptr<Desktop> desktop(const QString &title = QString())
    {
        auto desktop = std::make_unique<Desktop>(m_bus->address(), appConnection());
        if (!title.isEmpty())
            desktop->item.setTitle(title);
        return desktop;
    }
    static inline const QString kItem = u"org.kde.StatusNotifierItem"_s;

    // A call as a launcher or a stranger would make it, answered while our loop serves the app.
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
        PulseBusService app(appConnection());
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
        Announcements panel; // every signal of the item's interface
        QVERIFY(d->watcher.connection().connect(d->item.serviceName(), u"/StatusNotifierItem"_s,
                                                kItem, QString(), &panel,
                                                SLOT(hear(QDBusMessage))));
        d->item.setTitle(u"M +12.3%"_s);
        d->item.setTitle(u"M +12.3%"_s);
        d->item.setTitle(u"M -0.4%"_s);
        QTRY_COMPARE(panel.heard.size(), 4);
        QCOMPARE(d->property(u"Title"_s), QVariant(u"M -0.4%"_s));
        // No icon theme holds ours in this test: the panel must use the pixmaps, which go out
        // as ARGB with the most significant byte first, whatever the CPU.
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

        // Worded when read: the title heads it, the rest is escaped markup for Pango (waybar's).
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

    // Clicks arrive where the host says; a host that says (0, 0) gets the cursor's place. A
    // panel that crashes and comes back finds the item registered with it again, and so does one
    // that a shell extension showing the title had kept it from.
    void activationAndPanelRestart()
    {
        const auto d = desktop(u"M +1.0%"_s);
        QVERIFY(d->show());
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

        // A shell extension that shows the title itself: the item's name goes until it does.
        QDBusConnection shell = d->watcher.connection();
        const QString title = QString::fromLatin1(StatusNotifierItem::titleShownElsewhere);
        QVERIFY(shell.registerService(title));
        QTRY_VERIFY(!d->item.isVisible());
        QTRY_VERIFY(!shell.interface()->isServiceRegistered(service).value());
        QVERIFY(shell.unregisterService(title));
        QTRY_VERIFY(d->item.isVisible());
        QCOMPARE(d->watcher.registrations().size(), 3);
    }
    // Hosts that require a Menu get one: its entries carry the labels of the moment, a language
    // change reaches hosts that keep a copy, and the first entry toggles the quick panel.
    void menu()
    {
        const auto d = desktop(u"M +1.0%"_s);
        bool portuguese = false;
        d->item.setMenuLabelSource([&portuguese](StatusItem::MenuEntry entry) {
            return u"%1 %2"_s.arg(portuguese ? "pt" : "en").arg(int(entry));
        });
        QVERIFY(d->show());
        const QString menu = d->property(u"Menu"_s).value<QDBusObjectPath>().path();
        QVERIFY(!menu.isEmpty());
        const QString kMenu = u"com.canonical.dbusmenu"_s;
        const auto labels = [&] {
            const QDBusMessage reply = d->call(kMenu, u"GetLayout"_s, {0, -1, QStringList()}, menu);
            const auto root = qdbus_cast<dbusmenu::LayoutItem>(reply.arguments().value(1));
            QStringList found;
            for (const dbusmenu::LayoutItem &entry : root.children)
                found << entry.properties.value(u"label"_s).toString();
            return found;
        };
        QCOMPARE(labels(), (QStringList{u"en 0"_s, u"en 1"_s, u"en 2"_s}));

        Announcements panel;
        QVERIFY(d->watcher.connection().connect(d->item.serviceName(), menu, kMenu,
                                                u"ItemsPropertiesUpdated"_s, &panel,
                                                SLOT(hear(QDBusMessage))));
        portuguese = true;
        d->item.menuLabelsChanged();
        QTRY_COMPARE(panel.heard.size(), 1);
        QCOMPARE(labels(), (QStringList{u"pt 0"_s, u"pt 1"_s, u"pt 2"_s}));

        PulseSurfaces surfaces;
        surfaces.attach(d->item);
        const QVariant noData = QVariant::fromValue(QDBusVariant(0));
        QCOMPARE(d->call(kMenu, u"Event"_s, {1, u"clicked"_s, noData, 0u}, menu).type(),
                 QDBusMessage::ReplyMessage);
        QVERIFY(surfaces.quickPanel() && surfaces.quickPanel()->isVisible());
        QVERIFY(!surfaces.popover().isVisible());
        QCOMPARE(d->call(kMenu, u"Event"_s, {9, u"clicked"_s, noData, 0u}, menu).type(),
                 QDBusMessage::ErrorMessage);
    }

    // Only an XEmbed tray without a panel's watcher gets the tray icon; with neither the item
    // waits on the bus for a panel. With a watcher it is the end-to-end test's.
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
