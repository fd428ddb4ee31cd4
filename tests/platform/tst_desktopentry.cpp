#include "platform/linux/DesktopEntry.h"
#include "platform/linux/DesktopExec.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

// Registration of the desktop entry for a build run from its build folder, in a temporary
// XDG_DATA_HOME, with stand-ins for xdg-mime and update-desktop-database on PATH.
class TestDesktopEntry : public QObject
{
    Q_OBJECT

    QTemporaryDir m_root;
    QString m_log;
    QByteArray m_path;

    QString dataHome() const { return m_root.filePath(QStringLiteral("data")); }
    QString userEntry() const
    {
        return dataHome() + QStringLiteral("/applications/com.mireo.Pulse.desktop");
    }

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    void writeHelper(const QString &dir, const QString &name)
    {
        const QString path = dir + u'/' + name;
        QFile script(path);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write(
            QStringLiteral("#!/bin/sh\necho \"%1 $*\" >> '%2'\n").arg(name, m_log).toUtf8());
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QStringList helperCalls() const
    {
        return QString::fromUtf8(read(m_log)).split(u'\n', Qt::SkipEmptyParts);
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_path = qgetenv("PATH");
        m_log = m_root.filePath(QStringLiteral("helpers.log"));
        const QString helpers = m_root.filePath(QStringLiteral("helpers"));
        QDir().mkpath(helpers);
        writeHelper(helpers, QStringLiteral("xdg-mime"));
        writeHelper(helpers, QStringLiteral("update-desktop-database"));
        qputenv("PATH", helpers.toUtf8() + ':' + m_path);
    }

    void init()
    {
        QDir(dataHome()).removeRecursively();
        QFile::remove(m_log);
        qputenv("XDG_DATA_HOME", dataHome().toUtf8());
    }

    void execArgument_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("exec");
        QTest::newRow("plain") << "/opt/mireo/bin/mireo-pulse"
                               << QStringLiteral("/opt/mireo/bin/mireo-pulse");
        QTest::newRow("space") << "/home/a b/mireo-pulse"
                               << QStringLiteral("\"/home/a b/mireo-pulse\"");
        QTest::newRow("dollar") << "/tmp/x$y/mireo-pulse"
                                << QStringLiteral("\"/tmp/x\\\\$y/mireo-pulse\"");
        QTest::newRow("percent, a field code otherwise")
            << "/tmp/100%/mireo-pulse" << QStringLiteral("/tmp/100%%/mireo-pulse");
        QTest::newRow("backslash")
            << "/tmp/a\\b/mireo-pulse" << QStringLiteral("\"/tmp/a\\\\\\\\b/mireo-pulse\"");
        QTest::newRow("double quote") << "/tmp/a\"b/m" << QStringLiteral("\"/tmp/a\\\\\"b/m\"");
    }
    void execArgument()
    {
        QFETCH(QString, path);
        QFETCH(QString, exec);
        QCOMPARE(desktop_exec::execArgument(path), exec);
    }

    void registersABuildFolderBinaryOnce()
    {
        const QString binary = m_root.filePath(QStringLiteral("my build/src/app/mireo-pulse"));
        QVERIFY(!DesktopEntry::isInstalled(binary));
        QVERIFY(DesktopEntry::registerForUser(binary));

        const QString entry = QString::fromUtf8(read(userEntry()));
        QVERIFY(entry.contains("\nExec=\"" + binary + "\" %u\n"));
        QVERIFY(entry.contains(u"\nMimeType=x-scheme-handler/mireopulse;\n"));
        QVERIFY(entry.contains(u"\nIcon=mireo-pulse\n"));
        QVERIFY(entry.contains(u"\nNoDisplay=false\n"));
        QVERIFY(entry.contains(u"\nCategories=Office;Finance;\n"));
        QVERIFY(entry.contains(u"\nDBusActivatable=true\n"));
        // The bus starts this binary for a launcher's Activate or Open.
        QCOMPARE(read(dataHome() + QStringLiteral("/dbus-1/services/com.mireo.Pulse.service")),
                 "[D-BUS Service]\nName=com.mireo.Pulse\nExec=\"" + binary.toUtf8() + "\"\n");
        QVERIFY(read(dataHome() + QStringLiteral("/icons/hicolor/scalable/apps/mireo-pulse.svg"))
                    .contains("#D4A843"));
        QTRY_COMPARE(helperCalls().size(), 2);
        QVERIFY(helperCalls().contains(
            "xdg-mime default com.mireo.Pulse.desktop x-scheme-handler/mireopulse"));
        QVERIFY(helperCalls().contains("update-desktop-database " + dataHome() + "/applications"));

        // The next start finds its own entry and leaves everything alone.
        QVERIFY(!DesktopEntry::registerForUser(binary));
        QTest::qWait(200);
        QCOMPARE(helperCalls().size(), 2);

        // A build folder that moved points the entry at the new place.
        const QString moved = m_root.filePath(QStringLiteral("elsewhere/mireo-pulse"));
        QVERIFY(DesktopEntry::registerForUser(moved));
        QVERIFY(QString::fromUtf8(read(userEntry())).contains("\nExec=" + moved + " %u\n"));
        QTRY_COMPARE(helperCalls().size(), 4);
    }

    void installedBuildLeavesTheUserFolderAlone()
    {
        const QString prefix = m_root.filePath(QStringLiteral("prefix"));
        QDir().mkpath(prefix + QStringLiteral("/bin"));
        QDir().mkpath(prefix + QStringLiteral("/share/applications"));
        QFile installed(prefix + QStringLiteral("/share/applications/com.mireo.Pulse.desktop"));
        QVERIFY(installed.open(QIODevice::WriteOnly));
        installed.close();
        const QString binary = prefix + QStringLiteral("/bin/mireo-pulse");
        QVERIFY(DesktopEntry::isInstalled(binary));
        QVERIFY(!DesktopEntry::registerForUser(binary));
        QVERIFY(!QFile::exists(userEntry()));
    }

    void worksWithoutTheHelpers()
    {
        qputenv("PATH", m_root.filePath(QStringLiteral("empty")).toUtf8());
        const bool wrote = DesktopEntry::registerForUser(m_root.filePath(QStringLiteral("b/mp")));
        qputenv("PATH", m_root.filePath(QStringLiteral("helpers")).toUtf8() + ':' + m_path);
        QVERIFY(wrote);
        QVERIFY(QFile::exists(userEntry()));
        QTest::qWait(100);
        QVERIFY(helperCalls().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "tst_desktopentry.moc"
