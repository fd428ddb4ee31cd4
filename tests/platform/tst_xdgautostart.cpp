#include "platform/linux/XdgAutostart.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class TestXdgAutostart : public QObject
{
    Q_OBJECT
    QTemporaryDir m_config;

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_config.isValid());
        qputenv("XDG_CONFIG_HOME", m_config.path().toUtf8());
        QFile::remove(XdgAutostart::entryPath());
    }

    void registersAndUnregisters()
    {
        XdgAutostart item(QStringLiteral("/usr/bin/mireo-pulse"));
        QCOMPARE(item.status(), LoginItem::Status::NotRegistered);
        QVERIFY(item.registerItem());
        QCOMPARE(item.status(), LoginItem::Status::Enabled);
        QFile entry(m_config.filePath("autostart/mireo-pulse.desktop"));
        QVERIFY(entry.open(QIODevice::ReadOnly));
        const QByteArray text = entry.readAll();
        QVERIFY(text.startsWith("[Desktop Entry]\n"));
        QVERIFY(text.contains("\nExec=/usr/bin/mireo-pulse\n"));
        QVERIFY(text.contains("\nType=Application\n"));
        QVERIFY(item.unregisterItem());
        QCOMPARE(item.status(), LoginItem::Status::NotRegistered);
        // Nothing left to remove is not a failure.
        QVERIFY(item.unregisterItem());
    }

    void entriesTheUserDisabledAreOff_data()
    {
        QTest::addColumn<QByteArray>("entry");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("plain") << QByteArray("[Desktop Entry]\nExec=x\n") << true;
        QTest::newRow("hidden") << QByteArray("[Desktop Entry]\nHidden=true\n") << false;
        QTest::newRow("hidden false") << QByteArray("[Desktop Entry]\nHidden=false\n") << true;
        QTest::newRow("gnome disabled")
            << QByteArray("[Desktop Entry]\nX-GNOME-Autostart-enabled=false\n") << false;
        QTest::newRow("key in another group")
            << QByteArray("[Desktop Entry]\nExec=x\n[Desktop Action a]\nHidden=true\n") << true;
    }
    void entriesTheUserDisabledAreOff()
    {
        QFETCH(QByteArray, entry);
        QFETCH(bool, enabled);
        XdgAutostart item(QStringLiteral("/usr/bin/mireo-pulse"));
        QVERIFY(item.registerItem());
        QFile file(XdgAutostart::entryPath());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(entry);
        file.close();
        QCOMPARE(item.status() == LoginItem::Status::Enabled, enabled);
    }

    void refusedRegistrationReportsFailure()
    {
        // A file where the autostart folder should be: the entry cannot be written.
        QVERIFY(QDir(m_config.filePath("autostart")).removeRecursively());
        QFile blocker(m_config.filePath("autostart"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        XdgAutostart item(QStringLiteral("/usr/bin/mireo-pulse"));
        QVERIFY(!item.registerItem());
        QCOMPARE(item.status(), LoginItem::Status::NotRegistered);
        QFile::remove(blocker.fileName());
    }
};

QTEST_GUILESS_MAIN(TestXdgAutostart)
#include "tst_xdgautostart.moc"
