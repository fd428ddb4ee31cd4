#include "app/PanelPlacement.h"
#include "platform/linux/DesktopEntry.h"
#include "platform/linux/DesktopExec.h"
#include "platform/linux/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

// Where the panels go, and the desktop files written for the user; stand-in helpers log calls.
class TestDesktopShell : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;

    QString dataHome() const { return m_root.filePath(u"data"_s); }
    QString log() const { return m_root.filePath(u"helpers.log"_s); }
    static QString read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    QString userEntry() const
    {
        return read(dataHome() + u"/applications/"_s + QLatin1StringView(DesktopEntry::fileName));
    }
    QStringList helperCalls() const { return read(log()).split(u'\n', Qt::SkipEmptyParts); }

private Q_SLOTS:
    // The quick panel (no anchor) raised above the centre; the popover by the item, never cut off.
    void topLeft_data()
    {
        QTest::addColumn<QPoint>("placed");
        QTest::addColumn<QPoint>("expected");
        const auto row = [](const char *name, QRect available, std::optional<QPoint> anchor,
                            QSize size, QPoint expected) {
            QTest::newRow(name) << (anchor
                                        ? PanelPlacement::popoverTopLeft(*anchor, size, available)
                                        : PanelPlacement::quickPanelTopLeft(available, size))
                                << expected;
        };
        const QSize size(340, 300);
        const int gap = PanelPlacement::popoverGap;
        const std::optional<QPoint> quickPanel;
        row("panel: laptop frame", QRect(0, 0, 1512, 944), quickPanel, size, QPoint(586, 209));
        row("panel: taller than the raise allows", QRect(0, 0, 800, 600), quickPanel,
            QSize(340, 560), QPoint(230, 0));
        row("panel: wider than the screen", QRect(100, 0, 300, 600), quickPanel, size,
            QPoint(100, 78));
        row("popover: item in a top panel", QRect(0, 28, 1920, 1052), QPoint(1700, 30), size,
            QPoint(1530, 30 + gap));
        // The click lands on the panel itself, outside the available area.
        row("popover: click inside the top panel", QRect(0, 28, 1920, 1052), QPoint(1700, 12), size,
            QPoint(1530, 28));
        row("popover: bottom panel opens above", QRect(0, 0, 1920, 1040), QPoint(1800, 1060), size,
            QPoint(1580, 740));
        row("popover: left panel", QRect(48, 0, 1872, 1080), QPoint(20, 500), size,
            QPoint(48, 500 + gap));
        row("popover: widget-local point goes top right", QRect(0, 0, 1280, 800), QPoint(11, 17),
            size, QPoint(940, 34 + gap));
    }
    void topLeft()
    {
        QFETCH(QPoint, placed);
        QFETCH(QPoint, expected);
        QCOMPARE(placed, expected);
    }

    void initTestCase()
    {
        const QString helpers = m_root.filePath(u"helpers"_s);
        QDir().mkpath(helpers);
        for (const QString &name : {u"xdg-mime"_s, u"update-desktop-database"_s}) {
            QFile script(helpers + u'/' + name);
            QVERIFY(script.open(QIODevice::WriteOnly));
            script.write(
                u"#!/bin/sh\necho \"$MIREO_TEST_TAG %1 $*\" >> '%2'\n"_s.arg(name, log()).toUtf8());
            script.close();
            script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        qputenv("PATH", helpers.toUtf8() + ':' + qgetenv("PATH"));
        qputenv("XDG_CONFIG_HOME", m_root.filePath(u"config"_s).toUtf8());
        qputenv("XDG_DATA_HOME", dataHome().toUtf8());
    }

    void execArgument_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("exec");
        QTest::newRow("dollar") << u"/tmp/x$y/mireo-pulse"_s << u"\"/tmp/x\\\\$y/mireo-pulse\""_s;
        QTest::newRow("percent, a field code otherwise")
            << u"/tmp/100%/mireo-pulse"_s << u"/tmp/100%%/mireo-pulse"_s;
        QTest::newRow("backslash")
            << u"/tmp/a\\b/mireo-pulse"_s << u"\"/tmp/a\\\\\\\\b/mireo-pulse\""_s;
        QTest::newRow("double quote") << u"/tmp/a\"b/m"_s << u"\"/tmp/a\\\\\"b/m\""_s;
    }
    void execArgument()
    {
        QFETCH(QString, path);
        QFETCH(QString, exec);
        QCOMPARE(desktop_exec::execArgument(path), exec);
    }

    void registersABuildFolderBinaryOnce()
    {
        const QString binary = m_root.filePath(u"my build/src/app/mireo-pulse"_s);
        qputenv("MIREO_TEST_TAG", "first");
        QVERIFY(DesktopEntry::registerForUser(binary));

        // The other lines are the installed entry's, checked where it is installed.
        QVERIFY(userEntry().contains(u"\nExec=\""_s + binary + u"\" %u\n"_s));
        // Started by the bus, it is not the user's launch: losing a race for the name is quiet.
        QCOMPARE(read(dataHome() + u"/dbus-1/services/"_s +
                      QLatin1StringView(DesktopEntry::busServiceFileName)),
                 u"[D-BUS Service]\nName="_s + QLatin1StringView(app_names::busName) +
                     u"\nExec=\""_s + binary + u"\" --background\n"_s);
        QVERIFY(QFile::exists(dataHome() + u"/icons/hicolor/scalable/apps/"_s +
                              QLatin1StringView(app_names::iconName) + u".svg"_s));
        QTRY_COMPARE(helperCalls().size(), 2);
        QVERIFY(helperCalls().contains(u"first xdg-mime default "_s +
                                       QLatin1StringView(DesktopEntry::fileName) + u' ' +
                                       QLatin1StringView(DesktopEntry::schemeMimeType)));
        QVERIFY(helperCalls().contains(u"first update-desktop-database "_s + dataHome() +
                                       u"/applications"_s));

        // The next start leaves its own entry alone; a moved build folder repoints it.
        qputenv("MIREO_TEST_TAG", "again");
        QVERIFY(!DesktopEntry::registerForUser(binary));
        const QString moved = m_root.filePath(u"elsewhere/mireo-pulse"_s);
        qputenv("MIREO_TEST_TAG", "moved");
        QVERIFY(DesktopEntry::registerForUser(moved));
        QVERIFY(userEntry().contains(u"\nExec="_s + moved + u" %u\n"_s));
        QTRY_COMPARE(helperCalls().size(), 4);
        QCOMPARE(helperCalls().filter(u"again "_s), QStringList());

        // An installed build leaves the user's folder alone.
        const QString prefix = m_root.filePath(u"prefix"_s);
        QDir().mkpath(prefix + u"/bin"_s);
        QDir().mkpath(prefix + u"/share/applications"_s);
        QVERIFY(
            QFile(prefix + u"/share/applications/"_s + QLatin1StringView(DesktopEntry::fileName))
                .open(QIODevice::WriteOnly));
        QVERIFY(!DesktopEntry::registerForUser(prefix + u"/bin/mireo-pulse"_s));
        QVERIFY(userEntry().contains(u"\nExec="_s + moved + u" %u\n"_s));
    }

    void autostartRegistersAndUnregisters()
    {
        XdgAutostart item(u"/usr/bin/mireo-pulse"_s);
        QVERIFY(item.registerItem());
        QCOMPARE(item.status(), LoginItem::Status::Enabled);
        QVERIFY(read(m_root.filePath(u"config/autostart/"_s +
                                     QLatin1StringView(app_names::executable) + u".desktop"_s))
                    .contains("\nExec=/usr/bin/mireo-pulse --background\n"));
        QVERIFY(item.unregisterItem());
        QCOMPARE(item.status(), LoginItem::Status::NotRegistered);
        QVERIFY(item.unregisterItem()); // nothing left to remove is not a failure
    }
};

QTEST_MAIN(TestDesktopShell)
#include "tst_desktopshell.moc"
