#include "app/PulseSurfaces.h"
#include "platform/linux/DBusMenuTypes.h"
#include "platform/linux/StatusNotifierItem.h"
#include "platform/linux/StatusNotifierItemOrTray.h"
#include "platform/linux/StatusNotifierItemTypes.h"
#include "support/PrivateSessionBus.h"
#include "support/SniWatcher.h"

#include <QApplication>
#include <QCursor>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
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

// The item end to end: its own bus connection, a watcher on another, as on a desktop.
class TestStatusItem : public QObject
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

private Q_SLOTS:
    void initTestCase()
    {
        m_bus = std::make_unique<testing::PrivateSessionBus>();
        if (!m_bus->isRunning())
            QSKIP("dbus-daemon is not available");
        sni::registerTypes();
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
    TestStatusItem test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_statusitem.moc"
