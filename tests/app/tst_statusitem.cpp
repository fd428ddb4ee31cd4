#include "platform/linux/StatusNotifierItem.h"
#include "platform/linux/StatusNotifierItemOrTray.h"
#include "platform/linux/StatusNotifierItemTypes.h"
#include "platform/linux/TrayIconStatusItem.h"
#include "support/PrivateSessionBus.h"
#include "support/SniWatcher.h"

#include <QApplication>
#include <QCursor>
#include <QDBusArgument>
#include <QDBusPendingCall>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>
#include <memory>

// Counts what the item announces, as a panel listening on the bus would.
class Announcements : public QObject
{
    Q_OBJECT
public:
    int titles = 0;
    int toolTips = 0;
    QStringList labels;
    QStringList guides;

public Q_SLOTS:
    void newTitle() { ++titles; }
    void newToolTip() { ++toolTips; }
    void newLabel(const QString &label, const QString &guide)
    {
        labels << label;
        guides << guide;
    }
};

using Kind = StatusItemKind;

// The item end to end: its own bus connection, a watcher on another, as on a desktop.
class TestStatusItem : public QObject
{
    Q_OBJECT

    std::unique_ptr<testing::PrivateSessionBus> m_bus;
    int m_connections = 0;

    QDBusConnection appConnection()
    {
        return m_bus->connect(QStringLiteral("app-%1").arg(++m_connections));
    }

    // The item and we share one thread: wait on the event loop, never block.
    static QDBusMessage call(const QDBusConnection &from, const QDBusMessage &message)
    {
        QDBusPendingCall pending = from.asyncCall(message);
        if (!QTest::qWaitFor([&] { return pending.isFinished(); }, 5000))
            return {};
        return pending.reply();
    }

    static QVariant property(const QDBusConnection &from, const QString &service,
                             const QString &name)
    {
        QDBusMessage get = QDBusMessage::createMethodCall(
            service, QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        get << QStringLiteral("org.kde.StatusNotifierItem") << name;
        const QDBusMessage reply = call(from, get);
        if (reply.type() != QDBusMessage::ReplyMessage)
            return {};
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    static QDBusMessage itemCall(const QString &service, const QString &method)
    {
        return QDBusMessage::createMethodCall(service, QStringLiteral("/StatusNotifierItem"),
                                              QStringLiteral("org.kde.StatusNotifierItem"), method);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_bus = std::make_unique<testing::PrivateSessionBus>();
        if (!m_bus->isRunning())
            QSKIP("dbus-daemon is not available");
        sni::registerTypes();
    }

    void cleanupTestCase() { m_bus.reset(); }

    void registersUnderItsOwnName()
    {
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        QSignalSpy registered(&watcher, &SniWatcher::itemRegistered);
        StatusNotifierItem item(appConnection());
        QSignalSpy visible(&item, &StatusItem::visibleChanged);
        QVERIFY(!item.isVisible());
        QVERIFY(registered.wait());
        QCOMPARE(registered.at(0).at(0).toString(), item.serviceName());
        static const QRegularExpression name(
            QStringLiteral("^org\\.kde\\.StatusNotifierItem-%1-\\d+$")
                .arg(QCoreApplication::applicationPid()));
        QVERIFY2(name.match(item.serviceName()).hasMatch(), qPrintable(item.serviceName()));
        QTRY_VERIFY(item.isVisible());
        QCOMPARE(visible.count(), 1);
    }

    void properties_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QVariant>("value");
        QTest::newRow("Id") << "Id" << QVariant(QStringLiteral("mireo-pulse"));
        QTest::newRow("Category") << "Category" << QVariant(QStringLiteral("ApplicationStatus"));
        QTest::newRow("Status") << "Status" << QVariant(QStringLiteral("Active"));
        QTest::newRow("Title") << "Title" << QVariant(QStringLiteral("M +12.3%"));
        QTest::newRow("label") << "XAyatanaLabel" << QVariant(QStringLiteral("M +12.3%"));
        QTest::newRow("label guide")
            << "XAyatanaLabelGuide" << QVariant(QStringLiteral("M +000.0%"));
        QTest::newRow("not a menu") << "ItemIsMenu" << QVariant(false);
        // No icon theme holds ours in this test: the panel must use the pixmaps.
        QTest::newRow("icon name") << "IconName" << QVariant(QString());
    }
    void properties()
    {
        QFETCH(QString, name);
        QFETCH(QVariant, value);
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        StatusNotifierItem item(appConnection());
        item.setTitle(QStringLiteral("M +12.3%"));
        QTRY_VERIFY(item.isVisible());
        QCOMPARE(property(watcher.connection(), item.serviceName(), name), value);
    }

    // Hosts build their proxies from the introspection data: the signatures must be exact.
    void introspectedSignatures_data()
    {
        QTest::addColumn<QString>("element");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("signature");
        QTest::newRow("pixmaps") << "property"
                                 << "IconPixmap"
                                 << "a(iiay)";
        QTest::newRow("tool tip") << "property"
                                  << "ToolTip"
                                  << "(sa(iiay)ss)";
        QTest::newRow("window id") << "property"
                                   << "WindowId"
                                   << "i";
        QTest::newRow("is menu") << "property"
                                 << "ItemIsMenu"
                                 << "b";
        QTest::newRow("label") << "property"
                               << "XAyatanaLabel"
                               << "s";
        QTest::newRow("Activate") << "method"
                                  << "Activate"
                                  << "ii";
        QTest::newRow("ContextMenu") << "method"
                                     << "ContextMenu"
                                     << "ii";
        QTest::newRow("Scroll") << "method"
                                << "Scroll"
                                << "is";
        QTest::newRow("NewTitle") << "signal"
                                  << "NewTitle"
                                  << "";
        QTest::newRow("label signal") << "signal"
                                      << "XAyatanaNewLabel"
                                      << "ss";
        QTest::newRow("NewStatus") << "signal"
                                   << "NewStatus"
                                   << "s";
    }
    void introspectedSignatures()
    {
        QFETCH(QString, element);
        QFETCH(QString, name);
        QFETCH(QString, signature);
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        StatusNotifierItem item(appConnection());
        QTRY_VERIFY(item.isVisible());
        const QDBusMessage reply = call(
            watcher.connection(), QDBusMessage::createMethodCall(
                                      item.serviceName(), QStringLiteral("/StatusNotifierItem"),
                                      QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                      QStringLiteral("Introspect")));
        QXmlStreamReader xml(reply.arguments().value(0).toString());
        bool inItem = false;
        QString found;
        bool seen = false;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement() && xml.name() == u"interface")
                inItem =
                    xml.attributes().value(QStringLiteral("name")) == u"org.kde.StatusNotifierItem";
            if (!inItem || !xml.isStartElement())
                continue;
            if (xml.name() == element && xml.attributes().value(QStringLiteral("name")) == name) {
                seen = true;
                if (element == u"property")
                    found = xml.attributes().value(QStringLiteral("type")).toString();
            } else if (seen && xml.name() == u"arg" && element != u"property") {
                // Signals only have arguments going out; methods list their replies as out.
                if (element == u"signal" ||
                    xml.attributes().value(QStringLiteral("direction")) != u"out")
                    found += xml.attributes().value(QStringLiteral("type"));
            } else if (xml.name() != u"arg" && xml.name() != u"annotation") {
                if (seen)
                    break;
            }
        }
        QVERIFY2(seen, qPrintable(name));
        QCOMPARE(found, signature);
    }

    void titleChangesAreAnnouncedOnce()
    {
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        StatusNotifierItem item(appConnection());
        item.setTitle(QStringLiteral("M·"));
        QTRY_VERIFY(item.isVisible());
        Announcements heard;
        const QString iface = QStringLiteral("org.kde.StatusNotifierItem");
        const QString path = QStringLiteral("/StatusNotifierItem");
        QDBusConnection panel = watcher.connection();
        QVERIFY(panel.connect(item.serviceName(), path, iface, QStringLiteral("NewTitle"), &heard,
                              SLOT(newTitle())));
        QVERIFY(panel.connect(item.serviceName(), path, iface, QStringLiteral("XAyatanaNewLabel"),
                              &heard, SLOT(newLabel(QString, QString))));
        QVERIFY(panel.connect(item.serviceName(), path, iface, QStringLiteral("NewToolTip"), &heard,
                              SLOT(newToolTip())));

        item.setTitle(QStringLiteral("M +12.3%"));
        item.setTitle(QStringLiteral("M +12.3%"));
        item.setTitle(QStringLiteral("M -0.4%"));
        QTRY_COMPARE(heard.titles, 2);
        QTRY_COMPARE(heard.labels, (QStringList{"M +12.3%", "M -0.4%"}));
        QCOMPARE(heard.guides, (QStringList{"M +000.0%", "M +000.0%"}));
        QCOMPARE(property(panel, item.serviceName(), QStringLiteral("Title")).toString(),
                 QStringLiteral("M -0.4%"));
        QCOMPARE(property(panel, item.serviceName(), QStringLiteral("XAyatanaLabel")).toString(),
                 QStringLiteral("M -0.4%"));

        item.setToolTip(QStringLiteral("as of 14:30"));
        QTRY_COMPARE(heard.toolTips, 1);
        const auto toolTip = qdbus_cast<sni::ToolTip>(
            property(panel, item.serviceName(), QStringLiteral("ToolTip")).value<QDBusArgument>());
        QCOMPARE(toolTip.title, QStringLiteral("Mireo Pulse"));
        QCOMPARE(toolTip.description, QStringLiteral("as of 14:30"));
        QCOMPARE(heard.titles, 2);
    }

    // Pixels go out as ARGB with the most significant byte first, whatever the CPU.
    void iconPixmapsAreArgbInNetworkOrder()
    {
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        StatusNotifierItem item(appConnection());
        QTRY_VERIFY(item.isVisible());
        const auto pixmaps = qdbus_cast<sni::IconPixmaps>(
            property(watcher.connection(), item.serviceName(), QStringLiteral("IconPixmap"))
                .value<QDBusArgument>());
        QVERIFY(pixmaps.size() >= 3);
        for (const sni::IconPixmap &pixmap : pixmaps) {
            QCOMPARE(pixmap.width, pixmap.height);
            QCOMPARE(pixmap.argb.size(), qsizetype(pixmap.width) * pixmap.height * 4);
            const auto pixelAt = [&](int x, int y) {
                return pixmap.argb.mid((qsizetype(y) * pixmap.width + x) * 4, 4);
            };
            const int mid = pixmap.width / 2;
            QCOMPARE(pixelAt(mid, mid), QByteArray::fromHex("ffd4a843"));
            QCOMPARE(pixelAt(0, 0).at(0), '\0');
        }
    }

    void activation_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QPoint>("sent");
        QTest::addColumn<bool>("usesCursor");
        QTest::newRow("left click") << "Activate" << QPoint(1700, 14) << false;
        QTest::newRow("middle click") << "SecondaryActivate" << QPoint(1650, 12) << false;
        QTest::newRow("right click") << "ContextMenu" << QPoint(40, 1060) << false;
        QTest::newRow("second screen left of the first") << "Activate" << QPoint(-300, 10) << false;
        QTest::newRow("host that does not say where") << "Activate" << QPoint(0, 0) << true;
    }
    void activation()
    {
        QFETCH(QString, method);
        QFETCH(QPoint, sent);
        QFETCH(bool, usesCursor);
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        StatusNotifierItem item(appConnection());
        QTRY_VERIFY(item.isVisible());
        QSignalSpy activated(&item, &StatusItem::activated);
        QDBusMessage click = itemCall(item.serviceName(), method);
        click << sent.x() << sent.y();
        QCOMPARE(call(watcher.connection(), click).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(activated.count(), 1);
        QCOMPARE(activated.at(0).at(0).toPoint(), usesCursor ? QCursor::pos() : sent);
    }

    // A panel that crashes and comes back finds the item registered with it again.
    void registersAgainWhenThePanelRestarts()
    {
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        StatusNotifierItem item(appConnection());
        item.setTitle(QStringLiteral("M +1.0%"));
        QTRY_VERIFY(item.isVisible());
        QSignalSpy registered(&item, &StatusNotifierItem::registered);

        watcher.stop();
        QTRY_VERIFY(!item.isVisible());
        QVERIFY(watcher.start());
        QVERIFY(registered.wait());
        QTRY_VERIFY(item.isVisible());
        QCOMPARE(watcher.registrations(), (QStringList{item.serviceName(), item.serviceName()}));
        QCOMPARE(property(watcher.connection(), item.serviceName(), QStringLiteral("Title")),
                 QVariant(QStringLiteral("M +1.0%")));

        QSignalSpy activated(&item, &StatusItem::activated);
        QDBusMessage click = itemCall(item.serviceName(), QStringLiteral("Activate"));
        click << 5 << 6;
        call(watcher.connection(), click);
        QCOMPARE(activated.count(), 1);
    }

    // A panel that starts after the app still gets the item.
    void registersWithAPanelThatStartsLater()
    {
        StatusNotifierItem item(appConnection());
        item.setTitle(QStringLiteral("M·"));
        QTest::qWait(50);
        QVERIFY(!item.isVisible());
        SniWatcher watcher(m_bus->address());
        QSignalSpy registered(&watcher, &SniWatcher::itemRegistered);
        QVERIFY(watcher.start());
        QVERIFY(registered.wait());
        QTRY_VERIFY(item.isVisible());
    }

    void choice_data()
    {
        QTest::addColumn<bool>("watcher");
        QTest::addColumn<bool>("tray");
        QTest::addColumn<Kind>("kind");
        QTest::newRow("panel with a watcher") << true << true << Kind::StatusNotifierItem;
        QTest::newRow("watcher, no tray reported") << true << false << Kind::StatusNotifierItem;
        QTest::newRow("only an XEmbed tray") << false << true << Kind::TrayIcon;
        // Nothing shows the item yet; it waits on the bus for a panel.
        QTest::newRow("no panel at all") << false << false << Kind::StatusNotifierItem;
    }
    void choice()
    {
        QFETCH(bool, watcher);
        QFETCH(bool, tray);
        QFETCH(Kind, kind);
        QCOMPARE(chooseStatusItemKind(watcher, tray), kind);
    }

    void choosesByWhatTheBusHas()
    {
        QDBusConnection bus = appConnection();
        QVERIFY(!statusNotifierWatcherPresent(bus));
        QVERIFY(!statusNotifierWatcherPresent(QDBusConnection(QStringLiteral("no such bus"))));
        SniWatcher watcher(m_bus->address());
        QVERIFY(watcher.start());
        QVERIFY(statusNotifierWatcherPresent(bus));
        const std::unique_ptr<StatusItem> item = createDesktopStatusItem(bus);
        QVERIFY(qobject_cast<StatusNotifierItem *>(item.get()));
        QTRY_VERIFY(item->isVisible());
    }

    // Without any tray the fallback is created, takes its title and simply is not shown.
    void trayFallbackWithoutATray()
    {
        TrayIconStatusItem item;
        item.setTitle(QStringLiteral("M +2.0%"));
        item.setToolTip(QStringLiteral("as of 14:30"));
        QCOMPARE(item.title(), QStringLiteral("M +2.0%"));
        QCOMPARE(item.isVisible(), QSystemTrayIcon::isSystemTrayAvailable());
    }
};

int main(int argc, char *argv[])
{
    // No icon theme of this machine may answer for ours.
    QTemporaryDir data;
    qputenv("XDG_DATA_HOME", data.filePath(QStringLiteral("home")).toUtf8());
    qputenv("XDG_DATA_DIRS", data.filePath(QStringLiteral("dirs")).toUtf8());
    QApplication app(argc, argv);
    TestStatusItem test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_statusitem.moc"
